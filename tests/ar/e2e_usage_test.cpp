// The binary's answers to bad or incomplete command lines: usage texts,
// key errors and archive name problems.
#include "front_run.h"

namespace {

const std::string kFullUsage = kShortUsage +
    "\n Commands : (only one may be selected)\n"
    "    a - Add file                   r - Replace file\n"
    "    x - Extract file               d - Delete file\n"
    "    t - Print table of contents\n"
    "\n Options :\n"
    "    q - Quiet mode - Normal status messages suppressed\n"
    "    u - Update with newer files (use with 'r' command)\n"
    "    s - Print symbol table contents\n"
    "    v - Verbose\n"
    "    h - This help\n"
    "\n Output format options:\n"
    "    0 - Original AR format\n"
    "    1 - NU long-name format (obsolescent)\n"
    "    2 - POSIX format (default for newly created files)\n\n";

const std::string kError = "  -->  error: ";

struct MESSAGE_CASE {
    std::vector<std::string> args;
    std::string out;
    std::string err;
    int status;
};

TEST(UsageEndToEnd, UsageAndKeyErrors) {
    SCRATCH_DIR dir;
    const MESSAGE_CASE cases[] = {
        {{}, kShortUsage, "", 1},
        {{"h"}, kFullUsage, "", 1},
        {{"-?", "lib.a"}, kFullUsage, "", 1},
        {{"th"}, kFullUsage, "", 1},       // help wins as soon as it is read
        {{"tHh", "x"}, "", kError + "bad option 'H'\n", 1},
        {{"t!", "x"}, "", kError + "bad option '!'\n", 1},
        {{"q", "lib.a"}, kShortUsage, "", 1},  // no command letter
        {{"--", "lib.a"}, kShortUsage, "", 1},
        {{"ua", "lib.a"}, "", kError + "only one of [arxdt] allowed\n", 1},
        {{"tx", "lib.a"}, "", kError + "only one of [arxdt] allowed\n", 1},
        {{"t"}, "", kError + "must specify an archive\n", 1},
        {{"@missing.cmd"}, "", kError + "cannot open 'missing.cmd'\n", 1},
        {{"-@missing.cmd"}, "", kError + "cannot open 'missing.cmd'\n", 1},
    };
    for (const MESSAGE_CASE& c : cases)
        expect_run(dir, c.args, c.out, c.err, c.status);
}

TEST(UsageEndToEnd, ToolVersion) {
    SCRATCH_DIR dir;
    RUN_RESULT result = run_arwren({"--toolversion", "ignored"}, dir.dir());
    std::string product = "WREN Archiver                           v1.0.0 release\n";
    EXPECT_EQ(result.out.substr(0, product.size()), product);
    EXPECT_EQ(result.out.substr(product.size(), 13), "Build Number ");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

TEST(UsageEndToEnd, ArchiveNameAndExistence) {
    SCRATCH_DIR dir;
    dir.write("junk.a", "!<arch>");  // one byte short of the magic
    dir.subdir("dir.x");
    const MESSAGE_CASE cases[] = {
        {{"t", "lib"}, "", kError + "cannot open archive: 'lib.lib'\n", 1},
        {{"x", "lib.a"}, "", kError + "cannot open archive: 'lib.a'\n", 1},
        {{"d", "dir.x/lib", "f"}, "", kError + "cannot open archive: 'dir.x/lib.lib'\n", 1},
        {{"t", std::string(600, 'n')}, "",
         kError + "cannot open archive: '" + std::string(495, 'n') + ".lib'\n", 1},
        {{"t", "junk.a"}, "", kError + "'junk.a' is not an archive\n", 1},
        {{"x", "junk.a"}, "", kError + "'junk.a' is not an archive\n", 1},
        {{"d", "junk.a", "x"}, "", kError + "'junk.a' is not an archive\n", 1},
    };
    for (const MESSAGE_CASE& c : cases)
        expect_run(dir, c.args, c.out, c.err, c.status);
    EXPECT_EQ(dir.read("junk.a"), "!<arch>");
}

}  // namespace

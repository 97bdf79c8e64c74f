// The binary's answers to command lines and command files: usage texts, key
// errors, archive names and the command-file grammar.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "e2e_run.h"

namespace {

using namespace std::string_literals;

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

TEST(UsageEndToEnd, UsageKeysAndArchiveNames) {
    const std::vector<E2E_FILE> files = {{"junk.a", "!<arch>"}, {"dir.x/f", ""}};
    const std::string junk = kError + "'junk.a' is not an archive\n";
    const struct {
        std::vector<std::string> args;
        std::string out, err;
    } cases[] = {
        {{}, kShortUsage, ""},
        {{"h"}, kFullUsage, ""},
        {{"-?", "lib.a"}, kFullUsage, ""},
        {{"th"}, kFullUsage, ""},   // help wins as soon as it is read
        {{"tHh", "x"}, "", kError + "bad option 'H'\n"},
        {{"q", "lib.a"}, kShortUsage, ""},   // no command letter
        {{"ua", "lib.a"}, "", kError + "only one of [arxdt] allowed\n"},
        {{"t"}, "", kError + "must specify an archive\n"},
        {{"@missing.cmd"}, "", kError + "cannot open 'missing.cmd'\n"},
        {{"t", "lib"}, "", kError + "cannot open archive: 'lib.lib'\n"},
        {{"d", "dir.x/lib", "f"}, "", kError + "cannot open archive: 'dir.x/lib.lib'\n"},
        {{"t", std::string(600, 'n')}, "", kError + "cannot open archive: '" + std::string(495, 'n') + ".lib'\n"},
        {{"t", "junk.a"}, "", junk},   // one byte short of the magic
        {{"x", "junk.a"}, "", junk},
        {{"d", "junk.a", "x"}, "", junk},
    };
    for (const auto& c : cases)
        run_case({c.args.empty() ? "no arguments" : c.args[0], files, c.args, c.out, c.err, 1, {}});
}

TEST(UsageEndToEnd, ToolVersion) {
    SCRATCH_DIR dir;
    RUN_RESULT result = run_arwren({"--toolversion", "ignored"}, dir.dir());
    const std::string head = "WREN Archiver                           v1.0.0 release\nBuild Number ";
    EXPECT_EQ(result.out.substr(0, head.size()), head);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

// A signal, sent here while the binary waits to open a command file on a
// pipe, is reported with its own text and ends the run with its status.
std::string internal_error(const char* what) {
    return std::string("\nINTERNAL ERROR: ") + what + "\n\n\n"
           "This is a serious problem.  Please contact Customer\n"
           "Support with this message and a copy of the input file\n"
           "and help us to continue to make the tools more robust.\n\n";
}

TEST(SignalEndToEnd, SignalsReportAndEndTheRun) {
    const struct { int sig, status; std::string err; } cases[] = {
        {SIGINT, 2, "[forced exit]\n"}, {SIGHUP, 2, "[forced exit]\n"}, {SIGTERM, 1, "[received a terminate signal]\n"},
        {SIGSEGV, 1, internal_error("experienced a segmentation fault")},
        {SIGBUS, 1, internal_error("experienced a bus alignment fault")}, {SIGABRT, 1, internal_error("aborted")}};
    SCRATCH_DIR dir;
    ASSERT_EQ(mkfifo(dir.path("cmds").c_str(), 0600), 0);
    for (const auto& c : cases) {
        CHILD_PROCESS child(arwren_argv({"@cmds"}), RUN_OPTIONS{dir.dir(), 5000});
        while (!child.ready_for(SIGXFSZ))   // the last handler installed; a sanitizer catches some signals itself
            usleep(100);
        kill(child.pid(), c.sig);
        const RUN_RESULT r = child.finish();
        EXPECT_EQ(r.err, c.err);
        EXPECT_EQ(r.status, c.status) << c.err;
    }
}

std::string listed(const std::string& name) {
    return toc_text("         1   Thu Jan  1 00:00:00 1970    " + name + "\n");
}

const std::string kBoth = toc_text("         1   Thu Jan  1 00:00:00 1970    a.o\n"
                                   "         1   Thu Jan  1 00:00:00 1970    b c.o\n");

TEST(CommandFileEndToEnd, TokensQuotesCommentsAndFailures) {
    const std::string nul = kError + "NUL byte in command file 'cmds'\n";
    const struct {
        std::string text, out, err;
        int status;
    } cases[] = {
        {"t lib.a \"b c.o\" a.o\n", kBoth, "", 0},
        {"/* key */ t /* archive */\nlib.a a/*joined*/.o ; end\n", listed("a.o"), "", 0},
        {"t lib.a -v a.o\n", "  -->  warning: option -v ignored in file list\n" + listed("a.o"), "", 0},
        {"; a\n# b\n/* c */\n", kShortUsage, "", 1},
        {"t lib.a /* a.o", "", ">> Unterminated comment in command file; aborting!\n", 255},
        {"t lib.a \"a\tb\nc\n", "",
         ">> Unterminated quote in command file; aborting\n   Quote starts at \"a\\tb\\nc\n", 255},
        {"t lib.a \"" + std::string(40, 'q'), "",
         ">> Unterminated quote in command file; aborting\n   Quote starts at \"" + std::string(30, 'q') + "\n", 255},
        {"t lib.a a\0.o\n"s, "", nul, 1},
        {"t\0 lib.a\n"s, "", nul, 1},
    };
    const std::string lib = ARCHIVE_BUILDER().member("a.o", "1").member("b c.o", "2").bytes();
    for (const auto& c : cases)
        for (const char* form : {"@cmds", "-@cmds"})
            run_case({c.text, {{"lib.a", lib}, {"cmds", c.text}}, {form, "ignored"}, c.out, c.err, c.status, {}});
    run_case({"edit", {{"my file.txt", "abc"}, {"cmds", "aq lib.a \"my file.txt\"\n"}}, {"@cmds"}, "", "", 0,
              {{"lib.a", ARCHIVE_BUILDER().member("my file.txt", "abc", kOld).bytes()}}});
    std::string many = "t lib.a", missing;   // past the first hundred names the list grows
    for (int i = 0; i < 250; ++i) {
        many += " n" + std::to_string(i);
        missing += kError + "'n" + std::to_string(i) + "' not found\n";
    }
    run_case({"many names", {{"lib.a", lib}, {"cmds", many}}, {"@cmds"}, toc_text(""), missing, 1, {}});
}

}  // namespace

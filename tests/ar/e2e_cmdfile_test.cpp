// Runs driven by a command file.
#include "front_run.h"

namespace {

using namespace std::string_literals;

std::string listed(const std::string& name) {
    return toc_text("         1   Thu Jan  1 00:00:00 1970    " + name + "\n");
}

TEST(CommandFileEndToEnd, TokensQuotesCommentsAndWarnings) {
    const struct {
        const char* what;
        std::string text;
        std::string out;
        std::string err;
        int status;
    } cases[] = {
        {"quoted blanks", "t lib.a \"b c.o\"\n", listed("b c.o"), "", 0},
        {"comments everywhere", "/* key */ t /* archive */\nlib.a a/*joined*/.o ; end\n",
         listed("a.o"), "", 0},
        {"option in the file list", "t lib.a -v a.o\n",
         "  -->  warning: option -v ignored in file list\n" + listed("a.o"), "", 0},
        {"archive name rule", "t lib a.o", "", "  -->  error: cannot open archive: 'lib.lib'\n", 1},
        {"bad key", "tz lib.a", "", "  -->  error: bad option 'z'\n", 1},
        {"only comments", "; a\n# b\n/* c */\n", kShortUsage, "", 1},
        {"no archive", "t\n", kShortUsage, "", 1},
        {"unterminated comment", "t lib.a /* a.o", "",
         ">> Unterminated comment in command file; aborting!\n", 255},
        {"unterminated quote", "t lib.a \"a\tb\nc\n", "",
         ">> Unterminated quote in command file; aborting\n"
         "   Quote starts at \"a\\tb\\nc\n", 255},
        {"NUL byte in a name", "t lib.a a\0.o\n"s, "",
         "  -->  error: NUL byte in command file 'cmds'\n", 1},
        {"NUL byte in the key", "t\0 lib.a\n"s, "",
         "  -->  error: NUL byte in command file 'cmds'\n", 1},
        {"quote excerpt is cut", "t lib.a \"" + std::string(40, 'q'), "",
         ">> Unterminated quote in command file; aborting\n"
         "   Quote starts at \"" + std::string(30, 'q') + "\n", 255},
    };
    SCRATCH_DIR dir;
    dir.write("lib.a", ARCHIVE_BUILDER().member("a.o", "1").member("b c.o", "2").bytes());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        dir.write("cmds", c.text);
        for (const char* form : {"@", "-@"})
            expect_run(dir, {form + std::string("cmds"), "ignored"}, c.out, c.err, c.status);
    }
}

TEST(CommandFileEndToEnd, EditsFromACommandFile) {
    SCRATCH_DIR dir;
    dir.write("my file.txt", "abc", 1000000000);
    dir.write("cmds", "aq lib.a \"my file.txt\"\n");
    expect_run(dir, {"@cmds"}, "", "", 0);
    EXPECT_EQ(dir.read("lib.a"), ARCHIVE_BUILDER().member("my file.txt", "abc", 1000000000).bytes());
}

}  // namespace

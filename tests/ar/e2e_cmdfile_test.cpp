// Runs driven by a command file.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool_run.h"

namespace {

const std::string kShortUsage =
    "WREN Archiver                           v1.0.0 release\n"
    "(c) Copyright 2026 arwren developers    All rights reserved.\n"
    "\n Syntax : arwren [arxdt][quvsh][012] archive files ...\n"
    "          arwren @command_file\n";

std::string listed(const std::string& name) {
    return toc_text("         1   Thu Jan  1 00:00:00 1970    " + name + "\n");
}

TEST(CommandFileEndToEnd, TokensQuotesCommentsAndWarnings) {
    struct {
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
        {"quote excerpt is cut", "t lib.a \"" + std::string(40, 'q'), "",
         ">> Unterminated quote in command file; aborting\n"
         "   Quote starts at \"" + std::string(30, 'q') + "\n", 255},
    };
    for (const auto& c : cases) {
        for (const char* form : {"@", "-@"}) {
            SCRATCH_DIR dir;
            dir.write("lib.a", archive_bytes({archive_member("a.o/", 0, "1"),
                                              archive_member("b c.o/", 0, "2"),
                                              archive_member("k-1#2.o/", 0, "3")}));
            dir.write("cmds", c.text);
            TOOL_RESULT result = dir.run({form + std::string("cmds"), "ignored"});
            std::string what = std::string(c.what) + " " + form;
            EXPECT_EQ(result.out, c.out) << what;
            EXPECT_EQ(result.err, c.err) << what;
            EXPECT_EQ(result.status, c.status) << what;
        }
    }
}

TEST(CommandFileEndToEnd, EditsFromACommandFile) {
    SCRATCH_DIR dir;
    dir.write("my file.txt", "abc", 1000000000);
    dir.write("cmds", "aq lib.a \"my file.txt\"\n");
    TOOL_RESULT result = dir.run({"@cmds"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(dir.read("lib.a"), archive_bytes({archive_member("my file.txt/", 1000000000, "abc")}));
}

}  // namespace

// Listing archives written in each name format, by this tool's peers and by
// hand, and refusing corrupt ones without touching them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tool_run.h"

namespace {

const std::string kLongName = "a_very_long_member_name.o";  // 25 characters

// The same three members in every form: short, long (odd size), empty.
const std::string kThreeMembers = toc_text(
    "         4   Sun Sep  9 01:46:40 2001    short.o\n"
    "         3   Fri Feb 13 23:31:30 2009    " + kLongName + "\n"
    "         0   Thu Jan  1 00:00:00 1970    empty.o\n");

TEST(ListingEndToEnd, EachNameFormat) {
    struct {
        const char* form;
        std::string bytes;
        std::string listing;
    } cases[] = {
        {"original, long name cut",
         archive_bytes({archive_member("short.o/", 1000000000, "abcd"),
                        archive_member(kLongName.substr(0, 15) + "/", 1234567890, "xyz"),
                        archive_member("empty.o/", 0, "")}),
         toc_text("         4   Sun Sep  9 01:46:40 2001    short.o\n"
                  "         3   Fri Feb 13 23:31:30 2009    a_very_long_mem\n"
                  "         0   Thu Jan  1 00:00:00 1970    empty.o\n")},
        {"NU long-name table, offsets from 1",
         archive_bytes({archive_member("<filenames>/", 0, "\n" + kLongName + "/\n"),
                        archive_member("short.o/", 1000000000, "abcd"),
                        archive_member(kLongName.substr(0, 15) + "/", 1234567890, "xyz", 1),
                        archive_member("empty.o/", 0, "")}),
         kThreeMembers},
        {"POSIX table with a symbol index before it",
         archive_bytes({archive_member("/", 0, std::string("\0\0\0\1\0\0\0\x8a" "f\0", 10)),
                        archive_member("//", 0, kLongName + "/\n"),
                        archive_member("short.o/", 1000000000, "abcd"),
                        archive_member("/0", 1234567890, "xyz"),
                        archive_member("empty.o/", 0, "")}),
         kThreeMembers},
        {"magic only", "!<arch>\n", toc_text("")},
    };
    for (const auto& c : cases) {
        SCRATCH_DIR dir;
        dir.write("lib.a", c.bytes);
        TOOL_RESULT result = dir.run({"tvs", "lib.a"});
        EXPECT_EQ(result.out, c.listing) << c.form;
        EXPECT_EQ(result.err, "") << c.form;
        EXPECT_EQ(result.status, 0) << c.form;
        EXPECT_EQ(dir.read("lib.a"), c.bytes) << c.form;
    }
}

TEST(ListingEndToEnd, ArchiveWrittenByGnuAr) {
    SCRATCH_DIR dir;
    dir.write("short.o", "abcd", 1000000000);
    dir.write(kLongName, "xyz", 1234567890);
    dir.write("empty.o", "", 0);
    ASSERT_EQ(dir.run_program({"/usr/bin/ar", "rcU", "lib.a", "short.o", kLongName, "empty.o"}), 0);
    TOOL_RESULT result = dir.run({"t", "lib.a"});
    EXPECT_EQ(result.out, kThreeMembers);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

TEST(ListingEndToEnd, FileListSelectsByBaseNameAndReportsTheRest) {
    SCRATCH_DIR dir;
    dir.write("lib.a", archive_bytes({archive_member("a.o/", 0, "1"),
                                      archive_member("b.o/", 0, "22"),
                                      archive_member("c.o/", 0, "333")}));
    TOOL_RESULT result = dir.run({"t", "lib.a", "c.o", "nowhere/a.o", "x.o", "c.o"});
    EXPECT_EQ(result.out, toc_text("         1   Thu Jan  1 00:00:00 1970    a.o\n"
                                   "         3   Thu Jan  1 00:00:00 1970    c.o\n"));
    EXPECT_EQ(result.err, "  -->  error: 'x.o' not found\n"
                          "  -->  error: 'c.o' not found\n");
    EXPECT_EQ(result.status, 1);
}

TEST(ListingEndToEnd, CorruptArchivesAreRefusedAndLeftAlone) {
    const std::string good = archive_member("a.o/", 0, "1");
    struct {
        const char* what;
        std::string bytes;
        std::string message;
    } cases[] = {
        {"short header", "!<arch>\n" + good.substr(0, 30), "Cannot read member header: 'bad.a'"},
        {"short header after a member", archive_bytes({good}) + "b.o/ 0",
         "Cannot read member header: 'bad.a'"},
        {"bad terminator", "!<arch>\n" + good.substr(0, 58) + "xx",
         "Corrupt member header: 'bad.a'"},
        {"blank date", "!<arch>\n" + std::string("a.o/") + std::string(44, ' ') + "1         `\n1\n",
         "Corrupt member header: 'bad.a'"},
        {"name offset past the table",
         archive_bytes({archive_member("//", 0, "abcdefghijklmnop/\n"), archive_member("/18", 0, "")}),
         "Corrupt member name: 'bad.a'"},
    };
    for (const auto& c : cases) {
        for (const char* key : {"t", "x", "d", "r", "a"}) {
            SCRATCH_DIR dir;
            dir.write("bad.a", c.bytes);
            dir.write("a.o", "new");
            TOOL_RESULT result = dir.run({key, "bad.a", "a.o"});
            std::string what = std::string(c.what) + " with " + key;
            EXPECT_EQ(result.err, "  -->  error: " + c.message + "\n") << what;
            EXPECT_EQ(result.status, 1) << what;
            EXPECT_EQ(dir.read("bad.a"), c.bytes) << what;
            EXPECT_EQ(dir.read("a.o"), "new") << what;
        }
    }
}

// A file with bytes but no archive magic is never taken for an archive to
// extend, even when it is too short to fail on a header; an empty file is a
// new archive.
TEST(ListingEndToEnd, ForeignFilesAreNotExtended) {
    for (const char* bytes : {"hi\n", "!<thin>\n"}) {
        for (const char* key : {"a", "r", "t"}) {
            SCRATCH_DIR dir;
            dir.write("notes.a", bytes);
            dir.write("a.o", "new");
            TOOL_RESULT result = dir.run({key, "notes.a", "a.o"});
            EXPECT_EQ(result.err, "  -->  error: 'notes.a' is not an archive\n") << key;
            EXPECT_EQ(result.status, 1) << key;
            EXPECT_EQ(dir.read("notes.a"), bytes) << key;
        }
    }
    SCRATCH_DIR dir;
    dir.write("empty.a", "");
    dir.write("a.o", "new");
    EXPECT_EQ(dir.run({"aq", "empty.a", "a.o"}).status, 0);
    EXPECT_EQ(dir.read("empty.a").substr(0, 8), "!<arch>\n");
}

}  // namespace

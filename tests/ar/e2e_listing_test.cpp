// Listing archives written in each name format, by this tool's peers and by
// hand, and refusing corrupt ones without touching them.
#include "front_run.h"

namespace {

const std::string kLongName = "a_very_long_member_name.o";  // 25 characters

// short.o, a long name of odd size and an empty member, listed with the long
// name as stored.
std::string three_members_listing(const std::string& long_name) {
    return toc_text("         4   Sun Sep  9 01:46:40 2001    short.o\n"
                    "         3   Fri Feb 13 23:31:30 2009    " + long_name + "\n"
                    "         0   Thu Jan  1 00:00:00 1970    empty.o\n");
}

TEST(ListingEndToEnd, EachNameFormat) {
    // The original form cuts the long name; the NU table's offsets count
    // from 1; the POSIX table follows a symbol index.
    for (auto form : {ARCHIVE_BUILDER::ORIGINAL, ARCHIVE_BUILDER::NU_LONG_NAME,
                      ARCHIVE_BUILDER::POSIX}) {
        ARCHIVE_BUILDER builder(form);
        builder.member("short.o", "abcd", 1000000000).member(kLongName, "xyz", 1234567890);
        builder.member("empty.o", "", 0);
        if (form == ARCHIVE_BUILDER::POSIX)
            builder.index({{"f", 0}});
        const std::string bytes = builder.bytes();
        SCRATCH_DIR dir;
        dir.write("lib.a", bytes);
        expect_run(dir, {"tvs", "lib.a"},
                   three_members_listing(form == ARCHIVE_BUILDER::ORIGINAL ? kLongName.substr(0, 15)
                                                                           : kLongName),
                   "", 0);
        EXPECT_EQ(dir.read("lib.a"), bytes) << form;
    }
    SCRATCH_DIR dir;
    dir.write("lib.a", "!<arch>\n");
    expect_run(dir, {"t", "lib.a"}, toc_text(""), "", 0);
}

TEST(ListingEndToEnd, ArchiveWrittenByGnuAr) {
    SCRATCH_DIR dir;
    dir.write("short.o", "abcd", 1000000000);
    dir.write(kLongName, "xyz", 1234567890);
    dir.write("empty.o", "", 0);
    RUN_OPTIONS in_dir;
    in_dir.cwd = dir.dir();
    ASSERT_EQ(run_process({"ar", "rcU", "lib.a", "short.o", kLongName, "empty.o"}, in_dir).status, 0);
    expect_run(dir, {"t", "lib.a"}, three_members_listing(kLongName), "", 0);
}

TEST(ListingEndToEnd, FileListSelectsByBaseNameAndReportsTheRest) {
    SCRATCH_DIR dir;
    dir.write("lib.a", ARCHIVE_BUILDER().member("a.o", "1").member("b.o", "22").member("c.o", "333")
                           .bytes());
    expect_run(dir, {"t", "lib.a", "c.o", "nowhere/a.o", "x.o", "c.o"},
               toc_text("         1   Thu Jan  1 00:00:00 1970    a.o\n"
                        "         3   Thu Jan  1 00:00:00 1970    c.o\n"),
               "  -->  error: 'x.o' not found\n  -->  error: 'c.o' not found\n", 1);
}

// Every command refuses a corrupt archive, and one with bytes but no magic,
// even one too short to fail on a header, is never taken for an archive to
// extend. Neither the archive nor the member file changes.
TEST(ListingEndToEnd, CorruptAndForeignArchivesAreRefusedAndLeftAlone) {
    using B = ARCHIVE_BUILDER;
    const std::string good = B().member("a.o", "1").bytes();
    const std::string header = "  -->  error: Cannot read member header: 'bad.a'\n";
    const std::string corrupt = "  -->  error: Corrupt member header: 'bad.a'\n";
    const std::string foreign = "  -->  error: 'bad.a' is not an archive\n";
    const struct {
        const char* what;
        std::string bytes;
        std::string err;
        std::vector<const char*> keys;
    } cases[] = {
        {"short header", good.substr(0, 38), header, {"t", "x", "d", "r", "a"}},
        {"short header after a member", good + "b.o/ 0", header, {"t", "x", "d", "r", "a"}},
        {"bad terminator", B().member("a.o", "1").field(B::END, "xx").bytes(), corrupt,
         {"t", "x", "d", "r", "a"}},
        {"blank date", B().member("a.o", "1").field(B::DATE, "").bytes(), corrupt,
         {"t", "x", "d", "r", "a"}},
        {"name offset past the table", B().member("abcdefghijklmnop", "").field(B::NAME, "/18").bytes(),
         "  -->  error: Corrupt member name: 'bad.a'\n", {"t", "x", "d", "r", "a"}},
        {"text", "hi\n", foreign, {"a", "r", "t"}},
        {"other magic", "!<thin>\n", foreign, {"a", "r", "t"}},
    };
    for (const auto& c : cases) {
        for (const char* key : c.keys) {
            SCOPED_TRACE(std::string(c.what) + " with " + key);
            SCRATCH_DIR dir;
            dir.write("bad.a", c.bytes);
            dir.write("a.o", "new");
            expect_run(dir, {key, "bad.a", "a.o"}, "", c.err, 1);
            EXPECT_EQ(dir.read("bad.a"), c.bytes);
            EXPECT_EQ(dir.read("a.o"), "new");
        }
    }
    // An empty file is a new archive.
    SCRATCH_DIR dir;
    dir.write("empty.a", "");
    dir.write("a.o", "new");
    expect_run(dir, {"aq", "empty.a", "a.o"}, "", "", 0);
    EXPECT_EQ(dir.read("empty.a").substr(0, 8), "!<arch>\n");
}

}  // namespace

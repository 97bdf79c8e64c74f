// Adding, replacing, deleting and extracting members, checked by the exact
// bytes of the archive written and the exact messages printed.
#include <sys/stat.h>

#include "front_run.h"

namespace {

const long kOld = 1000000000;
const long kNew = 1100000000;
const std::string kLongName = "a_very_long_member_name.txt";  // 27 characters

ino_t inode_of(const SCRATCH_DIR& dir, const std::string& name) {
    struct stat info {};
    stat(dir.path(name).c_str(), &info);
    return info.st_ino;
}

// a.txt ("aaa", old) and b.txt ("bbbb", old), then any further members.
ARCHIVE_BUILDER two_members() {
    return std::move(ARCHIVE_BUILDER().member("a.txt", "aaa", kOld).member("b.txt", "bbbb", kOld));
}

TEST(AddEndToEnd, NewArchiveMessagesByKey) {
    const struct {
        const char* key;
        std::string out;
    } cases[] = {
        {"a", "  ==>  new archive 'lib.a'\n  ==>  building archive 'lib.a'\n"},
        {"aq", ""},
        {"-av", "  ==>  new archive 'lib.a'\n  ==>  add 'a.txt'\n  ==>  add 'sub/b.txt'\n"
                "  ==>  building archive 'lib.a'\n"},
        {"r", "  ==>  new archive 'lib.a'\n  ==>  building archive 'lib.a'\n"},
    };
    for (const auto& c : cases) {
        SCRATCH_DIR dir;
        dir.write("a.txt", "aaa", kOld);
        dir.write("sub/b.txt", "bbbb", kNew);
        expect_run(dir, {c.key, "lib.a", "a.txt", "sub/b.txt"}, c.out, "", 0);
        EXPECT_EQ(dir.read("lib.a"),
                  ARCHIVE_BUILDER().member("a.txt", "aaa", kOld).member("b.txt", "bbbb", kNew).bytes())
            << c.key;
    }
}

TEST(AddEndToEnd, MissingFileIsReportedAndExistingNameAppendedAgain) {
    SCRATCH_DIR dir;
    dir.write("a.txt", "aaa", kOld);
    expect_run(dir, {"aq", "lib", "gone.txt", "a.txt"}, "", "  -->  error: 'gone.txt' not found\n", 1);
    EXPECT_EQ(dir.read("lib.lib"), ARCHIVE_BUILDER().member("a.txt", "aaa", kOld).bytes());
    dir.write("lib.a", two_members().bytes());
    dir.write("a.txt", "A", kNew);
    expect_run(dir, {"a", "lib.a", "a.txt"}, "  ==>  building archive 'lib.a'\n", "", 0);
    EXPECT_EQ(dir.read("lib.a"), two_members().member("a.txt", "A", kNew).bytes());
}

TEST(AddEndToEnd, FormatDigitChoosesLongNameStorage) {
    const struct {
        const char* key;
        ARCHIVE_BUILDER::FORM form;
    } cases[] = {{"aq0", ARCHIVE_BUILDER::ORIGINAL},
                 {"aq1", ARCHIVE_BUILDER::NU_LONG_NAME},
                 {"aq2", ARCHIVE_BUILDER::POSIX},
                 {"aq", ARCHIVE_BUILDER::POSIX}};
    for (const auto& c : cases) {
        SCRATCH_DIR dir;
        dir.write(kLongName, "xy", kOld);
        expect_run(dir, {c.key, "lib.a", kLongName}, "", "", 0);
        EXPECT_EQ(dir.read("lib.a"), ARCHIVE_BUILDER(c.form).member(kLongName, "xy", kOld).bytes())
            << c.key;
    }
}

// A file whose name would read back as the NU long-name table is refused
// before anything is written, whether the archive is new or not.
TEST(AddEndToEnd, NameThatReadsBackAsATableIsRefused) {
    SCRATCH_DIR dir;
    dir.write("<filenames>", "x", kOld);
    dir.write(kLongName, "xy", kOld);
    const std::string err =
        "  -->  error: Member name cannot be stored in the POSIX format: '<filenames>'\n";
    expect_run(dir, {"r", "n.a", "<filenames>", kLongName},
               "  ==>  new archive 'n.a'\n  ==>  building archive 'n.a'\n", err, 1);
    EXPECT_FALSE(dir.exists("n.a"));
    dir.write("n.a", two_members().bytes());
    expect_run(dir, {"rq", "n.a", kLongName, "<filenames>"}, "", err, 1);
    EXPECT_EQ(dir.read("n.a"), two_members().bytes());
    EXPECT_EQ(dir.names(), (std::vector<std::string>{"<filenames>", kLongName, "n.a"}));
}

TEST(ReplaceEndToEnd, ReplacesInPlaceAndAppendsNewFiles) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members().bytes());
    dir.write("new/a.txt", "AAAAA", kNew);
    dir.write("c.txt", "cc", kNew);
    expect_run(dir, {"rv", "lib.a", "c.txt", "new/a.txt"},
               "  ==>  replace 'a.txt'\n  ==>  add 'c.txt'\n  ==>  building archive 'lib.a'\n", "",
               0);
    EXPECT_EQ(dir.read("lib.a"), ARCHIVE_BUILDER()
                                     .member("a.txt", "AAAAA", kNew)
                                     .member("b.txt", "bbbb", kOld)
                                     .member("c.txt", "cc", kNew)
                                     .bytes());
}

// A file as old as its member is not taken, yet the archive is written anew.
TEST(ReplaceEndToEnd, UpdateTakesOnlyStrictlyNewerFiles) {
    for (long file_time : {kOld, kOld + 1}) {
        SCRATCH_DIR dir;
        dir.write("lib.a", two_members().bytes());
        dir.write("a.txt", "zz", file_time);
        ino_t before = inode_of(dir, "lib.a");
        expect_run(dir, {"ru", "lib.a", "a.txt"}, "  ==>  building archive 'lib.a'\n", "", 0);
        ARCHIVE_BUILDER expected;
        if (file_time == kOld)
            expected.member("a.txt", "aaa", kOld);
        else
            expected.member("a.txt", "zz", file_time);
        EXPECT_EQ(dir.read("lib.a"), expected.member("b.txt", "bbbb", kOld).bytes()) << file_time;
        EXPECT_NE(inode_of(dir, "lib.a"), before) << file_time;
    }
}

TEST(ReplaceEndToEnd, MemberWithoutItsFileIsKeptSilently) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members().bytes());
    dir.write("b.txt", "B", kNew);
    // With no list every member is refreshed from the current directory.
    expect_run(dir, {"rq", "lib.a"}, "", "", 0);
    EXPECT_EQ(dir.read("lib.a"),
              ARCHIVE_BUILDER().member("a.txt", "aaa", kOld).member("b.txt", "B", kNew).bytes());
    expect_run(dir, {"rq", "lib.a", "a.txt"}, "", "", 0);
}

TEST(DeleteEndToEnd, DeletesSelectedMembersAndNothingForAnEmptyList) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members().bytes());
    ino_t before = inode_of(dir, "lib.a");
    expect_run(dir, {"dv", "lib.a"}, "", "", 0);
    EXPECT_EQ(dir.read("lib.a"), two_members().bytes());
    EXPECT_EQ(inode_of(dir, "lib.a"), before);
    expect_run(dir, {"dv", "lib.a", "x/a.txt", "zz.txt"},
               "  ==>  delete 'a.txt'\n  ==>  building archive 'lib.a'\n",
               "  -->  error: 'zz.txt' not found\n", 1);
    EXPECT_EQ(dir.read("lib.a"), ARCHIVE_BUILDER().member("b.txt", "bbbb", kOld).bytes());
    expect_run(dir, {"dq", "lib.a", "b.txt"}, "", "", 0);
    EXPECT_EQ(dir.read("lib.a"), "!<arch>\n");
}

TEST(ExtractEndToEnd, WritesMembersToTheirPaths) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members().bytes());
    dir.subdir("out");
    expect_run(dir, {"x", "lib.a"}, "", "", 0);
    EXPECT_EQ(dir.read("a.txt"), "aaa");
    EXPECT_EQ(dir.read("b.txt"), "bbbb");
    expect_run(dir, {"xv", "lib.a", "out/b.txt", "q.txt"}, "  ==>  extract 'out/b.txt'\n",
               "  -->  error: 'q.txt' not found\n", 1);
    EXPECT_EQ(dir.read("out/b.txt"), "bbbb");
    EXPECT_FALSE(dir.exists("out/a.txt"));
    expect_run(dir, {"x", "lib.a", "nodir/a.txt"}, "", "  -->  error: cannot create 'nodir/a.txt'\n",
               1);
    EXPECT_EQ(dir.read("lib.a"), two_members().bytes());
}

TEST(ExtractEndToEnd, StoredNameWithADirectoryIsNotFollowed) {
    SCRATCH_DIR dir;
    dir.write("sub/lib.a", ARCHIVE_BUILDER().member("../escape.o", "x", kOld).bytes());
    expect_run(dir, {"x", "sub/lib.a"}, "", "  -->  error: cannot create '../escape.o'\n", 1);
    EXPECT_FALSE(dir.exists("escape.o"));
}

}  // namespace

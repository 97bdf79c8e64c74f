// Adding, replacing, deleting and extracting members, checked by the exact
// bytes of the archive written and the exact messages printed.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tool_run.h"

namespace {

const long kOld = 1000000000;
const long kNew = 1100000000;
const std::string kLongName = "a_very_long_member_name.txt";  // 27 characters

ino_t inode_of(const SCRATCH_DIR& dir, const std::string& name) {
    struct stat info {};
    stat(dir.at(name).c_str(), &info);
    return info.st_ino;
}

// An archive holding a.txt ("aaa", old) and b.txt ("bbbb", old).
std::string two_members() {
    return archive_bytes({archive_member("a.txt/", kOld, "aaa"),
                          archive_member("b.txt/", kOld, "bbbb")});
}

void expect_result(const TOOL_RESULT& result, const std::string& out, const std::string& err,
                   int status, const std::string& what) {
    EXPECT_EQ(result.out, out) << what;
    EXPECT_EQ(result.err, err) << what;
    EXPECT_EQ(result.status, status) << what;
}

TEST(AddEndToEnd, NewArchiveMessagesByKey) {
    struct {
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
        expect_result(dir.run({c.key, "lib.a", "a.txt", "sub/b.txt"}), c.out, "", 0, c.key);
        EXPECT_EQ(dir.read("lib.a"), archive_bytes({archive_member("a.txt/", kOld, "aaa"),
                                                    archive_member("b.txt/", kNew, "bbbb")}))
            << c.key;
    }
}

TEST(AddEndToEnd, MissingFileIsReportedAndTheRestAdded) {
    SCRATCH_DIR dir;
    dir.write("a.txt", "aaa", kOld);
    expect_result(dir.run({"aq", "lib", "gone.txt", "a.txt"}), "",
                  "  -->  error: 'gone.txt' not found\n", 1, "add");
    EXPECT_EQ(dir.read("lib.lib"), archive_bytes({archive_member("a.txt/", kOld, "aaa")}));
}

TEST(AddEndToEnd, ExistingMemberNameIsAppendedAgain) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members());
    dir.write("a.txt", "A", kNew);
    expect_result(dir.run({"a", "lib.a", "a.txt"}), "  ==>  building archive 'lib.a'\n", "", 0,
                  "add twice");
    EXPECT_EQ(dir.read("lib.a"), two_members() + archive_member("a.txt/", kNew, "A"));
}

TEST(AddEndToEnd, FormatDigitChoosesLongNameStorage) {
    const std::string data = "xy";
    const std::string cut = kLongName.substr(0, 15) + "/";
    struct {
        const char* key;
        std::string bytes;
    } cases[] = {
        {"aq0", archive_bytes({archive_member(cut, kOld, data)})},
        {"aq1", archive_bytes({archive_member("<filenames>/", 0, "\n" + kLongName + "/\n"),
                               archive_member(cut, kOld, data, 1)})},
        {"aq2", archive_bytes({archive_member("//", 0, kLongName + "/\n"),
                               archive_member("/0", kOld, data)})},
        {"aq", archive_bytes({archive_member("//", 0, kLongName + "/\n"),
                              archive_member("/0", kOld, data)})},
    };
    for (const auto& c : cases) {
        SCRATCH_DIR dir;
        dir.write(kLongName, data, kOld);
        expect_result(dir.run({c.key, "lib.a", kLongName}), "", "", 0, c.key);
        EXPECT_EQ(dir.read("lib.a"), c.bytes) << c.key;
    }
}

TEST(ReplaceEndToEnd, ReplacesInPlaceAndAppendsNewFiles) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members());
    dir.write("new/a.txt", "AAAAA", kNew);
    dir.write("c.txt", "cc", kNew);
    expect_result(dir.run({"rv", "lib.a", "c.txt", "new/a.txt"}),
                  "  ==>  replace 'a.txt'\n  ==>  add 'c.txt'\n"
                  "  ==>  building archive 'lib.a'\n", "", 0, "rv");
    EXPECT_EQ(dir.read("lib.a"), archive_bytes({archive_member("a.txt/", kNew, "AAAAA"),
                                                archive_member("b.txt/", kOld, "bbbb"),
                                                archive_member("c.txt/", kNew, "cc")}));
}

TEST(ReplaceEndToEnd, UpdateTakesOnlyStrictlyNewerFiles) {
    struct {
        const char* what;
        long file_time;
        std::string a_member;
    } cases[] = {
        {"same time", kOld, archive_member("a.txt/", kOld, "aaa")},
        {"older", kOld - 1, archive_member("a.txt/", kOld, "aaa")},
        {"newer", kOld + 1, archive_member("a.txt/", kOld + 1, "zz")},
    };
    for (const auto& c : cases) {
        SCRATCH_DIR dir;
        dir.write("lib.a", two_members());
        dir.write("a.txt", "zz", c.file_time);
        ino_t before = inode_of(dir, "lib.a");
        expect_result(dir.run({"ru", "lib.a", "a.txt"}), "  ==>  building archive 'lib.a'\n", "",
                      0, c.what);
        EXPECT_EQ(dir.read("lib.a"), archive_bytes({c.a_member, archive_member("b.txt/", kOld,
                                                                               "bbbb")}))
            << c.what;
        EXPECT_NE(inode_of(dir, "lib.a"), before) << c.what << ": always rewritten";
    }
}

TEST(ReplaceEndToEnd, MemberWithoutItsFileIsKeptSilently) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members());
    dir.write("b.txt", "B", kNew);
    // With no list every member is refreshed from the current directory.
    expect_result(dir.run({"rq", "lib.a"}), "", "", 0, "r all");
    EXPECT_EQ(dir.read("lib.a"), archive_bytes({archive_member("a.txt/", kOld, "aaa"),
                                                archive_member("b.txt/", kNew, "B")}));
    expect_result(dir.run({"rq", "lib.a", "a.txt"}), "", "", 0, "named, missing");
}

TEST(DeleteEndToEnd, DeletesSelectedMembers) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members());
    expect_result(dir.run({"dv", "lib.a", "x/a.txt", "zz.txt"}),
                  "  ==>  delete 'a.txt'\n  ==>  building archive 'lib.a'\n",
                  "  -->  error: 'zz.txt' not found\n", 1, "dv");
    EXPECT_EQ(dir.read("lib.a"), archive_bytes({archive_member("b.txt/", kOld, "bbbb")}));
    expect_result(dir.run({"dq", "lib.a", "b.txt"}), "", "", 0, "dq");
    EXPECT_EQ(dir.read("lib.a"), "!<arch>\n");
}

TEST(DeleteEndToEnd, EmptyListDoesNothing) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members());
    ino_t before = inode_of(dir, "lib.a");
    expect_result(dir.run({"dv", "lib.a"}), "", "", 0, "d");
    EXPECT_EQ(dir.read("lib.a"), two_members());
    EXPECT_EQ(inode_of(dir, "lib.a"), before);
}

TEST(ExtractEndToEnd, WritesMembersToTheirPaths) {
    SCRATCH_DIR dir;
    dir.write("lib.a", two_members());
    dir.write("out/placeholder", "");
    expect_result(dir.run({"x", "lib.a"}), "", "", 0, "x all");
    EXPECT_EQ(dir.read("a.txt"), "aaa");
    EXPECT_EQ(dir.read("b.txt"), "bbbb");
    expect_result(dir.run({"xv", "lib.a", "out/b.txt", "q.txt"}), "  ==>  extract 'out/b.txt'\n",
                  "  -->  error: 'q.txt' not found\n", 1, "xv");
    EXPECT_EQ(dir.read("out/b.txt"), "bbbb");
    EXPECT_FALSE(dir.exists("out/a.txt"));
    expect_result(dir.run({"x", "lib.a", "nodir/a.txt"}), "",
                  "  -->  error: cannot create 'nodir/a.txt'\n", 1, "x into a missing directory");
    EXPECT_EQ(dir.read("lib.a"), two_members());
}

TEST(ExtractEndToEnd, StoredNameWithADirectoryIsNotFollowed) {
    SCRATCH_DIR dir;
    dir.write("sub/lib.a", archive_bytes({archive_member("../escape.o/", kOld, "x")}));
    TOOL_RESULT result = dir.run({"x", "sub/lib.a"});
    expect_result(result, "", "  -->  error: cannot create '../escape.o'\n", 1, "x all");
    EXPECT_FALSE(dir.exists("escape.o"));
}

}  // namespace

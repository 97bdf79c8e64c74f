#include "support/file_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/scratch_dir.h"

namespace {

TEST(FileNamesTest, BasenameAndHasdir) {
    struct CASE {
        const char* path;
        const char* base;
        bool hasdir;
    } const cases[] = {
        {"a/b/c.obj", "c.obj", true}, {"c.obj", "c.obj", false}, {"/x", "x", true},
        {"dir/", "", true},           {"", "", false},
    };
    for (const CASE& c : cases) {
        EXPECT_STREQ(fn_basename(c.path), c.base) << c.path;
        EXPECT_EQ(fn_hasdir(c.path), c.hasdir) << c.path;
    }
    EXPECT_EQ(fn_basename(nullptr), nullptr);
    EXPECT_FALSE(fn_hasdir(nullptr));
}

TEST(FileNamesTest, AddextAndDelext) {
    struct CASE {
        const char* name;
        const char* ext;
        int replace;
        const char* added;
        const char* deleted;   // fn_delext of the original name
    } const cases[] = {
        {"lib", ".lib", 0, "lib.lib", "lib"},
        {"lib.a", ".lib", 0, "lib.a", "lib"},
        {"d.x/lib", ".lib", 0, "d.x/lib.lib", "d.x/lib"},
        {"lib", "lib", 0, "lib.lib", "lib"},
        {"lib.a", ".lib", 1, "lib.lib", "lib"},
        {"lib.a", "lib", 1, "lib.lib", "lib"},
        {"d.x/lib.a", ".o", 1, "d.x/lib.o", "d.x/lib"},
        {"a.b.c", ".x", 1, "a.b.x", "a.b"},
        {"dir/", ".lib", 0, "dir/.lib", "dir/"},
    };
    for (const CASE& c : cases) {
        char name[64];
        strcpy(name, c.name);
        EXPECT_EQ(fn_addext(name, c.ext, c.replace), name);
        EXPECT_STREQ(name, c.added) << c.name << " + " << c.ext;
        strcpy(name, c.name);
        EXPECT_STREQ(fn_delext(name), c.deleted) << c.name;
    }
}

TEST(FileNamesTest, SplitIntoStaticParts) {
    struct CASE {
        const char* path;
        const char* dir;
        const char* base;
        const char* ext;
    } const cases[] = {
        {"dir/sub/name.ext", "dir/sub/", "name", "ext"},
        {"name", "", "name", ""},
        {"d.x/lib", "d.x/", "lib", ""},
        {"/a.b.c", "/", "a.b", "c"},
        {"", "", "", ""},
    };
    for (const CASE& c : cases) {
        char* dir = nullptr;
        char* base = nullptr;
        char* ext = nullptr;
        fn_split(c.path, &dir, &base, &ext);
        EXPECT_STREQ(dir, c.dir) << c.path;
        EXPECT_STREQ(base, c.base) << c.path;
        EXPECT_STREQ(ext, c.ext) << c.path;
    }
    std::string long_name = std::string(600, 'd') + "/" + std::string(600, 'b') + "." + std::string(600, 'e');
    char* dir = nullptr;
    char* base = nullptr;
    char* ext = nullptr;
    fn_split(long_name.c_str(), &dir, &base, &ext);
    EXPECT_EQ(std::string(dir), std::string(499, 'd'));
    EXPECT_EQ(std::string(base), std::string(499, 'b'));
    EXPECT_EQ(std::string(ext), std::string(499, 'e'));
    fn_split("only/dir", &dir, nullptr, nullptr);
    EXPECT_STREQ(dir, "only/");
}

TEST(FileNamesTest, StrcmpIsSignedAndCaseSensitive) {
    struct CASE {
        const char* a;
        const char* b;
        int sign;
    } const cases[] = {
        {"abc", "abc", 0},  {"abc", "abd", -1}, {"ab", "abc", -1}, {"abc", "ABC", 1},
        {"\xc3", "a", -1},  {"a", "\xc3", 1},   {"", "", 0},
    };
    for (const CASE& c : cases) {
        int result = fn_strcmp(c.a, c.b);
        EXPECT_EQ((result > 0) - (result < 0), c.sign) << c.a << " vs " << c.b;
    }
}

TEST(FileNamesTest, SmallWrappers) {
    SCRATCH_DIR scratch;
    std::string empty = scratch.write("empty.o", "");
    std::string full = scratch.write("full.o", "x");
    EXPECT_TRUE(fn_exists(empty.c_str()));
    EXPECT_FALSE(fn_exists(scratch.path("none").c_str()));
    EXPECT_TRUE(fn_is_empty(empty.c_str()));
    EXPECT_FALSE(fn_is_empty(full.c_str()));
    EXPECT_TRUE(fn_samefile(full.c_str(), (scratch.dir() + "/./full.o").c_str()));
    EXPECT_FALSE(fn_samefile(full.c_str(), empty.c_str()));
    EXPECT_TRUE(fn_matches_ext("a/b.obj", ".obj"));
    EXPECT_TRUE(fn_matches_ext("a/b.obj", "obj"));
    EXPECT_FALSE(fn_matches_ext("a.d/b", "d/b"));
    EXPECT_TRUE(fn_has_full_path("/a"));
    EXPECT_FALSE(fn_has_full_path("a/b"));
    EXPECT_TRUE(fn_has_relative_path("a/b"));
    EXPECT_FALSE(fn_has_relative_path("/a/b"));
    EXPECT_FALSE(fn_has_relative_path("b"));

    char* built = fn_build("dir", "name", "o");
    EXPECT_STREQ(built, "dir/name.o");
    free(built);
    built = fn_build("dir/", "name", ".o");
    EXPECT_STREQ(built, "dir/name.o");
    free(built);

    char* copy = fn_realname("x/y");
    EXPECT_STREQ(copy, "x/y");
    free(copy);

    EXPECT_EQ(fn_delete(full.c_str()), 0);
    EXPECT_FALSE(fn_exists(full.c_str()));
    EXPECT_NE(fn_delete(full.c_str()), 0);
}

TEST(FileNamesTest, RenameWithinDevice) {
    SCRATCH_DIR scratch;
    std::string from = scratch.write("from", "payload");
    EXPECT_EQ(fn_rename(from.c_str(), scratch.path("to").c_str()), 1);
    EXPECT_FALSE(fn_exists(from.c_str()));
    EXPECT_EQ(scratch.read("to"), "payload");
    EXPECT_EQ(fn_rename(from.c_str(), scratch.path("again").c_str()), 0);
}

// Across devices the file is copied and the source is left for the caller.
TEST(FileNamesTest, RenameAcrossDevicesCopies) {
    SCRATCH_DIR here;
    SCRATCH_DIR there("/dev/shm");
    struct stat a, b;
    if (!there.ok() || stat(here.dir().c_str(), &a) != 0 || stat(there.dir().c_str(), &b) != 0 ||
        a.st_dev == b.st_dev)
        GTEST_SKIP() << "no second device";
    std::string bytes;
    for (int i = 0; i < 20000; ++i)
        bytes += static_cast<char>(i * 7);
    std::string from = there.write("big", bytes);
    EXPECT_EQ(fn_rename(from.c_str(), here.path("big").c_str()), 1);
    EXPECT_EQ(here.read("big"), bytes);
    EXPECT_EQ(there.read("big"), bytes);
}

TEST(FileNamesTest, TemporaryNames) {
    // The name lies in the directory given, whatever the environment says.
    setenv("TMPDIR", "/tmp", 1);
    SCRATCH_DIR scratch;
    static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    unsigned id = static_cast<unsigned>(getpid());
    std::string prefix = std::string("NU") + digits[id / 3844 % 62] + digits[id / 62 % 62] + digits[id % 62];

    char* made = fn_tmpnam(nullptr, "AR", scratch.dir().c_str());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(std::string(made).rfind(scratch.dir() + "/" + prefix, 0), 0u) << made;
    EXPECT_FALSE(fn_exists(made));
    free(made);

    char buffer[600];
    EXPECT_EQ(fn_tmpnam(buffer, nullptr, scratch.dir().c_str()), buffer);
    EXPECT_EQ(std::string(buffer).rfind(scratch.dir() + "/" + prefix, 0), 0u) << buffer;

    fn_tmpnam(buffer, "AR", "");   // no directory part: the current directory
    EXPECT_EQ(std::string(buffer).rfind("./" + prefix, 0), 0u) << buffer;
}

}  // namespace

#include "support/file_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/scratch_dir.h"

namespace {

std::string addext(const char* name, const char* ext, int replace) {
    char buffer[64];
    strcpy(buffer, name);
    return fn_addext(buffer, ext, replace);
}

std::string delext(const char* name) {
    char buffer[64];
    strcpy(buffer, name);
    return fn_delext(buffer);
}

// A string the caller must free, as a std::string.
std::string taken(char* text) {
    std::string copy = text ? text : "(null)";
    free(text);
    return copy;
}

std::string yes(bool answer) { return answer ? "yes" : "no"; }

std::string split(const std::string& path) {
    char *dir = nullptr, *base = nullptr, *ext = nullptr;
    fn_split(path.c_str(), &dir, &base, &ext);
    return std::string(dir) + "|" + base + "|" + ext;
}

TEST(FileNamesTest, NameEditingTable) {
    // Each part of a split is cut to 499 characters.
    const std::string d(600, 'd'), b(600, 'b'), e(600, 'e'), d499(499, 'd'), b499(499, 'b'), e499(499, 'e');
    const struct { std::string got; std::string want; } cases[] = {
        {fn_basename("a/b/c.obj"), "c.obj"},
        {fn_basename("dir/"), ""},
        {addext("lib", ".lib", 0), "lib.lib"},
        {addext("lib.a", ".lib", 0), "lib.a"},
        {addext("d.x/lib", ".lib", 0), "d.x/lib.lib"},
        {addext("lib", "lib", 0), "lib.lib"},
        {addext("lib.a", ".lib", 1), "lib.lib"},
        {addext("a.b.c", ".x", 1), "a.b.x"},
        {addext("dir/", ".lib", 0), "dir/.lib"},
        {split("dir/sub/name.ext"), "dir/sub/|name|ext"},
        {split("d.x/lib"), "d.x/|lib|"},
        {split("/a.b.c"), "/|a.b|c"},
        {split(""), "||"},
        {split(d + "/" + b + "." + e), d499 + "|" + b499 + "|" + e499},
        {delext("d.x/lib"), "d.x/lib"},
        {delext("d.x/lib.a.b"), "d.x/lib.a"},
        {taken(fn_build("dir", "lib", "a")), "dir/lib.a"},
        {taken(fn_build("dir/", "lib", ".a")), "dir/lib.a"},
        {taken(fn_build("", "lib", "")), "lib"},
        {taken(fn_build(nullptr, "lib", nullptr)), "lib"},
        {taken(fn_realname("a/b")), "a/b"},
        {yes(fn_matches_ext("d.x/lib.a", ".a")) + yes(fn_matches_ext("d.x/lib", "x")) + yes(fn_matches_ext("lib", "")) +
             yes(fn_matches_ext(nullptr, "a")),
         "yesnoyesno"},
        {yes(fn_hasdir("a/b")) + yes(fn_hasdir("ab")) + yes(fn_has_full_path("/a")) + yes(fn_has_full_path("a/b")),
         "yesnoyesno"},
        {yes(fn_has_relative_path("a/b")) + yes(fn_has_relative_path("/a/b")) + yes(fn_has_relative_path("ab")),
         "yesnono"},
        {std::to_string(fn_strcmp("ab", "ab")) + std::to_string(fn_strcmp("a", "ab") < 0) +
             std::to_string(fn_strcmp("\x80", "a") < 0) + std::to_string(fn_strcmp(nullptr, "a")),
         "011-1"},
    };
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i)
        EXPECT_EQ(cases[i].got, cases[i].want) << "row " << i;
}

// Across devices the file is copied and the source is left for the caller.
TEST(FileNamesTest, RenameMovesWithinADeviceAndCopiesAcross) {
    SCRATCH_DIR here;
    std::string from = here.write("from", "payload");
    EXPECT_EQ(fn_rename(from.c_str(), here.path("to").c_str()), 1);
    EXPECT_FALSE(fn_exists(from.c_str()));
    EXPECT_EQ(here.read("to"), "payload");
    EXPECT_TRUE(fn_exists(here.path("to").c_str()));
    EXPECT_EQ(fn_rename(from.c_str(), here.path("again").c_str()), 0);
    const std::string empty = here.write("empty", "");
    EXPECT_TRUE(fn_is_empty(empty.c_str()));
    EXPECT_FALSE(fn_is_empty(here.path("to").c_str()));
    EXPECT_TRUE(fn_samefile(here.path("to").c_str(), (here.dir() + "/./to").c_str()));
    EXPECT_FALSE(fn_samefile(here.path("to").c_str(), empty.c_str()));
    EXPECT_EQ(fn_delete(empty.c_str()), 0);
    EXPECT_FALSE(fn_exists(empty.c_str()));

    SCRATCH_DIR there("/dev/shm");
    struct stat a, b;
    if (!there.ok() || stat(here.dir().c_str(), &a) != 0 || stat(there.dir().c_str(), &b) != 0 ||
        a.st_dev == b.st_dev)
        GTEST_SKIP() << "no second device";
    std::string bytes;
    for (int i = 0; i < 20000; ++i)
        bytes += static_cast<char>(i * 7);
    from = there.write("big", bytes);
    EXPECT_EQ(fn_rename(from.c_str(), here.path("big").c_str()), 1);
    EXPECT_EQ(here.read("big"), bytes);
    EXPECT_EQ(there.read("big"), bytes);
}

// The name lies in the directory given, whatever the environment says, and
// starts with "NU" and the process id in three base-62 digits.
TEST(FileNamesTest, TemporaryNames) {
    setenv("TMPDIR", "/tmp", 1);
    SCRATCH_DIR scratch;
    static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    unsigned id = static_cast<unsigned>(getpid());
    std::string prefix = std::string("NU") + digits[id / 3844 % 62] + digits[id / 62 % 62] + digits[id % 62];

    char* made = fn_tmpnam(nullptr, "AR", scratch.dir().c_str());
    EXPECT_EQ(std::string(made).rfind(scratch.dir() + "/" + prefix, 0), 0u) << made;
    EXPECT_FALSE(fn_exists(made));
    free(made);
    char buffer[600];
    fn_tmpnam(buffer, "AR", "");   // no directory: the current one
    EXPECT_EQ(std::string(buffer).rfind("./" + prefix, 0), 0u) << buffer;
}

}  // namespace

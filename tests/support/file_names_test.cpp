#include "support/file_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "common/scratch_dir.h"

namespace {

std::string addext(const char* name, const char* ext, int replace) {
    char buffer[64];
    strcpy(buffer, name);
    return fn_addext(buffer, ext, replace);
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
        {addext("lib.a", ".lib", 0), "lib.a"},
        {addext("d.x/lib", ".lib", 0), "d.x/lib.lib"},
        {addext("lib.a", ".lib", 1), "lib.lib"},
        {addext("a.b.c", ".x", 1), "a.b.x"},
        {split("dir/sub/name.ext"), "dir/sub/|name|ext"},
        {split("d.x/lib"), "d.x/|lib|"},
        {split(d + "/" + b + "." + e), d499 + "|" + b499 + "|" + e499},
        {taken(fn_build("dir", "lib", "a")), "dir/lib.a"},
        {taken(fn_build(nullptr, "lib", nullptr)), "lib"},
        {yes(fn_matches_ext("d.x/lib.a", ".a")) + yes(fn_matches_ext("d.x/lib", "x")) + yes(fn_matches_ext("lib", "")) +
             yes(fn_matches_ext(nullptr, "a")),
         "yesnoyesno"},
        {yes(fn_hasdir("a/b")) + yes(fn_hasdir("ab")) + yes(fn_has_full_path("/a")) + yes(fn_has_full_path("a/b")),
         "yesnoyesno"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want) << &c - cases;
}

TEST(FileNamesTest, RenameMovesWithinADeviceAndCopiesAcross) {
    SCRATCH_DIR here;
    std::string from = here.write("from", "payload");
    EXPECT_EQ(fn_rename(from.c_str(), here.path("to").c_str()), 1);
    EXPECT_FALSE(fn_exists(from.c_str()));
    EXPECT_EQ(here.read("to"), "payload");
    EXPECT_EQ(fn_rename(from.c_str(), here.path("again").c_str()), 0);
    const std::string empty = here.write("empty", "");
    EXPECT_TRUE(fn_is_empty(empty.c_str()) && !fn_is_empty(here.path("to").c_str()));
    EXPECT_TRUE(fn_samefile(here.path("to").c_str(), (here.dir() + "/./to").c_str()));
    EXPECT_FALSE(fn_samefile(here.path("to").c_str(), empty.c_str()));
}

// The name lies in the directory given, whatever the environment says, and
// starts with "NU" and the process id in three base-62 digits; it names no
// file yet.
TEST(FileNamesTest, TemporaryNames) {
    setenv("TMPDIR", "/tmp", 1);
    SCRATCH_DIR scratch;
    static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    unsigned id = static_cast<unsigned>(getpid());
    std::string prefix = std::string("NU") + digits[id / 3844 % 62] + digits[id / 62 % 62] + digits[id % 62];

    const std::string made = taken(fn_tmpnam(nullptr, "AR", scratch.dir().c_str()));
    EXPECT_EQ(made.rfind(scratch.dir() + "/" + prefix, 0), 0u) << made;
    EXPECT_FALSE(fn_exists(made.c_str()));
    scratch.write(made.substr(scratch.dir().size() + 1), "");   // a name taken is passed over
    EXPECT_NE(taken(fn_tmpnam(nullptr, "AR", scratch.dir().c_str())), made);
}

}  // namespace

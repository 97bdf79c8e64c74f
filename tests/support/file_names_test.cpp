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
    EXPECT_EQ(fn_rename(from.c_str(), here.path("again").c_str()), 0);

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

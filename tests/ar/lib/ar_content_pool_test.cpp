// Member contents kept between the index pass and the copy: where they can
// be read back, in which order they are handed out, the bound, and that the
// pool's file never shows in the directory.

#include "ar/lib/ar_content_pool.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "ar/lib/ar_member.h"
#include "common/scratch_dir.h"
#include "support/fhm_file.h"
#include "support/file_handle_manager.h"

namespace {

const unsigned char* bytes_of(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string read_back(AR_CONTENT_POOL& pool, int64_t offset, size_t size)
{
    std::string bytes(size, '\0');
    EXPECT_EQ(pool.file()->read_at(&bytes[0], size, uint64_t(offset)), long(size));
    return bytes;
}

TEST(ContentPool, KeepsWithinTheBoundAndHandsOutInOrder)
{
    SCRATCH_DIR scratch;
    ASSERT_TRUE(scratch.ok());
    const std::string beside = scratch.write("lib.a", "");
    AR_MEMBER a{}, b{}, c{}, d{};
    AR_CONTENT_POOL pool(10);
    EXPECT_EQ(pool.file(), nullptr);   // made on first use
    EXPECT_TRUE(pool.keep(beside.c_str(), &a, bytes_of("first"), 5));
    EXPECT_FALSE(pool.keep(beside.c_str(), &b, bytes_of("too long"), 8));
    EXPECT_TRUE(pool.keep(beside.c_str(), &c, bytes_of("third"), 5));
    EXPECT_FALSE(pool.keep(beside.c_str(), &d, bytes_of("x"), 1));   // full
    EXPECT_EQ(scratch.names(), std::vector<std::string>{"lib.a"});

    EXPECT_EQ(pool.take(&c), -1);   // a comes first
    EXPECT_EQ(pool.take(&a), 0);
    EXPECT_EQ(pool.take(&a), -1);   // once only
    EXPECT_EQ(pool.take(&b), -1);   // never kept
    EXPECT_EQ(pool.take(&c), 5);
    EXPECT_EQ(read_back(pool, 0, 10), "firstthird");

    pool.clear();
    EXPECT_EQ(pool.file(), nullptr);
    EXPECT_EQ(pool.take(&a), -1);
    EXPECT_TRUE(pool.keep(beside.c_str(), &d, bytes_of("again"), 5));
    EXPECT_EQ(pool.take(&d), 0);
    EXPECT_EQ(read_back(pool, 0, 5), "again");
    EXPECT_EQ(scratch.names(), std::vector<std::string>{"lib.a"});
}

// The pool's file is made under the archive's name with the process id and
// ".pool" added, never over an existing file, and a file of that name made
// by someone else is never removed. The pool's stream goes with the pool.
TEST(ContentPool, NeverTouchesAFileOfAnotherAndClosesItsOwn)
{
    SCRATCH_DIR scratch;
    ASSERT_TRUE(scratch.ok());
    const std::string beside = scratch.write("lib.a", "");
    const std::string own = "lib.a." + std::to_string(getpid()) + ".pool";
    const int handles = FILE_HANDLE_MANAGER::instance()->handle_count();
    AR_MEMBER a{};
    {
        scratch.write(own, "someone else's");
        AR_CONTENT_POOL pool;
        EXPECT_FALSE(pool.keep(beside.c_str(), &a, bytes_of("x"), 1));
        EXPECT_EQ(scratch.read(own), "someone else's");
        std::remove(scratch.path(own).c_str());
    }
    {
        AR_CONTENT_POOL pool;
        ASSERT_TRUE(pool.keep(beside.c_str(), &a, bytes_of("x"), 1));
        EXPECT_EQ(FILE_HANDLE_MANAGER::instance()->handle_count(), handles + 1);
        scratch.write(own, "made later");
        pool.restore_files();
        EXPECT_EQ(scratch.read(own), "made later");
    }
    EXPECT_EQ(FILE_HANDLE_MANAGER::instance()->handle_count(), handles);
}

// When the pool's file cannot take what is kept, whether at once or when
// the stream's buffer is flushed at the end, nothing is handed out, not
// even members kept before: they are all copied from their own files. The
// file size limit makes the writes fail (in a child process).
int keep_beyond_the_size_limit(const std::string& beside, bool at_the_end)
{
    signal(SIGXFSZ, SIG_IGN);
    AR_MEMBER small{}, large{};
    AR_CONTENT_POOL pool;
    if (!pool.keep(beside.c_str(), &small, bytes_of("small"), 5))
        return 2;
    const rlimit limit{2, 2};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return 3;
    if (!at_the_end) {
        const std::string big(256 * 1024, 'b');
        if (pool.keep(beside.c_str(), &large, bytes_of(big), big.size()))
            return 4;
        if (pool.keep(beside.c_str(), &large, bytes_of("x"), 1))
            return 5;
    }
    if (pool.finish_keeping() || pool.take(&small) != -1)
        return 6;
    return 0;
}

TEST(ContentPool, AFileThatCannotBeWrittenHandsOutNothing)
{
    SCRATCH_DIR scratch;
    ASSERT_TRUE(scratch.ok());
    const std::string beside = scratch.write("lib.a", "");
    for (bool at_the_end : {false, true})
        EXPECT_EXIT(_exit(keep_beyond_the_size_limit(beside, at_the_end)), testing::ExitedWithCode(0),
                    "") << at_the_end;
}

// Without a directory to put its file in, the pool keeps nothing, for good.
TEST(ContentPool, KeepsNothingWhenItsFileCannotBeMade)
{
    AR_MEMBER a{};
    AR_CONTENT_POOL pool;
    EXPECT_FALSE(pool.keep("/proc/no-such-dir/lib.a", &a, bytes_of("x"), 1));
    EXPECT_FALSE(pool.keep("/proc/no-such-dir/lib.a", &a, bytes_of("x"), 1));
    EXPECT_EQ(pool.take(&a), -1);
}

}  // namespace

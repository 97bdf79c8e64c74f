// Member contents kept between the index pass and the copy: where they can
// be read back, in which order they are handed out, the bound, and that the
// pool's file never shows in the directory.

#include "ar/lib/ar_content_pool.h"

#include <gtest/gtest.h>

#include <string>

#include "ar/lib/ar_member.h"
#include "common/scratch_dir.h"
#include "support/fhm_file.h"

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

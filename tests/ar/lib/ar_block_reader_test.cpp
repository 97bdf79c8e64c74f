// Reading a file in blocks: what a fetch returns, which reads the block in
// memory answers (seen by changing the file behind the reader's back), and
// the view it lends to the file.

#include "ar/lib/ar_block_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "common/scratch_dir.h"
#include "support/fhm_file.h"

namespace {

const size_t BLOCK = AR_BLOCK_READER::BLOCK_SIZE;

// A block and a half of bytes that tell their position: byte i is i % 251.
std::string numbered(size_t n, int shift = 0)
{
    std::string bytes(n, '\0');
    for (size_t i = 0; i < n; ++i)
        bytes[i] = char((i + shift) % 251);
    return bytes;
}

class BlockReader : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(scratch.ok());
        name = scratch.write("f", numbered(BLOCK + BLOCK / 2));
        file = fhm_open(name.c_str(), "rb");
        ASSERT_NE(file, nullptr);
    }
    void TearDown() override
    {
        reader.attach(nullptr);
        fhm_close(file);
    }

    std::string fetched(int64_t offset, size_t size, long expected)
    {
        const unsigned char* bytes = nullptr;
        long n = reader.fetch(offset, size, &bytes);
        EXPECT_EQ(n, expected) << "at " << offset;
        return n > 0 ? std::string(reinterpret_cast<const char*>(bytes), size_t(n)) : "";
    }

    SCRATCH_DIR scratch;
    std::string name;
    FHM_FILE* file = nullptr;
    AR_BLOCK_READER reader;
};

TEST_F(BlockReader, FetchesFromTheBlockInMemoryUntilItIsLeft)
{
    const std::string original = numbered(BLOCK + BLOCK / 2);
    EXPECT_EQ(reader.fetch(0, 1, nullptr), -1);   // no file yet
    reader.attach(file);
    EXPECT_EQ(fetched(100, 50, 50), original.substr(100, 50));
    scratch.write("f", numbered(BLOCK + BLOCK / 2, 1));
    // Still inside the block read at 100: the old bytes, and the view too.
    EXPECT_EQ(fetched(100, 10, 10), original.substr(100, 10));
    EXPECT_EQ(fetched(BLOCK, 100, 100), original.substr(BLOCK, 100));
    char seen[3];
    ASSERT_EQ(file->read_at(seen, 3, 200), 3);
    EXPECT_EQ(std::string(seen, 3), original.substr(200, 3));
    // Beyond it a fresh block, cut at the end of the file; more than a
    // block is never given at once.
    const std::string changed = numbered(BLOCK + BLOCK / 2, 1);
    EXPECT_EQ(fetched(BLOCK + 100 - 1, 200, 200), changed.substr(BLOCK + 99, 200));
    EXPECT_EQ(fetched(BLOCK + BLOCK / 2 - 10, 100, 10), changed.substr(BLOCK + BLOCK / 2 - 10));
    EXPECT_EQ(fetched(BLOCK * 2, 10, 0), "");
    EXPECT_EQ(fetched(0, BLOCK * 2, long(BLOCK)), changed.substr(0, BLOCK));
}

// With an end, nothing beyond it is read; attaching another file takes the
// view back from the first.
TEST_F(BlockReader, ReadsNoFurtherThanTheEndAndHandsTheViewBack)
{
    reader.attach(file, 1000);
    EXPECT_EQ(fetched(990, 100, 10), numbered(1000).substr(990));
    EXPECT_EQ(fetched(400, 200, 200), numbered(600).substr(400));
    scratch.write("f", numbered(BLOCK + BLOCK / 2, 7));
    char seen[2];
    ASSERT_EQ(file->read_at(seen, 2, 500), 2);
    EXPECT_EQ(std::string(seen, 2), numbered(502).substr(500));
    FHM_FILE* other = fhm_open(name.c_str(), "rb");
    reader.attach(other);
    ASSERT_EQ(file->read_at(seen, 2, 500), 2);
    EXPECT_EQ(std::string(seen, 2), numbered(502, 7).substr(500));
    reader.attach(nullptr);
    fhm_close(other);
}

// Another file, or the reader's end, lets go of the block and of the view.
TEST_F(BlockReader, AnotherFileOrTheEndLetsGoOfTheBlock)
{
    const std::string other_name = scratch.write("g", numbered(100, 3));
    FHM_FILE* other = fhm_open(other_name.c_str(), "rb");
    reader.attach(file);
    EXPECT_EQ(fetched(0, 10, 10), numbered(10));
    {
        AR_BLOCK_READER second;
        second.attach(other);
        const unsigned char* bytes = nullptr;
        ASSERT_EQ(second.fetch(0, 10, &bytes), 10);
        scratch.write("g", numbered(100, 5));
    }
    char seen[2];
    ASSERT_EQ(other->read_at(seen, 2, 0), 2);
    EXPECT_EQ(std::string(seen, 2), numbered(2, 5));
    reader.attach(other);
    EXPECT_EQ(fetched(0, 10, 10), numbered(10, 5));
    reader.attach(nullptr);
    fhm_close(other);
}

}  // namespace

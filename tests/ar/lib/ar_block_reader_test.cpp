// Reading a file in blocks: what a fetch returns, which reads the block in
// memory answers (seen by changing the file behind the reader's back), and
// the view it lends to the file while it holds the block.

#include "ar/lib/ar_block_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "common/scratch_dir.h"
#include "support/fhm_file.h"

namespace {

const size_t BLOCK = 512 * 1024;   // the reader's block

// n bytes that tell their position: byte i is (i + shift) % 251.
std::string numbered(size_t n, int shift = 0) {
    std::string bytes(n, '\0');
    for (size_t i = 0; i < n; ++i)
        bytes[i] = char((i + shift) % 251);
    return bytes;
}

std::string fetched(AR_BLOCK_READER& reader, int64_t offset, size_t size) {
    const unsigned char* bytes = nullptr;
    long n = reader.fetch(offset, size, &bytes);
    return n >= 0 ? std::string(reinterpret_cast<const char*>(bytes), size_t(n)) : "failed";
}

std::string read_at(FHM_FILE* file, uint64_t position, size_t n) {
    std::string bytes(n, '\0');
    long got = file->read_at(&bytes[0], n, position);
    return got >= 0 ? bytes.substr(0, size_t(got)) : "failed";
}

TEST(BlockReader, FetchesFromTheBlockInMemoryUntilItIsLeft) {
    SCRATCH_DIR scratch;
    const std::string before = numbered(BLOCK + BLOCK / 2), after = numbered(BLOCK + BLOCK / 2, 1);
    FHM_FILE* file = fhm_open(scratch.write("f", before).c_str(), "rb");
    FHM_FILE* other = fhm_open(scratch.write("g", numbered(2000, 3)).c_str(), "rb");
    AR_BLOCK_READER reader;
    EXPECT_EQ(fetched(reader, 0, 1), "failed");   // no file yet
    reader.attach(file);
    EXPECT_EQ(fetched(reader, 100, 50), before.substr(100, 50));
    scratch.write("f", after);
    // Still inside the block read at 100: the old bytes, and the view too.
    EXPECT_EQ(fetched(reader, 100, 10), before.substr(100, 10));
    EXPECT_EQ(fetched(reader, BLOCK, 100), before.substr(BLOCK, 100));
    EXPECT_EQ(read_at(file, 200, 3), before.substr(200, 3));
    // Beyond it a fresh block, cut at the end of the file; never more than
    // a block at once.
    EXPECT_EQ(fetched(reader, BLOCK + 99, 200), after.substr(BLOCK + 99, 200));
    EXPECT_EQ(fetched(reader, BLOCK + BLOCK / 2 - 10, 100), after.substr(BLOCK + BLOCK / 2 - 10));
    EXPECT_EQ(fetched(reader, BLOCK * 2, 10), "");
    EXPECT_EQ(fetched(reader, -1, 10), "failed");
    EXPECT_EQ(fetched(reader, 0, BLOCK * 2), after.substr(0, BLOCK));
    // With an end, nothing beyond it is read; detaching takes the block and
    // the view away, and so does the reader's end.
    {
        AR_BLOCK_READER second;
        second.attach(other, 1000);
        EXPECT_EQ(fetched(second, 990, 100), numbered(1000, 3).substr(990));
        reader.attach(nullptr);
        scratch.write("f", before);
        EXPECT_EQ(read_at(file, 500, 2), before.substr(500, 2));
        scratch.write("g", numbered(2000, 5));
        EXPECT_EQ(read_at(other, 995, 2), numbered(997, 3).substr(995));   // still the block
    }
    EXPECT_EQ(read_at(other, 995, 2), numbered(997, 5).substr(995));
    fhm_close(file);
    fhm_close(other);
}

}  // namespace

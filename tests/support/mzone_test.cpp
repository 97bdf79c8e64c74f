#include "support/mzone.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>

namespace {

// A request is rounded up to a multiple of 8, and one that already is a
// multiple of 8 takes 8 bytes more; a block left with at most 7 bytes is used up.
TEST(MzoneTest, AllocRoundingFromFreshZone) {
    const struct { size_t size; unsigned avail_after; } cases[] = {
        {0, 1016}, {7, 1016}, {8, 1008}, {15, 1008}, {16, 1000}, {1008, 8}, {1015, 8}, {1016, 0}
    };
    for (const auto& c : cases) {
        MZONE zone(1024);
        zone.alloc(c.size);
        EXPECT_EQ(zone.avail(), c.avail_after) << "size " << c.size;
    }
    MZONE zone(1024);
    char* a = static_cast<char*>(zone.alloc(8));
    EXPECT_EQ(zone.avail(), 1008u);
    char* b = static_cast<char*>(zone.alloc(5));
    EXPECT_EQ(zone.avail(), 1000u);
    EXPECT_EQ(b - a, 16);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 8, 0u);
}

TEST(MzoneTest, BlocksAreMaxOfRequestAndMinimum) {
    MZONE zone(1024);
    zone.alloc(1000);                       // leaves 16
    unsigned char* big = static_cast<unsigned char*>(zone.alloc(5000));
    EXPECT_EQ(zone.avail(), 0u);            // a block of exactly 5000 bytes
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(big[i], 0) << i;
    zone.alloc(100);                        // a fresh 1024 block
    EXPECT_EQ(zone.avail(), 1024u - 104u);
}

TEST(MzoneTest, ResetKeepsAndZeroesNewestBlock) {
    MZONE zone(1024);
    zone.alloc(8);
    char* first = static_cast<char*>(zone.alloc(2000));
    memset(first, 0x5a, 2000);
    zone.reset();
    EXPECT_EQ(zone.avail(), 2000u);
    EXPECT_EQ(zone.peak(), 2008u);
    char* again = static_cast<char*>(zone.alloc(2000));
    EXPECT_EQ(again, first);
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(again[i], 0) << i;
}

TEST(MzoneDeathTest, ImpossibleBlockEndsProcess) {
    MZONE zone(1024);
    EXPECT_EXIT(zone.alloc(UINT_MAX), testing::ExitedWithCode(1), "^OUT OF MEMORY - APPLICATION ABORTED\n$");
}

}  // namespace

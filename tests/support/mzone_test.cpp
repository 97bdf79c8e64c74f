#include "support/mzone.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

// A request is rounded up to a multiple of 8; one that already is a multiple
// of 8 consumes 8 bytes more; a request that leaves at most 7 bytes uses the
// block up.
TEST(MzoneTest, AllocRoundingFromFreshZone) {
    struct CASE {
        size_t size;
        unsigned avail_after;
    } const cases[] = {
        {0, 1016},   {1, 1016},   {5, 1016},    {7, 1016},    {8, 1008}, {9, 1008},
        {15, 1008},  {16, 1000},  {1000, 16},   {1008, 8},    {1015, 8}, {1016, 0},
        {1017, 0},   {1024, 0},
    };
    for (const CASE& c : cases) {
        MZONE zone(1024, "rounding");
        zone.alloc(c.size);
        EXPECT_EQ(zone.avail(), c.avail_after) << "size " << c.size;
    }
}

TEST(MzoneTest, SuccessiveAllocationsAreAlignedAndContiguous) {
    MZONE zone(1024);
    char* a = static_cast<char*>(zone.alloc(8));
    EXPECT_EQ(zone.avail(), 1008u);
    char* b = static_cast<char*>(zone.alloc(5));
    EXPECT_EQ(zone.avail(), 1000u);
    char* c = static_cast<char*>(zone.alloc(3));
    EXPECT_EQ(b - a, 16);
    EXPECT_EQ(c - b, 8);
    for (char* p : {a, b, c})
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
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
    zone.alloc(24);                         // fits in the current block
    EXPECT_EQ(zone.avail(), 1024u - 104u - 32u);
    EXPECT_EQ(zone.requested(), 1000u + 5000u + 100u + 24u);
    EXPECT_EQ(zone.peak(), zone.requested());

    zone.set_min_alloc(64);
    zone.alloc(900);                        // 888 left, too few: a block of 900
    EXPECT_EQ(zone.avail(), 0u);
}

TEST(MzoneTest, ResetKeepsAndZeroesNewestBlock) {
    MZONE zone(1024);
    zone.alloc(8);
    char* first = static_cast<char*>(zone.alloc(2000));
    memset(first, 0x5a, 2000);
    zone.reset();
    EXPECT_EQ(zone.avail(), 2000u);
    EXPECT_EQ(zone.requested(), 0u);
    EXPECT_EQ(zone.peak(), 2008u);
    char* again = static_cast<char*>(zone.alloc(2000));
    EXPECT_EQ(again, first);
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(again[i], 0) << i;
}

class LOGGED : public MZONE_OBJECT {
public:
    LOGGED(std::vector<int>* log, int tag) : log_(log), tag_(tag) {}
    ~LOGGED() override { log_->push_back(tag_); }

private:
    std::vector<int>* log_;
    int tag_;
};

TEST(MzoneTest, RegisteredObjectsDestroyedInListOrder) {
    std::vector<int> log;
    {
        MZONE zone(256);
        zone.make<LOGGED>(&log, 1);
        zone.make<LOGGED>(&log, 2);
        zone.make<LOGGED>(&log, 3);
        zone.reset();
        EXPECT_EQ(log, (std::vector<int>{1, 2, 3}));
        zone.reset();                       // the list was forgotten
        EXPECT_EQ(log.size(), 3u);
        zone.make<LOGGED>(&log, 4);
        zone.make<LOGGED>(&log, 5);
    }
    EXPECT_EQ(log, (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(MzoneTest, ReportShowsLargeCountsInMillions) {
    MZONE zone(1024, "report");
    zone.alloc(3000000);
    char* text = nullptr;
    size_t size = 0;
    FILE* out = open_memstream(&text, &size);
    zreport(out);
    fclose(out);
    std::string report(text, size);
    free(text);
    EXPECT_EQ(report.rfind("\nMemory zone usage\n-----------------\nMaximum allocated  :  ", 0), 0u) << report;
    EXPECT_NE(report.find("M bytes\nCurrently allocated:  "), std::string::npos) << report;
    EXPECT_NE(report.find("M bytes\n\n"), std::string::npos) << report;
    EXPECT_NE(report.find("'report'"), std::string::npos) << report;
}

TEST(MzoneDeathTest, ImpossibleBlockEndsProcess) {
    MZONE zone(1024);
    EXPECT_EXIT(zone.alloc(UINT_MAX), testing::ExitedWithCode(1),
                "^OUT OF MEMORY - APPLICATION ABORTED\n$");
}

}  // namespace

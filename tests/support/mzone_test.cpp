#include "support/mzone.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/text_capture.h"

namespace {

// A request is rounded up to a multiple of 8, and one that already is a
// multiple of 8 takes 8 bytes more; a block left with at most 7 bytes is
// used up, and a request larger than the minimum gets a block of its size.
TEST(MzoneTest, AllocRoundingAndBlockSizes) {
    const struct { std::vector<size_t> sizes; unsigned avail_after; } cases[] = {
        {{0}, 1016}, {{7}, 1016}, {{8}, 1008}, {{15}, 1008}, {{16}, 1000}, {{1008}, 8}, {{1015}, 8},
        {{1016}, 0}, {{8, 5}, 1000}, {{1000, 5000}, 0}, {{1000, 5000, 100}, 1024 - 104},
    };
    for (const auto& c : cases) {
        MZONE zone(1024);
        for (size_t size : c.sizes) {
            char* got = static_cast<char*>(zone.alloc(size));
            EXPECT_EQ(reinterpret_cast<uintptr_t>(got) % 8, 0u);
            EXPECT_EQ(std::string(got, size), std::string(size, '\0'));
        }
        EXPECT_EQ(zone.avail(), c.avail_after) << c.sizes.back();
    }
}

struct COUNTED : MZONE_OBJECT {
    explicit COUNTED(std::vector<int>* log, int id) : log(log), id(id) {}
    ~COUNTED() override { log->push_back(id); }
    std::vector<int>* log;
    int id;
};

// Reset destroys the registered objects in order, keeps the newest block
// and zeroes what was used of it.
TEST(MzoneTest, ResetKeepsAndZeroesNewestBlock) {
    std::vector<int> destroyed;
    MZONE zone(1024);
    zone.make<COUNTED>(&destroyed, 1);
    zone.make<COUNTED>(&destroyed, 2);
    char* first = static_cast<char*>(zone.alloc(2000));
    memset(first, 0x5a, 2000);
    zone.reset();
    EXPECT_EQ(destroyed, (std::vector<int>{1, 2}));
    EXPECT_EQ(zone.avail(), 2000u);
    EXPECT_EQ(zone.requested(), 0u);
    EXPECT_EQ(zone.peak(), 2000u + 2 * sizeof(COUNTED));
    char* again = static_cast<char*>(zone.alloc(2000));
    EXPECT_EQ(again, first);
    EXPECT_EQ(std::string(again, 2000), std::string(2000, '\0'));
    EXPECT_STREQ(zone.strdup("text"), "text");
}

// Counts up to 999 are plain, then thousands up to 999999, then millions;
// the first 20 live zones are listed.
TEST(MzoneTest, UsageReportListsLiveZones) {
    auto report = [] { return written_by([](FILE* f) { zreport(f); }); };
    MZONE kept(999, "kept", 7);
    kept.alloc(1);
    {
        MZONE gone(1, "gone", 0);
        gone.alloc(1);
        EXPECT_NE(report().find("Currently allocated:  1K bytes\n\n"), std::string::npos);
    }
    EXPECT_NE(report().find("Maximum allocated  :  1K bytes\nCurrently allocated:  999 bytes\n\nZone "),
              std::string::npos);
    MZONE big(999001, "big", 0);
    big.alloc(1);
    std::vector<std::unique_ptr<MZONE>> more;
    for (int i = 0; i < 20; ++i)
        more.emplace_back(new MZONE(1));
    const std::string text = report();
    EXPECT_NE(text.find("Currently allocated:  1M bytes\n\nZone "), std::string::npos) << text;
    EXPECT_NE(text.find("'kept' (flag 7): 1 blocks, 999 bytes, 991 available\n  requested 1, peak 1\n"),
              std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), 'Z'), 20);
}

TEST(MzoneDeathTest, ImpossibleBlockEndsProcess) {
    MZONE zone(1024);
    EXPECT_EXIT(zone.alloc(UINT_MAX), testing::ExitedWithCode(1), "^OUT OF MEMORY - APPLICATION ABORTED\n$");
}

}  // namespace

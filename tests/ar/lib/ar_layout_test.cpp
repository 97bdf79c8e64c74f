// The layout of a new archive, computed from member and index records alone:
// no file is read or written.

#include "ar/lib/ar_layout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Names of 3, 19, 15 and 16 characters (the last two straddle the long-name
// boundary), sizes odd, even, empty and odd, and three index entries.
struct RECORDS {
    std::vector<std::string> names = {"a.o", "long_name_number1.o", "fifteen_chars_x",
                                      "sixteen_chars_xy"};
    std::vector<AR_MEMBER> members = std::vector<AR_MEMBER>(4);
    std::string symbol_names[3] = {"f", "gg", "hhh"};
    AR_SYMBOL symbols[3];

    explicit RECORDS(size_t count)
    {
        const int32_t sizes[] = {3, 4, 0, 1};
        for (size_t i = 0; i < count; ++i)
            // The offsets left over from an earlier layout must not count.
            members[i] = AR_MEMBER{&names[i][0], 777, 0, sizes[i], 0,
                                   i + 1 < count ? &members[i + 1] : nullptr, nullptr, nullptr, 888};
        const size_t defined_in[] = {0, 1, 3};
        for (size_t i = 0; i < 3; ++i)
            symbols[i] = AR_SYMBOL{&symbol_names[i][0], &members[defined_in[i]], -1,
                                   i < 2 ? &symbols[i + 1] : nullptr};
    }
};

TEST(ArchiveLayout, PlacesIndexNameTableAndMembersInEveryFormat)
{
    const struct {
        AR_ABI format;
        bool with_index;
        int64_t index_size;
        int64_t long_name_size;
        std::vector<int64_t> long_name_offsets;
        std::vector<int64_t> header_offsets;
    } cases[] = {
        // Index 4 + (1+5) + (2+5) + (3+5) = 25, padded to 26; POSIX names
        // from 0: 19 + 2 = 21, then 16 + 2, 39 in all, padded to 40.
        {AR_ABI_POSIX, true, 25, 39, {0, 0, 0, 21}, {194, 258, 322, 382}},
        // The NU table starts with "\n", so its first name is at 1.
        {AR_ABI_NU_LONG_NAME, true, 25, 40, {0, 1, 0, 22}, {194, 258, 322, 382}},
        {AR_ABI_ORIGINAL, true, 25, 0, {0, 0, 0, 0}, {94, 158, 222, 282}},
        {AR_ABI_POSIX, false, 0, 39, {0, 0, 0, 21}, {108, 172, 236, 296}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "format " << c.format << " index " << c.with_index);
        RECORDS r(4);
        AR_LAYOUT layout = ar_layout(&r.members[0], c.with_index ? r.symbols : nullptr, c.format);
        EXPECT_EQ(layout.index_size, c.index_size);
        EXPECT_EQ(layout.long_name_size, c.long_name_size);
        EXPECT_EQ(layout.long_name_offsets, c.long_name_offsets);
        EXPECT_EQ(layout.header_offsets, c.header_offsets);
        // Nothing is written back into the records.
        EXPECT_EQ(r.members[3].long_name_offset, 777);
        EXPECT_EQ(r.members[3].header_offset, 888);
        EXPECT_EQ(r.symbols[0].offset, -1);
    }
}

}  // namespace

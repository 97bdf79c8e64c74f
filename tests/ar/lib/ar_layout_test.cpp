// The layout of a new archive, computed from member and index records alone:
// no file is read or written.

#include "ar/lib/ar_layout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Names of 3, 19, 15 and 16 characters: the last two straddle the long-name
// boundary. Sizes odd, even, empty and odd.
struct RECORDS {
    std::vector<std::string> names = {"a.o", "long_name_number1.o", "fifteen_chars_x",
                                      "sixteen_chars_xy"};
    std::vector<int32_t> sizes = {3, 4, 0, 1};
    std::vector<AR_MEMBER> members;
    std::vector<std::string> symbol_names = {"f", "gg", "hhh"};
    std::vector<AR_SYMBOL> symbols;

    RECORDS()
    {
        members.resize(names.size());
        for (size_t i = 0; i < members.size(); ++i) {
            members[i] = AR_MEMBER{};
            members[i].name = &names[i][0];
            members[i].size = sizes[i];
            // Left over from an earlier layout: must not count.
            members[i].long_name_offset = 777;
            members[i].header_offset = 888;
            members[i].next = i + 1 < members.size() ? &members[i + 1] : nullptr;
        }
        const size_t defined_in[] = {0, 1, 3};
        symbols.resize(symbol_names.size());
        for (size_t i = 0; i < symbols.size(); ++i)
            symbols[i] = AR_SYMBOL{&symbol_names[i][0], &members[defined_in[i]], -1,
                                   i + 1 < symbols.size() ? &symbols[i + 1] : nullptr};
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
        SCOPED_TRACE(testing::Message() << "format " << c.format << (c.with_index ? " with" : " without")
                                        << " index");
        RECORDS r;
        AR_LAYOUT layout = ar_layout(&r.members[0], c.with_index ? &r.symbols[0] : nullptr, c.format);
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

// Without long names there is no table in any format, although the NU
// numbering starts at 1; without members there is nothing at all.
TEST(ArchiveLayout, ShortNamesNeedNoTable)
{
    RECORDS r;
    r.members.resize(1);
    r.members[0].next = nullptr;
    for (AR_ABI format : {AR_ABI_ORIGINAL, AR_ABI_NU_LONG_NAME, AR_ABI_POSIX}) {
        AR_LAYOUT layout = ar_layout(&r.members[0], nullptr, format);
        EXPECT_EQ(layout.long_name_size, 0) << format;
        EXPECT_EQ(layout.header_offsets, std::vector<int64_t>{8}) << format;
    }
    AR_LAYOUT empty = ar_layout(nullptr, nullptr, AR_ABI_POSIX);
    EXPECT_EQ(empty.index_size, 0);
    EXPECT_TRUE(empty.header_offsets.empty());
}

}  // namespace

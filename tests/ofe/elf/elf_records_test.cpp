#include "ofe/elf/elf_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "support/data_map.h"

using namespace OFE;

namespace {

typedef std::vector<std::pair<unsigned, unsigned>> FIELDS;   // offset, width

// The bytes 1, 2, 3, ... of a record with exactly the listed fields reversed.
std::vector<unsigned char> pattern(size_t size, const FIELDS& swapped) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i + 1);
    for (const auto& field : swapped)
        std::reverse(bytes.begin() + field.first, bytes.begin() + field.first + field.second);
    return bytes;
}

// Reads a patterned record with and without swap, then writes the swapped
// one back and expects the original bytes, the caller's record untouched.
template <typename Record>
void check_swap(int (*reader)(const DATA_MAP&, Record&, bool), int (*writer)(DATA_MAP&, const Record&, bool),
                const FIELDS& fields) {
    const std::vector<unsigned char> raw = pattern(sizeof(Record), FIELDS());
    DATA_MAP in;
    in.set_data(raw.data(), raw.size());
    Record rec;
    EXPECT_EQ(reader(in, rec, false), 0);
    EXPECT_EQ(memcmp(&rec, raw.data(), sizeof rec), 0);
    in.set_cursor(0);
    EXPECT_EQ(reader(in, rec, true), 0);
    EXPECT_EQ(in.cursor(), sizeof(Record));
    EXPECT_EQ(memcmp(&rec, pattern(sizeof(Record), fields).data(), sizeof rec), 0);

    const Record before = rec;
    DATA_MAP out;
    EXPECT_EQ(writer(out, rec, true), 0);
    EXPECT_EQ(memcmp(&rec, &before, sizeof rec), 0);
    ASSERT_EQ(out.size(), sizeof(Record));
    EXPECT_EQ(memcmp(out.data(), raw.data(), raw.size()), 0);
}

TEST(ElfRecordsTest, SwapSkipsSingleBytes) {
    {
        SCOPED_TRACE("Ehdr: identification never swapped");
        check_swap<Elf32_Ehdr>(read_Elf_Ehdr, write_Elf_Ehdr,
                               {{16, 2}, {18, 2}, {20, 4}, {24, 4}, {28, 4}, {32, 4}, {36, 4},
                                {40, 2}, {42, 2}, {44, 2}, {46, 2}, {48, 2}, {50, 2}});
    }
    {
        SCOPED_TRACE("Sym: info and other never swapped");
        check_swap<Elf32_Sym>(read_Elf_Sym, write_Elf_Sym, {{0, 4}, {4, 4}, {8, 4}, {14, 2}});
    }
}

// A record that runs past the map's end reads as zeros, and the cursor still
// moves by the whole record so that following reads stay in step.
TEST(ElfRecordsTest, ShortMapReadsZeroRecord) {
    std::vector<unsigned char> raw(30, 0xAB);
    DATA_MAP in;
    in.set_data(raw.data(), raw.size());
    in.set_cursor(10);
    Elf32_Shdr shdr;
    memset(&shdr, 0x55, sizeof shdr);
    read_Elf_Shdr(in, shdr, true);
    EXPECT_EQ(in.cursor(), 50u);
    const Elf32_Shdr zero = {};
    EXPECT_EQ(memcmp(&shdr, &zero, sizeof shdr), 0);
}

}  // namespace

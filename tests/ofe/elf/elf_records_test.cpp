#include "ofe/elf/elf_records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ofe/test_object_file.h"
#include "support/data_map.h"

using namespace OFE;

namespace {

// Reads a patterned record with and without swap, then writes the swapped
// one back and expects the original bytes, the caller's record untouched.
template <typename Record>
void check_swap(int (*reader)(const DATA_MAP&, Record&, bool), int (*writer)(DATA_MAP&, const Record&, bool),
                const char* widths) {
    SCOPED_TRACE(widths);
    const std::vector<unsigned char> raw = swap_pattern(widths, false);
    ASSERT_EQ(raw.size(), sizeof(Record));
    DATA_MAP in, out;
    in.set_data(raw.data(), raw.size());
    Record rec;
    reader(in, rec, false);
    EXPECT_EQ(memcmp(&rec, raw.data(), sizeof rec), 0);
    in.set_cursor(0);
    reader(in, rec, true);
    EXPECT_EQ(memcmp(&rec, swap_pattern(widths, true).data(), sizeof rec), 0);
    const Record before = rec;
    writer(out, rec, true);
    EXPECT_EQ(memcmp(&rec, &before, sizeof rec), 0);
    ASSERT_EQ(out.size(), sizeof(Record));
    EXPECT_EQ(memcmp(out.data(), raw.data(), raw.size()), 0);
}

// The records an archive's index reads: the identification bytes of the
// file header and a symbol's info and other bytes are never swapped.
TEST(ElfRecordsTest, SwapReversesEachMultiByteField) {
    check_swap<Elf32_Ehdr>(read_Elf_Ehdr, write_Elf_Ehdr, "1111111111111111" "2244444222222");
    check_swap<Elf32_Shdr>(read_Elf_Shdr, write_Elf_Shdr, "4444444444");
    check_swap<Elf32_Sym>(read_Elf_Sym, write_Elf_Sym, "444112");

}

}  // namespace

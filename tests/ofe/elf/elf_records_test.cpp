#include "ofe/elf/elf_records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ofe/swap_pattern.h"
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

// The identification bytes of the file header and a symbol's info and other
// bytes are never swapped. Section attributes are raw bytes or integers in
// the map's own byte order.
TEST(ElfRecordsTest, SwapReversesEachMultiByteField) {
    check_swap<Elf32_Ehdr>(read_Elf_Ehdr, write_Elf_Ehdr, "1111111111111111" "2244444222222");
    check_swap<Elf32_Shdr>(read_Elf_Shdr, write_Elf_Shdr, "4444444444");
    check_swap<Elf32_Sym>(read_Elf_Sym, write_Elf_Sym, "444112");
    check_swap<Elf32_Rel>(read_Elf_Rel, write_Elf_Rel, "44");
    check_swap<Elf32_Rela>(read_Elf_Rela, write_Elf_Rela, "444");
    check_swap<Elf32_Phdr>(read_Elf_Phdr, write_Elf_Phdr, "44444444");
    check_swap<Elf32_Dyn>(read_Elf_Dyn, write_Elf_Dyn, "44");
    check_swap<Elf32_Verdef>(read_Elf_Verdef, write_Elf_Verdef, "2222444");
    check_swap<Elf32_Verdaux>(read_Elf_Verdaux, write_Elf_Verdaux, "44");
    check_swap<Elf32_Verneed>(read_Elf_Verneed, write_Elf_Verneed, "22444");
    check_swap<Elf32_Vernaux>(read_Elf_Vernaux, write_Elf_Vernaux, "42244");
    check_swap<Elf32_PHattr>(read_Elf_PHattr, write_Elf_PHattr, "224");

    DATA_MAP attributes;
    attributes.set_endian(DATA_MAP::BIG);
    const NUElf_SHattrver version = {{1, 2, 3, 4}};
    NUElf_SHattrver read_back = {};
    unsigned long value = 0;
    write_NUElf_SHattrver(attributes, version);
    write_NUElf_SHattr(attributes, 0x123456, 3);
    attributes.set_cursor(0);
    read_NUElf_SHattrver(attributes, read_back);
    read_NUElf_SHattr(attributes, value, 3);
    EXPECT_EQ(memcmp(&read_back, &version, 4), 0);
    EXPECT_EQ(value, 0x123456u);
    EXPECT_EQ(attributes[4], 0x12);
}

}  // namespace

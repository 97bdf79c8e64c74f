#include "ofe/elf/elf_records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "support/data_map.h"

using namespace OFE;

namespace {

typedef std::vector<std::pair<unsigned, unsigned>> FIELDS;   // offset, width

// The bytes a record of size bytes 0, 1, 2, ... must have after swapping
// exactly the listed fields.
std::vector<unsigned char> swapped_pattern(size_t size, const FIELDS& fields) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i + 1);
    for (const auto& field : fields)
        for (unsigned i = 0; i < field.second / 2; ++i)
            std::swap(bytes[field.first + i], bytes[field.first + field.second - 1 - i]);
    return bytes;
}

// Reads a patterned record with swap, compares it with the expected layout,
// then writes it back with swap and expects the original pattern, leaving the
// caller's record untouched.
template <typename Record>
void check_codec(int (*reader)(const DATA_MAP&, Record&, bool),
                 int (*writer)(DATA_MAP&, const Record&, bool), const FIELDS& fields) {
    std::vector<unsigned char> raw = swapped_pattern(sizeof(Record), FIELDS());
    DATA_MAP in;
    in.set_data(raw.data(), raw.size());
    Record rec;
    EXPECT_EQ(reader(in, rec, true), 0);
    EXPECT_EQ(in.cursor(), sizeof(Record));
    std::vector<unsigned char> expected = swapped_pattern(sizeof(Record), fields);
    EXPECT_EQ(memcmp(&rec, expected.data(), sizeof rec), 0);

    Record before = rec;
    DATA_MAP out;
    EXPECT_EQ(writer(out, rec, true), 0);
    EXPECT_EQ(memcmp(&rec, &before, sizeof rec), 0);
    ASSERT_EQ(out.size(), sizeof(Record));
    EXPECT_EQ(memcmp(out.data(), raw.data(), raw.size()), 0);
}

TEST(ElfRecordsTest, EachRecordSwapsExactlyItsMultiByteFields) {
    {
        SCOPED_TRACE("Ehdr: identification never swapped");
        check_codec<Elf32_Ehdr>(read_Elf_Ehdr, write_Elf_Ehdr,
                                {{16, 2}, {18, 2}, {20, 4}, {24, 4}, {28, 4}, {32, 4}, {36, 4},
                                 {40, 2}, {42, 2}, {44, 2}, {46, 2}, {48, 2}, {50, 2}});
    }
    {
        SCOPED_TRACE("Shdr");
        FIELDS all;
        for (unsigned at = 0; at < 40; at += 4) all.push_back({at, 4});
        check_codec<Elf32_Shdr>(read_Elf_Shdr, write_Elf_Shdr, all);
    }
    {
        SCOPED_TRACE("Sym: info and other never swapped");
        check_codec<Elf32_Sym>(read_Elf_Sym, write_Elf_Sym, {{0, 4}, {4, 4}, {8, 4}, {14, 2}});
    }
    {
        SCOPED_TRACE("Rel, Rela, Dyn");
        check_codec<Elf32_Rel>(read_Elf_Rel, write_Elf_Rel, {{0, 4}, {4, 4}});
        check_codec<Elf32_Rela>(read_Elf_Rela, write_Elf_Rela, {{0, 4}, {4, 4}, {8, 4}});
        check_codec<Elf32_Dyn>(read_Elf_Dyn, write_Elf_Dyn, {{0, 4}, {4, 4}});
    }
    {
        SCOPED_TRACE("Phdr");
        FIELDS all;
        for (unsigned at = 0; at < 32; at += 4) all.push_back({at, 4});
        check_codec<Elf32_Phdr>(read_Elf_Phdr, write_Elf_Phdr, all);
    }
    {
        SCOPED_TRACE("version records and segment attributes");
        check_codec<Elf32_Verdef>(read_Elf_Verdef, write_Elf_Verdef,
                                  {{0, 2}, {2, 2}, {4, 2}, {6, 2}, {8, 4}, {12, 4}, {16, 4}});
        check_codec<Elf32_Verdaux>(read_Elf_Verdaux, write_Elf_Verdaux, {{0, 4}, {4, 4}});
        check_codec<Elf32_Verneed>(read_Elf_Verneed, write_Elf_Verneed,
                                   {{0, 2}, {2, 2}, {4, 4}, {8, 4}, {12, 4}});
        check_codec<Elf32_Vernaux>(read_Elf_Vernaux, write_Elf_Vernaux,
                                   {{0, 4}, {4, 2}, {6, 2}, {8, 4}, {12, 4}});
        check_codec<Elf32_PHattr>(read_Elf_PHattr, write_Elf_PHattr, {{0, 2}, {2, 2}, {4, 4}});
    }
}

TEST(ElfRecordsTest, WithoutSwapBytesMoveUnchanged) {
    std::vector<unsigned char> raw = swapped_pattern(sizeof(Elf32_Sym), FIELDS());
    DATA_MAP in;
    in.set_data(raw.data(), raw.size());
    Elf32_Sym sym;
    read_Elf_Sym(in, sym, false);
    EXPECT_EQ(memcmp(&sym, raw.data(), sizeof sym), 0);
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
    Elf32_Shdr zero = {};
    EXPECT_EQ(memcmp(&shdr, &zero, sizeof shdr), 0);
}

TEST(ElfRecordsTest, AttributeRecordsMoveRaw) {
    const unsigned char bytes[] = {1, 2, 3, 4, 0x12, 0x34, 0x56};
    DATA_MAP in;
    in.set_data(bytes, sizeof bytes);
    in.set_endian(DATA_MAP::BIG);
    NUElf_SHattrver version;
    read_NUElf_SHattrver(in, version);
    EXPECT_EQ(memcmp(version.version, bytes, 4), 0);
    unsigned long value = 0;
    read_NUElf_SHattr(in, value, 3);
    EXPECT_EQ(value, 0x123456UL);
}

}  // namespace

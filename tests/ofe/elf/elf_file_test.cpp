#include "ofe/elf/elf_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ofe/elf/elf_records.h"
#include "ofe/elf/elf_section_table.h"
#include "ofe/of_symbol_table.h"
#include "ofe/test_object_file.h"
#include "support/data_map.h"

using namespace OFE;

namespace {

class ElfFileTest : public ElfTestEnv {};

ELF_BOTH_ORDERS(ElfFileTest);

// After loading, the header is in host order whatever the file's order, and
// sections of a 16-bit-word family count their units in two bytes. A table
// loaded again starts afresh: here one header further on.
TEST_P(ElfFileTest, HeaderInHostOrder) {
    ELF_BUILDER b = builder(0xA1B1);   // WREN
    b.section(".text", 1, "code");
    auto file = open(b.bytes());
    ASSERT_TRUE(file);
    EXPECT_EQ(file->machine_endian(), GetParam() == ELF_BUILDER::BIG ? OF_ENDIAN_BIG : OF_ENDIAN_LITTLE);
    EXPECT_EQ(file->header().e_shnum, 5);   // null, .text, .symtab, .strtab, .shstrtab
    EXPECT_EQ(file->machine(), OF_MACHINE_WREN);
    OF_SECTION_TABLE* sections = file->section_table();
    ASSERT_EQ(sections->scnnum(), 5u);
    EXPECT_STREQ(sections->section(1)->name(), ".text");
    EXPECT_EQ(sections->section(1)->unit_size(), 2u);
    EXPECT_STREQ(sections->section(4)->name(), ".shstrtab");
    EXPECT_EQ(sections->section(5), nullptr);
    EXPECT_EQ(file->symbol_table()->symnum(), 1u);
    EXPECT_EQ(sections->load(file->header().e_shoff + 40, 40, 2), 0);
    EXPECT_EQ(sections->scnnum(), 2u);
    EXPECT_EQ(sections->section(1)->size(), 16u);   // the symbol table's
    EXPECT_TRUE(ERROR_LOG::calls().empty());
}

// Extended numbering: e_shnum 0 with the count in section 0's sh_size and
// e_shstrndx SHN_XINDEX naming the string table through its sh_link. Broken
// headers never read outside the object nor size tables by untrusted counts.
// The symbol table is the section named ".symtab"; its string table is the
// one it links to, else the one named ".strtab".
TEST_P(ElfFileTest, LoadingCorners) {
    ELF_BUILDER b = builder();
    b.section(".text", 1, "code");
    b.symbol("f", STB_GLOBAL, 2, 1);
    const std::string whole = b.bytes(), extended = b.extended_numbering().bytes();
    std::string huge = extended;
    huge.replace(huge.size() - 5 * 40 + 20, 4, "\xff\xff\xff\xff", 4);   // sh_size of header 0
    const struct { const char* what; std::string bytes; unsigned long sections, symbols; OF_ERROR_CODE code; } cases[] = {
        {"no sections", builder().without_sections().bytes(), 0, 0, OF_NO_ERROR},
        {"extended numbering", extended, 5, 2, OF_NO_ERROR},
        {"header cut short", whole.substr(0, 40), 0, 0, OF_NO_ERROR},
        {"section headers cut short", whole.substr(0, whole.size() - 60), 3, 0, OF_ERR_CORRUPT},
        {"huge extended count", huge, 5, 0, OF_ERR_CORRUPT},
        {"symbol table renamed", builder().symbol("f", 1, 2, SHN_ABS).symtab_name(".mysyms").bytes(), 4, 0,
         OF_NO_ERROR},
        {"string table by name", builder().symbol("f", 1, 2, SHN_ABS).strtab_linked(false).bytes(), 4, 2, OF_NO_ERROR},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        auto file = open(c.bytes);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->section_table()->scnnum(), c.sections);
        EXPECT_EQ(file->error_code(), c.code);
        ASSERT_NE(file->symbol_table(), nullptr);
        if (c.code == OF_NO_ERROR) {
            EXPECT_EQ(file->symbol_table()->symnum(), c.symbols);
            EXPECT_TRUE(c.symbols == 0 || std::string(file->symbol_table()->symbol(1)->name()) == "f");
        }
    }

    ERROR_LOG::calls().clear();
    auto file = open(builder().symbol("lost", STB_GLOBAL, 2, SHN_ABS).without_strtab().bytes());
    OF_SYMBOL* symbol = file->symbol_table()->symbol(1);
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(symbol->name(), nullptr);
    EXPECT_EQ(symbol->kind(), OF_SYM_KIND_ABSOLUTE);
    EXPECT_EQ(ERROR_LOG::calls().at(0), std::make_pair(int(OF_ERR_INTERNAL),
                                                    std::string("string table for symbol table \".symtab\" not found")));
}

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

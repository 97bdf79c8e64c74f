#include "ofe/elf/elf_file.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "common/elf_builder.h"
#include "ofe/elf/elf_records.h"
#include "ofe/elf/elf_section_table.h"
#include "ofe/of_symbol_table.h"
#include "ofe/test_object_file.h"

using namespace OFE;

namespace {

// Runs in both byte orders.
class ElfTestEnv : public ObjectTestEnv<ELF_FILE, OF_FORMAT_ELF, ELF_BUILDER::ORDER> {
protected:
    ELF_BUILDER builder(uint16_t machine = 40) const { return ELF_BUILDER(GetParam(), machine); }
};

#define ELF_BOTH_ORDERS(suite)                                                                          \
    INSTANTIATE_TEST_SUITE_P(BothByteOrders, suite, testing::Values(ELF_BUILDER::LITTLE, ELF_BUILDER::BIG), \
                             [](const testing::TestParamInfo<ELF_BUILDER::ORDER>& info) {                \
                                 return std::string(info.param == ELF_BUILDER::BIG ? "Big" : "Little");  \
                             })

class ElfFileTest : public ElfTestEnv {};

ELF_BOTH_ORDERS(ElfFileTest);

// After loading, the header is in host order whatever the file's order, and
// sections of a 16-bit-word family count their units in two bytes. A table
// loaded again starts afresh: here one header further on.
TEST_P(ElfFileTest, HeaderInHostOrder) {
    ELF_BUILDER b = builder(0xA1B1);   // WREN
    b.section(".text", 1, "code");
    auto file = open(b.bytes());
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
    const struct { const char* what; std::string bytes; unsigned long sections, symbols; OF_ERROR_CODE code; }
        cases[] = {
        {"no sections", builder().without_sections().bytes(), 0, 0, OF_NO_ERROR},
        {"extended numbering", extended, 5, 2, OF_NO_ERROR},
        {"header cut short", whole.substr(0, 40), 0, 0, OF_NO_ERROR},
        {"section headers cut short", whole.substr(0, whole.size() - 60), 3, 0, OF_ERR_CORRUPT},
        {"huge extended count", huge, 5, 0, OF_ERR_CORRUPT},
        {"symbol table renamed", builder().symbol("f", 1, 2, SHN_ABS).symtab_name(".mysyms").bytes(), 4, 0,
         OF_NO_ERROR},
        {"string table by name", builder().symbol("f", 1, 2, SHN_ABS).strtab_linked(false).bytes(), 4, 2, OF_NO_ERROR},
        {"no string table: no names", builder().symbol("f", 1, 2, SHN_ABS).without_strtab().bytes(), 3, 2,
         OF_ERR_INTERNAL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        auto file = open(c.bytes);
        EXPECT_EQ(file->section_table()->scnnum(), c.sections);
        ASSERT_NE(file->symbol_table(), nullptr);
        if (c.code != OF_ERR_CORRUPT) {
            EXPECT_EQ(file->symbol_table()->symnum(), c.symbols);
            EXPECT_STREQ(c.symbols ? file->symbol_table()->symbol(1)->name() : "f", c.code ? nullptr : "f");
        }
        EXPECT_EQ(file->error_code(), c.code);
    }
    EXPECT_EQ(ERROR_LOG::last(), "string table for symbol table \".symtab\" not found");
}

class ElfSymbolTest : public ElfTestEnv {};

ELF_BOTH_ORDERS(ElfSymbolTest);

// Each case is one symbol (id 1) of an object of the case's family, in a
// file with or without an extended index table.
TEST_P(ElfSymbolTest, KindBindingAndTypeMapping) {
    const uint16_t PROCESSOR = 0xFF10, SMALL_COMMON = 0xFF00;
    const uint16_t ARM = 40, KITE = 0xA1B3, HERON = 0xA1B2, WREN = 0xA1B1;   // ELF machine numbers
    const OF_SYM_KIND DEFINED = OF_SYM_KIND_DEFINED, COMMON = OF_SYM_KIND_COMMON, UNKNOWN = OF_SYM_KIND_UNKNOWN;
    const OF_SYM_BINDING GLOBAL = OF_SYM_BINDING_GLOBAL, WEAK = OF_SYM_BINDING_WEAK, LOCAL = OF_SYM_BINDING_LOCAL;
    const struct { const char* what; uint16_t machine; unsigned bind, type; uint16_t shndx; bool with_index_table;
        OF_SYM_KIND kind; OF_SYM_BINDING binding; OF_SYM_TYPE sym_type; } cases[] = {
        {"global function", ARM, 1, 2, 1, true, DEFINED, GLOBAL, OF_SYM_TYPE_FUNCTION},
        {"local section", ARM, 0, 3, 1, true, DEFINED, LOCAL, OF_SYM_TYPE_SECTION},
        {"weak undefined", ARM, 2, 0, SHN_UNDEF, true, OF_SYM_KIND_UNDEFINED, WEAK, OF_SYM_TYPE_NONE},
        {"absolute file", ARM, 0, 4, SHN_ABS, true, OF_SYM_KIND_ABSOLUTE, LOCAL, OF_SYM_TYPE_FILE},
        {"common", ARM, 1, 1, SHN_COMMON, true, COMMON, GLOBAL, OF_SYM_TYPE_OBJECT},
        {"extended index", ARM, 1, 1, SHN_XINDEX, true, DEFINED, GLOBAL, OF_SYM_TYPE_OBJECT},
        {"extended index, no table", ARM, 1, 1, SHN_XINDEX, false, DEFINED, GLOBAL, OF_SYM_TYPE_OBJECT},
        {"0xFF10, ordinary family", ARM, 1, 0, PROCESSOR, true, UNKNOWN, GLOBAL, OF_SYM_TYPE_NONE},
        {"0xFF00 on HERON", HERON, 1, 1, SMALL_COMMON, true, COMMON, GLOBAL, OF_SYM_TYPE_OBJECT},
        {"0xFF00 on KITE", KITE, 2, 1, SMALL_COMMON, true, COMMON, WEAK, OF_SYM_TYPE_OBJECT},
        {"0xFF10 on KITE", KITE, 1, 1, PROCESSOR, true, UNKNOWN, GLOBAL, OF_SYM_TYPE_OBJECT},
        {"0xFF00 on WREN", WREN, 1, 1, SMALL_COMMON, true, UNKNOWN, GLOBAL, OF_SYM_TYPE_OBJECT},
        {"unique binding", ARM, 10, 1, 1, true, DEFINED, OF_SYM_BINDING_UNKNOWN, OF_SYM_TYPE_OBJECT},
        {"binding 3", ARM, 3, 6, 1, true, DEFINED, OF_SYM_BINDING_UNKNOWN, OF_SYM_TYPE_TLS},
        {"processor type", ARM, 1, 13, 1, true, DEFINED, GLOBAL, OF_SYM_TYPE_NONE},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ELF_BUILDER b = builder(c.machine);
        b.section(".data", 1, "data");
        b.symbol("s", c.bind, c.type, c.shndx, 0x1234, 8, 1);
        if (!c.with_index_table)
            b.without_shndx_table();
        auto file = open(b.bytes());
        OF_SYMBOL* symbol = file->symbol_table()->symbol(1);
        ASSERT_NE(symbol, nullptr);
        EXPECT_STREQ(symbol->name(), "s");
        EXPECT_EQ(std::make_tuple(symbol->kind(), symbol->binding(), symbol->type()),
                  std::make_tuple(c.kind, c.binding, c.sym_type));
        EXPECT_EQ(symbol->value() + symbol->size(), 0x1234u + 8u);
        EXPECT_EQ(symbol->section_id(), c.shndx != SHN_XINDEX ? c.shndx : c.with_index_table ? 1u : 0u);
    }
}

// The walk visits every id, the null entry 0 included. Dropping symbols and
// reading them again gives equal symbols; a symbol that another resolves
// stays in memory; a name set in memory wins over the file's.
TEST_P(ElfSymbolTest, WalkUnloadAndReload) {
    ELF_BUILDER b = builder();
    b.section(".text", 1, "code");
    b.section(".symtab.not", 1, "");   // a name that only begins like the table's
    b.symbol("first", 1, 2, 1, 16, 4).symbol("second", 2, 1, SHN_COMMON, 8, 8).symbol("third", 2, 0, SHN_UNDEF);
    auto file = open(b.bytes());
    OF_SYMBOL_TABLE* table = file->symbol_table();
    std::string names;
    for (unsigned long id = 0; id < table->symnum(); id = table->next_symbol_id(id))
        names += std::string(table->symbol(id)->name()) + ",";
    EXPECT_EQ(names, ",first,second,third,");
    EXPECT_EQ(table->symbol(4), nullptr);

    OF_SYMBOL* second = table->symbol(2);
    second->set_resolved_by(table->symbol(1));
    table->unload();
    EXPECT_EQ(table->symbol(2), second);
    EXPECT_EQ(table->symbol(1)->value(), 16u);
    second->set_resolved_by(nullptr);
    table->unload_symbol(2);
    EXPECT_EQ(table->symbol(2)->kind(), OF_SYM_KIND_COMMON);
}

}  // namespace

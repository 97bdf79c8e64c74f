#include "ofe/elf/elf_symbol_table.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "ofe/elf/elf_symbol.h"
#include "ofe/test_object_file.h"

using namespace OFE;

namespace {

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
    table->unload_symbol(3);
    table->symbol(3)->set_name("renamed");
    EXPECT_STREQ(table->symbol(3)->name(), "renamed");
}

}  // namespace

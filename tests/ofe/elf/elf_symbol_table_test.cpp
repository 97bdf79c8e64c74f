#include "ofe/elf/elf_symbol_table.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ofe/elf/elf_symbol.h"
#include "ofe/elf/elf_test_env.h"

using namespace OFE;

namespace {

const uint16_t SHN_PROCESSOR = 0xFF10;
const uint16_t SHN_SMALL_COMMON = 0xFF00;

struct KIND_CASE {
    const char* what;
    OF_MACHINE machine;
    unsigned bind;
    unsigned type;
    uint16_t shndx;
    uint32_t extended;
    bool with_index_table;
    OF_SYM_KIND kind;
    OF_SYM_BINDING binding;
    OF_SYM_TYPE sym_type;
};

class ElfSymbolTest : public ElfTestEnv, public testing::TestWithParam<ELF_BUILDER::ORDER> {};

INSTANTIATE_TEST_SUITE_P(BothByteOrders, ElfSymbolTest,
                         testing::Values(ELF_BUILDER::LITTLE, ELF_BUILDER::BIG),
                         [](const testing::TestParamInfo<ELF_BUILDER::ORDER>& info) {
                             return std::string(info.param == ELF_BUILDER::BIG ? "Big" : "Little");
                         });

// Each case is one symbol (id 1) of an object of the case's family.
TEST_P(ElfSymbolTest, KindBindingAndTypeMapping) {
    const KIND_CASE cases[] = {
        {"global function", OF_MACHINE_ARM, 1, 2, 1, 0, true, OF_SYM_KIND_DEFINED, OF_SYM_BINDING_GLOBAL,
         OF_SYM_TYPE_FUNCTION},
        {"local section symbol", OF_MACHINE_ARM, 0, 3, 1, 0, true, OF_SYM_KIND_DEFINED,
         OF_SYM_BINDING_LOCAL, OF_SYM_TYPE_SECTION},
        {"weak undefined", OF_MACHINE_ARM, 2, 0, SHN_UNDEF, 0, true, OF_SYM_KIND_UNDEFINED,
         OF_SYM_BINDING_WEAK, OF_SYM_TYPE_NONE},
        {"absolute file symbol", OF_MACHINE_ARM, 0, 4, SHN_ABS, 0, true, OF_SYM_KIND_ABSOLUTE,
         OF_SYM_BINDING_LOCAL, OF_SYM_TYPE_FILE},
        {"common", OF_MACHINE_ARM, 1, 1, SHN_COMMON, 0, true, OF_SYM_KIND_COMMON, OF_SYM_BINDING_GLOBAL,
         OF_SYM_TYPE_OBJECT},
        {"extended index with table", OF_MACHINE_ARM, 1, 1, SHN_XINDEX, 1, true, OF_SYM_KIND_DEFINED,
         OF_SYM_BINDING_GLOBAL, OF_SYM_TYPE_OBJECT},
        {"extended index without table", OF_MACHINE_ARM, 1, 1, SHN_XINDEX, 1, false,
         OF_SYM_KIND_DEFINED, OF_SYM_BINDING_GLOBAL, OF_SYM_TYPE_OBJECT},
        {"processor index, ordinary family", OF_MACHINE_ARM, 1, 0, SHN_PROCESSOR, 0, true,
         OF_SYM_KIND_UNKNOWN, OF_SYM_BINDING_GLOBAL, OF_SYM_TYPE_NONE},
        {"small common, HERON", OF_MACHINE_HERON, 1, 1, SHN_SMALL_COMMON, 0, true, OF_SYM_KIND_COMMON,
         OF_SYM_BINDING_GLOBAL, OF_SYM_TYPE_OBJECT},
        {"small common, KITE", OF_MACHINE_KITE, 2, 1, SHN_SMALL_COMMON, 0, true, OF_SYM_KIND_COMMON,
         OF_SYM_BINDING_WEAK, OF_SYM_TYPE_OBJECT},
        {"0xFF10 on KITE", OF_MACHINE_KITE, 1, 1, SHN_PROCESSOR, 0, true, OF_SYM_KIND_UNKNOWN,
         OF_SYM_BINDING_GLOBAL, OF_SYM_TYPE_OBJECT},
        {"0xFF00 on WREN", OF_MACHINE_WREN, 1, 1, SHN_SMALL_COMMON, 0, true, OF_SYM_KIND_UNKNOWN,
         OF_SYM_BINDING_GLOBAL, OF_SYM_TYPE_OBJECT},
        {"unique binding", OF_MACHINE_ARM, 10, 1, 1, 0, true, OF_SYM_KIND_DEFINED, OF_SYM_BINDING_UNKNOWN,
         OF_SYM_TYPE_OBJECT},
        {"binding 3", OF_MACHINE_ARM, 3, 6, 1, 0, true, OF_SYM_KIND_DEFINED, OF_SYM_BINDING_UNKNOWN,
         OF_SYM_TYPE_TLS},
        {"processor type", OF_MACHINE_ARM, 1, 13, 1, 0, true, OF_SYM_KIND_DEFINED, OF_SYM_BINDING_GLOBAL,
         OF_SYM_TYPE_NONE},
    };
    for (const KIND_CASE& c : cases) {
        SCOPED_TRACE(c.what);
        ELF_BUILDER b(GetParam(), OBJECT_FILE::OF_MACHINE_to_ELF(c.machine));
        b.section(".data", 1, "data");
        b.symbol("s", c.bind, c.type, c.shndx, 0x1234, 8, c.extended);
        if (!c.with_index_table)
            b.without_shndx_table();
        auto file = open(b);
        ASSERT_TRUE(file);
        OF_SYMBOL* symbol = file->symbol_table()->symbol(1);
        ASSERT_NE(symbol, nullptr);
        EXPECT_STREQ(symbol->name(), "s");
        EXPECT_EQ(symbol->kind(), c.kind);
        EXPECT_EQ(symbol->binding(), c.binding);
        EXPECT_EQ(symbol->type(), c.sym_type);
        EXPECT_EQ(symbol->value(), 0x1234u);
        EXPECT_EQ(symbol->size(), 8u);
        if (c.shndx == SHN_XINDEX) {
            EXPECT_EQ(symbol->section_id(), c.with_index_table ? c.extended : 0u);
        }
    }
}

// The walk visits symnum() ids, the null entry 0 included; ids past the end
// give null.
TEST_P(ElfSymbolTest, WalkVisitsEveryEntry) {
    ELF_BUILDER b(GetParam());
    b.section(".text", 1, "code");
    b.symbol("a", 0, 0, 1).symbol("b", 1, 2, 1).symbol("c", 2, 1, SHN_UNDEF);
    auto file = open(b);
    ASSERT_TRUE(file);
    OF_SYMBOL_TABLE* table = file->symbol_table();
    ASSERT_EQ(table->symnum(), 4u);
    std::string names;
    unsigned long visited = 0;
    for (unsigned long id = 0; id < table->symnum(); id = table->next_symbol_id(id), ++visited) {
        OF_SYMBOL* symbol = table->symbol(id);
        ASSERT_NE(symbol, nullptr);
        names += symbol->name() ? symbol->name() : "?";
        names += ',';
    }
    EXPECT_EQ(visited, 4u);
    EXPECT_EQ(names, ",a,b,c,");
    OF_SYMBOL* null_entry = table->symbol(0);
    EXPECT_EQ(null_entry->kind(), OF_SYM_KIND_UNDEFINED);
    EXPECT_EQ(null_entry->binding(), OF_SYM_BINDING_LOCAL);
    EXPECT_EQ(table->symbol(4), nullptr);
    EXPECT_STREQ(table->symbol_name("c", 0)->name(), "c");
    EXPECT_EQ(table->symbol_name("c", 4), nullptr);
}

// Dropping symbols and reading them again gives equal symbols; a symbol that
// another resolves stays in memory.
TEST_P(ElfSymbolTest, UnloadAndReload) {
    ELF_BUILDER b(GetParam());
    b.section(".text", 1, "code");
    b.symbol("first", 1, 2, 1, 16, 4).symbol("second", 2, 1, SHN_COMMON, 8, 8);
    auto file = open(b);
    ASSERT_TRUE(file);
    OF_SYMBOL_TABLE* table = file->symbol_table();
    table->load_all_symbols_into_mem();
    OF_SYMBOL* first = table->symbol(1);
    OF_SYMBOL* second = table->symbol(2);
    second->set_resolved_by(first);
    const std::string name = first->name();
    const OF_SYM_KIND kind = first->kind();
    const OF_SYM_BINDING binding = first->binding();
    const unsigned long value = first->value();

    table->unload();
    EXPECT_EQ(table->symbol(2), second);
    OF_SYMBOL* reread = table->symbol(1);
    ASSERT_NE(reread, nullptr);
    EXPECT_EQ(reread->name(), name);
    EXPECT_EQ(reread->kind(), kind);
    EXPECT_EQ(reread->binding(), binding);
    EXPECT_EQ(reread->value(), value);

    second->set_resolved_by(nullptr);
    table->unload_symbol(2);
    ASSERT_NE(table->symbol(2), nullptr);
    EXPECT_STREQ(table->symbol(2)->name(), "second");
    EXPECT_EQ(table->symbol(2)->kind(), OF_SYM_KIND_COMMON);
}

// Symbols made in memory cannot be read back, so a table without a file
// keeps them all.
TEST(ElfSymbolTableInMemory, UnloadKeepsSymbolsMadeInMemory) {
    OF_FILE_HANDLE handle;
    handle.format = OF_FORMAT_ELF;
    ELF_FILE file(handle);
    OF_SYMBOL_TABLE* table = file.symbol_table();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->symnum(), 0u);
    OF_SYMBOL* made = table->new_symbol();
    ASSERT_NE(made, nullptr);
    made->set_name("made");
    EXPECT_EQ(table->symnum(), 1u);
    table->unload();
    EXPECT_EQ(table->symbol(0), made);
    EXPECT_STREQ(table->symbol(0)->name(), "made");
    EXPECT_EQ(file.error_code(), OF_NO_ERROR);

    file.set_state(OF_STATE_LOCKED);
    EXPECT_EQ(table->new_symbol(), nullptr);
    EXPECT_EQ(made->set_name("renamed"), -1);
    EXPECT_STREQ(made->name(), "made");
}

}  // namespace

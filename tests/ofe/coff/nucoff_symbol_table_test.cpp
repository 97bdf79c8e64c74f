#include "ofe/coff/nucoff_symbol_table.h"

#include <gtest/gtest.h>

#include <string>

#include "ofe/coff/nucoff_symbol.h"
#include "ofe/test_object_file.h"

using namespace OFE;

namespace {

// Kind follows the section number alone (a common block is undefined),
// binding the storage class alone, read as a signed byte; never weak.
TEST(NucoffSymbol, KindAndBinding) {
    const OF_SYM_BINDING GLOBAL = OF_SYM_BINDING_GLOBAL, LOCAL = OF_SYM_BINDING_LOCAL;
    const struct { uint8_t sclass; int16_t scnum; OF_SYM_KIND kind; OF_SYM_BINDING binding; } cases[] = {
        {2, 1, OF_SYM_KIND_DEFINED, GLOBAL},  {2, -1, OF_SYM_KIND_ABSOLUTE, GLOBAL}, {2, 0, OF_SYM_KIND_UNDEFINED, GLOBAL},
        {2, -2, OF_SYM_KIND_DEBUG, GLOBAL},   {2, -3, OF_SYM_KIND_DEFINED, GLOBAL},  {21, 1, OF_SYM_KIND_DEFINED, GLOBAL},
        {109, 1, OF_SYM_KIND_DEFINED, GLOBAL}, {20, 1, OF_SYM_KIND_DEFINED, LOCAL},  {130, 1, OF_SYM_KIND_DEFINED, LOCAL},
        {0, 1, OF_SYM_KIND_DEFINED, OF_SYM_BINDING_UNKNOWN}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.sclass) + " in " + std::to_string(c.scnum));
        NUCOFF_SYMBOL symbol(nullptr);
        symbol.entry().n_sclass = c.sclass;
        symbol.entry().n_scnum = c.scnum;
        EXPECT_EQ(symbol.kind(), c.kind);
        EXPECT_EQ(symbol.binding(), c.binding);
        EXPECT_EQ(symbol.is_load_label(), c.sclass == 20 || c.sclass == 21);
    }
}

class NucoffSymbolTableTest : public NucoffTestEnv {};

NUCOFF_ALL_FORMS(NucoffSymbolTableTest);

// A walk steps over aux entries and over a label's, which are dropped, so
// the entry after a label reads as a symbol. Names of 8 characters are
// whole; an offset outside the string table or in its length word gives no
// name; aux entries counted past the end of the table end the walk, and
// only those inside are read.
TEST_P(NucoffSymbolTableTest, WalkNamesAndDamagedEntries) {
    NUCOFF_BUILDER b = builder();
    const std::string hidden = "exactly8" + b.num(0x20, 4) + b.num(1, 2) + b.num(0, 2) + std::string("\x02\0", 2);
    const std::string bytes = b.symbol("f", 0, 1, 0x20, 2, {b.aux({}), b.aux({})})
                                  .symbol("in_the_string_table", 0, 1, 0, 2)
                                  .symbol("label", 0, 1, 0, 6, {hidden})
                                  .symbol("last", 0, 1, 0, 2)
                                  .bytes() +
                              std::string("junk", 5);   // after the string table
    const size_t name = b.symbol_table_offset() + 3 * 18 + 4, past = bytes.size() - 5 - b.string_table_offset();
    const std::string all = "0 f,3 in_the_string_table,4 label,5 exactly8,6 last,";
    const struct { size_t at; std::string value, walked; size_t aux_read; /* by the last symbol */ } cases[] = {
        {0, "", all, 0},
        {name, b.num(past, 4), "0 f,3 <null>,4 label,5 exactly8,6 last,", 0},
        {name, b.num(2, 4), "0 f,3 <null>,4 label,5 exactly8,6 last,", 0},
        {name + 13, "\xFF", "0 f,3 in_the_string_table,", 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.at);
        auto file = open(std::string(bytes).replace(c.at, c.value.size(), c.value));
        OF_SYMBOL_TABLE* table = file->symbol_table();
        std::string walked;
        for (unsigned long id = 0; id < table->symnum(); id = table->next_symbol_id(id))
            walked += std::to_string(id) + " " + (table->symbol(id)->name() ? table->symbol(id)->name() : "<null>") + ",";
        EXPECT_EQ(walked, c.walked);
        EXPECT_EQ(static_cast<NUCOFF_SYMBOL*>(table->symbol(3))->aux().size(), c.aux_read);
        EXPECT_EQ(table->symbol(5)->binding(), OF_SYM_BINDING_GLOBAL);
        EXPECT_EQ(table->symbol(5)->value(), 0x20u);
    }
    EXPECT_TRUE(ERROR_LOG::calls().empty());
}

}  // namespace

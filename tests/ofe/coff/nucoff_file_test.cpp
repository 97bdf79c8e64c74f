#include "ofe/coff/nucoff_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "common/nucoff_builder.h"
#include "ofe/coff/nucoff_records.h"
#include "ofe/coff/nucoff_symbol.h"
#include "ofe/mach/wren_mach.h"
#include "ofe/of_section_table.h"
#include "ofe/of_symbol_table.h"
#include "ofe/test_object_file.h"
#include "support/data_map.h"

using namespace OFE;

namespace {

// Runs in all three format versions and both byte orders.
class NucoffTestEnv
    : public ObjectTestEnv<NUCOFF_FILE, OF_FORMAT_NUCOFF, std::tuple<int, NUCOFF_BUILDER::ORDER>> {
protected:
    int version() const { return std::get<0>(GetParam()); }
    NUCOFF_BUILDER builder(uint16_t target = NUCOFF_BUILDER::ARM) const {
        return NUCOFF_BUILDER(version(), std::get<1>(GetParam()), target).section(".text", "code");
    }
    std::string patched(std::string bytes, size_t at, uint32_t value, int width) const {
        return bytes.replace(at, width, builder().num(value, width));
    }
};

#define NUCOFF_ALL_FORMS(suite)                                                                               \
    INSTANTIATE_TEST_SUITE_P(                                                                                 \
        AllForms, suite,                                                                                      \
        testing::Combine(testing::Values(0, 1, 2), testing::Values(NUCOFF_BUILDER::LITTLE, NUCOFF_BUILDER::BIG)), \
        [](const testing::TestParamInfo<std::tuple<int, NUCOFF_BUILDER::ORDER>>& info) {                      \
            const bool big = std::get<1>(info.param) == NUCOFF_BUILDER::BIG;                                  \
            return "V" + std::to_string(std::get<0>(info.param)) + (big ? "Big" : "Little");                   \
        })

class NucoffFileTest : public NucoffTestEnv {};

NUCOFF_ALL_FORMS(NucoffFileTest);

// Type, target byte order and WREN's memory model and addressing mode come
// from the header flags; the machine from the target ID wherever the
// version keeps it.
TEST_P(NucoffFileTest, HeaderFlags) {
    const struct { uint16_t flags; OF_FILE_TYPE type; OF_ENDIAN endian; std::string model_and_addressing; } cases[] = {
        {0x0100 | 0x0400 | 0x1000, OF_FILE_TYPE_RELOCATABLE, OF_ENDIAN_LITTLE, "small, Amode"},
        {0x0201 | 0x0800 | 0x2000, OF_FILE_TYPE_UNKNOWN, OF_ENDIAN_BIG, "large, No Amode"},
        {0x0303 | 0x0C00, OF_FILE_TYPE_EXECUTABLE, OF_ENDIAN_UNKNOWN, "(unknown), (unknown)"},
        {0x0002 | 0x3000, OF_FILE_TYPE_EXECUTABLE, OF_ENDIAN_UNKNOWN, "(unknown), (unknown)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        auto file = open(builder(NUCOFF_BUILDER::WREN).flags(c.flags).bytes());
        EXPECT_EQ(std::make_tuple(file->machine(), file->file_type(), file->machine_endian()),
                  std::make_tuple(OF_MACHINE_WREN, c.type, c.endian));
        auto* wren = dynamic_cast<WREN_MACHINE_DB*>(file->machine_db());
        EXPECT_EQ(std::string(WREN_MACHINE_DB::memory_model_name(wren->memory_model())) + ", " +
                      WREN_MACHINE_DB::addressing_mode_name(wren->addressing_mode()), c.model_and_addressing);
    }
    EXPECT_EQ(open(builder().bytes())->machine(), OF_MACHINE_ARM);
}

// The symbol-table offset may equal the object's size, not exceed it; a
// string table reaching past the end is refused, and only inline names stay.
// Counts and offsets far beyond the object neither size a table nor read
// outside the object: tables keep what it holds.
TEST_P(NucoffFileTest, TableBounds) {
    NUCOFF_BUILDER b = builder();
    const std::string bytes = b.symbol("inline", 0, 1, 0, 2).symbol("from_the_string_table", 4, 1, 0, 2).bytes();
    const uint32_t size = uint32_t(bytes.size()), strings = b.string_table_offset();
    const unsigned long sections = (size - b.header_size()) / b.section_header_size();
    char past[40];
    snprintf(past, sizeof past, "invalid symbol table offset 0x%08x", size + 1);
    const struct { std::string bytes, error; unsigned long sections, symbols; } cases[] = {
        {bytes, "", 1, 2}, {patched(bytes, 8, size, 4), "", 1, 0}, {patched(bytes, 8, size + 1, 4), past, 1, 0},
        {patched(bytes, strings, size - strings + 1, 4),
         "invalid string table size " + std::to_string(size - strings + 1), 1, 2},
        {bytes.substr(0, 10), "", 0, 0}, {patched(bytes, 2, 0xFFFF, 2), "", sections, 2},
        {patched(bytes, 12, 0x7FFFFFFF, 4), "", 1, (size - b.symbol_table_offset()) / 18},
        {patched(bytes, 16, 0xFFFF, 2), "", 0, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        ERROR_LOG::calls().clear();
        auto file = open(c.bytes);
        EXPECT_EQ(ERROR_LOG::last(), c.error);
        EXPECT_EQ(file->error_code(), c.error.empty() ? OF_NO_ERROR : OF_ERR_CORRUPT);
        EXPECT_EQ(file->section_table()->scnnum(), c.sections);
        for (unsigned long id = 0; id < c.sections; ++id)
            EXPECT_NE(file->section_table()->section(id), nullptr);
        OF_SYMBOL_TABLE* symbols = file->symbol_table();
        ASSERT_EQ(symbols->symnum(), c.symbols);
        if (c.symbols == 2) {
            EXPECT_STREQ(symbols->symbol(0)->name(), "inline");
            EXPECT_EQ(symbols->symbol(1)->name() == nullptr, !c.error.empty());
        }
    }
}

typedef std::function<void(const DATA_MAP&, unsigned char*, bool)> READER;

template <typename Record> READER reader(int (*read)(const DATA_MAP&, Record&, bool)) {
    return [read](const DATA_MAP& map, unsigned char* out, bool swap) {
        Record rec;
        memset(&rec, 0, sizeof rec);
        read(map, rec, swap);
        memcpy(out, &rec, sizeof rec);
    };
}

// The records a file's load reads, and a line-number entry, copied as
// stored and, asked to swap, with exactly the multi-byte fields reversed
// (layouts as swap_pattern reads them); the cursor moves by the record's
// size. A name whose first word is zero keeps a string-table offset,
// swapped, in its second word.
TEST(NucoffRecordsTest, ReadersSwapExactlyTheirFields) {
    const std::string name(8, '1');
    const struct { const char* what; READER read; std::string layout; } cases[] = {
        {"filehdr1", reader(read_NUCoff_filehdr1), "22444222"},
        {"scnhdr0: name and single bytes kept", reader(read_NUCoff_scnhdr0), "00001111" "444444" "222" "11"},
        {"scnhdr2: inline name and reserved bytes kept", reader(read_NUCoff_scnhdr2), name + "444444444" "112"},
        {"scnhdr2: string-table offset", reader(read_NUCoff_scnhdr2), "00004" "444444444" "112"},
        {"syment: inline name", reader(read_NUCoff_syment), name + "42211"},
        {"syment: string-table offset", reader(read_NUCoff_syment), "00004" "42211"},
        {"aux function", reader(read_NUCoff_aux_func), "444411"},
        {"aouthdr", reader(read_NUCoff_aouthdr), "22444444"}, {"lineno", reader(read_NUCoff_lineno), "42"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<unsigned char> raw = swap_pattern(c.layout, false);
        DATA_MAP in;
        in.set_data(raw.data(), raw.size());
        std::vector<unsigned char> got(raw.size());
        c.read(in, got.data(), false);
        EXPECT_EQ(got, raw);
        in.set_cursor(0);
        c.read(in, got.data(), true);
        EXPECT_EQ(in.cursor(), raw.size());
        EXPECT_EQ(got, swap_pattern(c.layout, true));
    }
}

// Kind follows the section number alone (a common block is undefined),
// binding the storage class alone, read as a signed byte; never weak.
TEST(NucoffSymbol, KindAndBinding) {
    const OF_SYM_BINDING GLOBAL = OF_SYM_BINDING_GLOBAL, LOCAL = OF_SYM_BINDING_LOCAL;
    const OF_SYM_KIND DEFINED = OF_SYM_KIND_DEFINED;
    const struct { uint8_t sclass; int16_t scnum; OF_SYM_KIND kind; OF_SYM_BINDING binding; } cases[] = {
        {2, 1, DEFINED, GLOBAL},  {2, -1, OF_SYM_KIND_ABSOLUTE, GLOBAL}, {2, 0, OF_SYM_KIND_UNDEFINED, GLOBAL},
        {2, -2, OF_SYM_KIND_DEBUG, GLOBAL}, {2, -3, DEFINED, GLOBAL}, {21, 1, DEFINED, GLOBAL},
        {109, 1, DEFINED, GLOBAL}, {20, 1, DEFINED, LOCAL}, {130, 1, DEFINED, LOCAL},
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
    b.symbol("f", 0, 1, 0x20, 2, {b.aux({}), b.aux({})}).symbol("in_the_string_table", 0, 1, 0, 2);
    b.symbol("label", 0, 1, 0, 6, {hidden}).symbol("last", 0, 1, 0, 2);
    const std::string bytes = b.bytes() + std::string("junk", 5);   // after the string table
    const size_t name = b.symbol_table_offset() + 3 * 18 + 4, past = bytes.size() - 5 - b.string_table_offset();
    const std::string all = "0 f,3 in_the_string_table,4 label,5 exactly8,6 last,",
                      nameless = "0 f,3 <null>,4 label,5 exactly8,6 last,";
    const struct { size_t at; std::string value, walked; size_t aux_read; /* by the last symbol */ } cases[] = {
        {0, "", all, 0}, {name, b.num(past, 4), nameless, 0}, {name, b.num(2, 4), nameless, 0},
        {name + 13, "\xFF", "0 f,3 in_the_string_table,", 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.at);
        auto file = open(std::string(bytes).replace(c.at, c.value.size(), c.value));
        OF_SYMBOL_TABLE* table = file->symbol_table();
        std::string walked;
        for (unsigned long id = 0; id < table->symnum(); id = table->next_symbol_id(id)) {
            const char* name = table->symbol(id)->name();
            walked += std::to_string(id) + " " + (name ? name : "<null>") + ",";
        }
        EXPECT_EQ(walked, c.walked);
        EXPECT_EQ(static_cast<NUCOFF_SYMBOL*>(table->symbol(3))->aux().size(), c.aux_read);
        EXPECT_EQ(table->symbol(5)->binding(), OF_SYM_BINDING_GLOBAL);
        EXPECT_EQ(table->symbol(5)->value(), 0x20u);
    }
    EXPECT_TRUE(ERROR_LOG::calls().empty());
}

}  // namespace

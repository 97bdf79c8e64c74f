#include "ofe/of_machine_db.h"

#include <gtest/gtest.h>

#include <memory>

#include "ofe/elf/elf_symbol.h"
#include "ofe/object_file.h"

using namespace OFE;

namespace {

// Each family answers its unit size and its ELF machine number and COFF
// target ID (0: not in that format), which the conversions map back; OWL
// writes KITE's target ID, which reads as KITE. Only HERON and KITE read ELF
// section index 0xFF00 as a small common block.
TEST(MachineDb, OneClassPerFamily) {
    const struct { OF_MACHINE machine; const char* short_name; unsigned unit_bits; uint16_t elf, coff;
        bool small_common; } cases[] = {
        {OF_MACHINE_ARM, "ARM", 8, 40, 0x0097, false},           {OF_MACHINE_LARK, "LARK", 8, 0xA1B0, 0x009D, false},
        {OF_MACHINE_WREN, "WREN", 16, 0xA1B1, 0x009C, false},    {OF_MACHINE_FINCH, "FINCH", 16, 0, 0x0098, false},
        {OF_MACHINE_ROBIN, "ROBIN", 8, 0, 0x009A, false},        {OF_MACHINE_HERON, "HERON", 8, 0xA1B2, 0x0099, true},
        {OF_MACHINE_ROBINP, "ROBINP", 8, 0, 0x009B, false},      {OF_MACHINE_OWL, "OWL", 8, 0, 0x009E, false},
        {OF_MACHINE_KITE, "KITE", 8, 0xA1B3, 0x009E, true},      {OF_MACHINE_SWIFT, "SWIFT", 8, 0xA1B4, 0, false},
        {OF_MACHINE_EGRET, "EGRET", 8, 0xA1B5, 0, false},        {OF_MACHINE_UNKNOWN, "unknown", 8, 0, 0, false},
    };
    ELF_SYMBOL small_common(nullptr);
    small_common.record().st_shndx = 0xFF00;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.short_name);
        std::unique_ptr<OF_MACHINE_DB> db(OF_MACHINE_DB::machine_db(nullptr, c.machine));
        EXPECT_EQ(db->machine(), c.machine);
        EXPECT_STREQ(OBJECT_FILE::simple_machine_name(db->machine()), c.short_name);
        EXPECT_EQ(db->unit_size(), c.unit_bits);
        EXPECT_EQ(OBJECT_FILE::OF_MACHINE_to_ELF(c.machine), c.elf);
        EXPECT_EQ(OBJECT_FILE::OF_MACHINE_to_NUCOFF(c.machine), c.coff);
        EXPECT_EQ(OBJECT_FILE::OF_MACHINE_from_ELF(c.elf), c.elf ? c.machine : OF_MACHINE_UNKNOWN);
        EXPECT_EQ(OBJECT_FILE::OF_MACHINE_from_NUCOFF(c.coff),
                  c.machine == OF_MACHINE_OWL ? OF_MACHINE_KITE : c.coff ? c.machine : OF_MACHINE_UNKNOWN);
        OF_SYM_KIND kind = OF_SYM_KIND_DEBUG;
        EXPECT_EQ(db->elf_sym_kind(&small_common, kind), c.small_common);
        EXPECT_EQ(kind, c.small_common ? OF_SYM_KIND_COMMON : OF_SYM_KIND_UNKNOWN);
    }
    EXPECT_STREQ(OBJECT_FILE::machine_name(99), "unknown machine");
}

}  // namespace

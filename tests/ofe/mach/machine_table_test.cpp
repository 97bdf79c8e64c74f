#include "ofe/mach/machine_table.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "ofe/mach/robin_mach.h"
#include "ofe/object_file.h"
#include "ofe/of_machine_db.h"
#include "ofe/test_object_file.h"

using namespace OFE;

namespace {

struct FAMILY_CASE {
    OF_MACHINE machine;
    bool elf;
    bool coff;
    unsigned unit_bits;
};

// Which formats each family occurs in and its addressable unit; the
// conversions must agree with the databases both ways.
TEST(MachineTableTest, DatabasesAndConversionsAgree) {
    const FAMILY_CASE cases[] = {
        {OF_MACHINE_ARM, true, true, 8},     {OF_MACHINE_LARK, true, true, 8},
        {OF_MACHINE_WREN, true, true, 16},   {OF_MACHINE_FINCH, false, true, 16},
        {OF_MACHINE_ROBIN, false, true, 8},  {OF_MACHINE_HERON, true, true, 8},
        {OF_MACHINE_ROBINP, false, true, 8}, {OF_MACHINE_OWL, false, true, 8},
        {OF_MACHINE_KITE, true, true, 8},    {OF_MACHINE_SWIFT, true, false, 8},
        {OF_MACHINE_EGRET, true, false, 8},
    };
    TEST_FILE file;
    std::set<unsigned> elf_numbers;
    std::set<unsigned> targets;
    for (const FAMILY_CASE& c : cases) {
        SCOPED_TRACE(OBJECT_FILE::simple_machine_name(c.machine));
        std::unique_ptr<OF_MACHINE_DB> db(OF_MACHINE_DB::machine_db(&file, c.machine));
        EXPECT_EQ(db->machine(), c.machine);
        EXPECT_EQ(db->unit_size(), c.unit_bits);
        EXPECT_EQ(db->elf_magic() != 0, c.elf);
        EXPECT_EQ(db->nucoff_magic() != 0, c.coff);
        EXPECT_EQ(db->elf_magic(), OBJECT_FILE::OF_MACHINE_to_ELF(c.machine));
        EXPECT_EQ(db->nucoff_magic(), OBJECT_FILE::OF_MACHINE_to_NUCOFF(c.machine));
        if (c.elf) {
            EXPECT_EQ(OBJECT_FILE::OF_MACHINE_from_ELF(db->elf_magic()), c.machine);
            elf_numbers.insert(db->elf_magic());
        }
        if (c.coff) {
            EXPECT_GE(db->nucoff_magic(), 0x0090u);
            EXPECT_LE(db->nucoff_magic(), 0x00A3u);
            const OF_MACHINE back = c.machine == OF_MACHINE_OWL ? OF_MACHINE_KITE : c.machine;
            EXPECT_EQ(OBJECT_FILE::OF_MACHINE_from_NUCOFF(db->nucoff_magic()), back);
            targets.insert(db->nucoff_magic());
        }
    }
    EXPECT_EQ(OBJECT_FILE::OF_MACHINE_from_ELF(40), OF_MACHINE_ARM);
    EXPECT_EQ(elf_numbers.size(), 7u);
    EXPECT_EQ(targets.size(), 8u);   // OWL shares KITE's
    EXPECT_EQ(OBJECT_FILE::OF_MACHINE_from_ELF(0), OF_MACHINE_UNKNOWN);
    EXPECT_EQ(OBJECT_FILE::OF_MACHINE_from_NUCOFF(0x0090), OF_MACHINE_UNKNOWN);
}

TEST(MachineTableTest, UnknownMachineGetsTheBaseBehaviour) {
    TEST_FILE file;
    std::unique_ptr<OF_MACHINE_DB> db(OF_MACHINE_DB::machine_db(&file, OF_MACHINE_UNKNOWN));
    EXPECT_EQ(db->machine(), OF_MACHINE_UNKNOWN);
    EXPECT_EQ(db->unit_size(), 8u);
    EXPECT_EQ(db->elf_magic(), 0u);
    OF_SYM_KIND kind = OF_SYM_KIND_DEFINED;
    EXPECT_FALSE(db->elf_sym_kind(nullptr, kind));
    EXPECT_EQ(kind, OF_SYM_KIND_UNKNOWN);
    EXPECT_EQ(db->of_section_endian(nullptr), OF_ENDIAN_LITTLE);
}

TEST(MachineTableTest, RobinUnitIsPerFile) {
    TEST_FILE file;
    std::unique_ptr<OF_MACHINE_DB> db(OF_MACHINE_DB::machine_db(&file, OF_MACHINE_ROBINP));
    ROBIN_MACHINE_DB* robin = static_cast<ROBIN_MACHINE_DB*>(db.get());
    robin->set_unit_size(24);
    EXPECT_EQ(db->unit_size(), 24u);
}

}  // namespace

#include "ofe/mach/machine_table.h"

namespace OFE {

namespace {

const uint16_t EM_ARM = 40;

// ELF machine numbers of the maker's families: one block far above the
// numbers in common use, so that no other architecture's objects match.
const uint16_t EM_LARK = 0xA1B0;
const uint16_t EM_WREN = 0xA1B1;
const uint16_t EM_HERON = 0xA1B2;
const uint16_t EM_KITE = 0xA1B3;
const uint16_t EM_SWIFT = 0xA1B4;
const uint16_t EM_EGRET = 0xA1B5;

// COFF target IDs; version-0 COFF files start with one, so all of them must
// lie in 0x0090..0x00A3, where sniffing looks for them.
const uint16_t TARGET_ARM = 0x0097;
const uint16_t TARGET_FINCH = 0x0098;
const uint16_t TARGET_HERON = 0x0099;
const uint16_t TARGET_ROBIN = 0x009A;
const uint16_t TARGET_ROBINP = 0x009B;
const uint16_t TARGET_WREN = 0x009C;
const uint16_t TARGET_LARK = 0x009D;
const uint16_t TARGET_KITE = 0x009E;   // also written for OWL, which reads back as KITE

// Indexed by OF_MACHINE - 1.
const MACHINE_FAMILY kFamilies[] = {
    {OF_MACHINE_ARM, "ARM", "Advanced RISC Machines ARM", EM_ARM, TARGET_ARM, false, 8},
    {OF_MACHINE_LARK, "LARK", "LARK microcontroller family", EM_LARK, TARGET_LARK, false, 8},
    {OF_MACHINE_WREN, "WREN", "WREN digital signal processor family", EM_WREN, TARGET_WREN, false, 16},
    {OF_MACHINE_FINCH, "FINCH", "FINCH digital signal processor family", 0, TARGET_FINCH, false, 16},
    {OF_MACHINE_ROBIN, "ROBIN", "ROBIN digital signal processor family", 0, TARGET_ROBIN, false, 0},
    {OF_MACHINE_HERON, "HERON", "HERON microcontroller family", EM_HERON, TARGET_HERON, false, 8},
    {OF_MACHINE_ROBINP, "ROBINP", "ROBIN plus digital signal processor family", 0, TARGET_ROBINP,
     false, 0},
    {OF_MACHINE_OWL, "OWL", "OWL microcontroller family", 0, TARGET_KITE, true, 8},
    {OF_MACHINE_KITE, "KITE", "KITE microcontroller family", EM_KITE, TARGET_KITE, false, 8},
    {OF_MACHINE_SWIFT, "SWIFT", "SWIFT application processor family", EM_SWIFT, 0, false, 8},
    {OF_MACHINE_EGRET, "EGRET", "EGRET application processor family", EM_EGRET, 0, false, 8},
};

const int kFamilyCount = sizeof kFamilies / sizeof kFamilies[0];
static_assert(kFamilyCount == OF_MACHINE_LAST, "one row per family");

}  // namespace

const MACHINE_FAMILY* machine_family(int machine) {
    if (machine < 1 || machine > kFamilyCount)
        return nullptr;
    return &kFamilies[machine - 1];
}

const MACHINE_FAMILY* machine_family_by_elf(uint16_t e_machine) {
    if (e_machine == 0)
        return nullptr;
    for (const MACHINE_FAMILY& family : kFamilies)
        if (family.elf_machine == e_machine)
            return &family;
    return nullptr;
}

const MACHINE_FAMILY* machine_family_by_nucoff(uint16_t target_id) {
    if (target_id == 0)
        return nullptr;
    for (const MACHINE_FAMILY& family : kFamilies)
        if (family.nucoff_target == target_id && !family.shares_nucoff_target)
            return &family;
    return nullptr;
}

}  // namespace OFE

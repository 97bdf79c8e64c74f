#ifndef ARWREN_OFE_MACH_MACHINE_TABLE_H
#define ARWREN_OFE_MACH_MACHINE_TABLE_H

#include <cstdint>

#include "ofe/of_types.h"

namespace OFE {

// One row per processor family: every family number, name and unit size of
// the library comes from this table.
struct MACHINE_FAMILY {
    OF_MACHINE machine;
    const char* short_name;        // simple_machine_name
    const char* long_name;         // machine_name
    uint16_t elf_machine;          // e_machine; 0 when the family has no ELF objects
    uint16_t nucoff_target;        // COFF target ID; 0 when the family has no COFF objects
    bool shares_nucoff_target;     // the target ID belongs to another family and reads back as it
    unsigned unit_bits;            // bits per addressable unit; 0 = set per file
};

// The row of a family; null for OF_MACHINE_UNKNOWN and values out of range.
const MACHINE_FAMILY* machine_family(int machine);
// The family whose objects carry this e_machine or COFF target ID; null if none.
const MACHINE_FAMILY* machine_family_by_elf(uint16_t e_machine);
const MACHINE_FAMILY* machine_family_by_nucoff(uint16_t target_id);

}  // namespace OFE

#endif

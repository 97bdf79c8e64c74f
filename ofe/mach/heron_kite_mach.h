#ifndef ARWREN_OFE_MACH_HERON_KITE_MACH_H
#define ARWREN_OFE_MACH_HERON_KITE_MACH_H

#include "ofe/mach/family_mach.h"

namespace OFE {

// HERON and KITE keep small common blocks at the first processor-specific
// ELF section index, 0xFF00; both report symbols there as common, so that
// the archive indexes them like ordinary common blocks.

class HERON_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit HERON_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_HERON) {}
    bool elf_sym_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind) override;
};

class KITE_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit KITE_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_KITE) {}
    bool elf_sym_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind) override;
};

}  // namespace OFE

#endif

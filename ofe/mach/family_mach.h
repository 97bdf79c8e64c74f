#ifndef ARWREN_OFE_MACH_FAMILY_MACH_H
#define ARWREN_OFE_MACH_FAMILY_MACH_H

#include "ofe/mach/machine_table.h"
#include "ofe/of_machine_db.h"

namespace OFE {

// The database of a known family, answering from the family's table row.
// Families whose only difference is data (numbers, unit size, a small-common
// section index) need no class of their own.
class FAMILY_MACHINE_DB : public OF_MACHINE_DB {
public:
    FAMILY_MACHINE_DB(OBJECT_FILE* file, const MACHINE_FAMILY& family)
        : OF_MACHINE_DB(file), family_(family) {}

    OF_MACHINE machine() const override { return family_.machine; }
    unsigned nucoff_magic() const override { return family_.nucoff_target; }
    unsigned elf_magic() const override { return family_.elf_machine; }
    unsigned unit_size() const override { return family_.unit_bits; }
    bool elf_sym_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind) override;

    const MACHINE_FAMILY& family() const { return family_; }

private:
    const MACHINE_FAMILY& family_;
};

}  // namespace OFE

#endif

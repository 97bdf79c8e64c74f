#ifndef ARWREN_OFE_MACH_FAMILY_MACH_H
#define ARWREN_OFE_MACH_FAMILY_MACH_H

#include "ofe/mach/machine_table.h"
#include "ofe/of_machine_db.h"

namespace OFE {

// The shared base of the family databases: it answers the family's numbers
// and unit size from the family's row of the machine table, so that each
// family class adds only the rules that are its own.
class FAMILY_MACHINE_DB : public OF_MACHINE_DB {
public:
    OF_MACHINE machine() const override { return family_.machine; }
    unsigned nucoff_magic() const override { return family_.nucoff_target; }
    unsigned elf_magic() const override { return family_.elf_machine; }
    unsigned unit_size() const override { return family_.unit_bits; }

    const MACHINE_FAMILY& family() const { return family_; }

protected:
    // machine must be a family of the table (1 to OF_MACHINE_LAST).
    FAMILY_MACHINE_DB(OBJECT_FILE* file, OF_MACHINE machine)
        : OF_MACHINE_DB(file), family_(*machine_family(machine)) {}

private:
    const MACHINE_FAMILY& family_;
};

}  // namespace OFE

#endif

#ifndef ARWREN_OFE_MACH_ROBIN_MACH_H
#define ARWREN_OFE_MACH_ROBIN_MACH_H

#include "ofe/mach/family_mach.h"

namespace OFE {

// ROBIN and ROBINP parts come in several memory widths: the addressable unit
// is a property of each file (set by its loader), not of the family.
class ROBIN_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    ROBIN_MACHINE_DB(OBJECT_FILE* file, const MACHINE_FAMILY& family)
        : FAMILY_MACHINE_DB(file, family), unit_bits_(kDefaultUnitBits) {}

    unsigned unit_size() const override { return unit_bits_; }
    void set_unit_size(unsigned bits) { unit_bits_ = bits; }

private:
    static const unsigned kDefaultUnitBits = 8;
    unsigned unit_bits_;
};

}  // namespace OFE

#endif

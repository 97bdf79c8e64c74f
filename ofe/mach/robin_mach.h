#ifndef ARWREN_OFE_MACH_ROBIN_MACH_H
#define ARWREN_OFE_MACH_ROBIN_MACH_H

#include "ofe/mach/family_mach.h"

namespace OFE {

// ROBIN and ROBIN plus parts come in several memory widths: the addressable
// unit is a property of each file (set by its loader), not of the family.

class ROBIN_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit ROBIN_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_ROBIN) {}

    unsigned unit_size() const override { return unit_bits_; }
    void set_unit_size(unsigned bits) { unit_bits_ = bits; }

private:
    unsigned unit_bits_ = 8;
};

class ROBINP_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit ROBINP_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_ROBINP) {}

    unsigned unit_size() const override { return unit_bits_; }
    void set_unit_size(unsigned bits) { unit_bits_ = bits; }

private:
    unsigned unit_bits_ = 8;
};

}  // namespace OFE

#endif

#ifndef ARWREN_OFE_MACH_PLAIN_MACH_H
#define ARWREN_OFE_MACH_PLAIN_MACH_H

#include "ofe/mach/family_mach.h"

namespace OFE {

// The families that differ from the others only by their row of the machine
// table: numbers, names and unit size, no rule of their own.

class ARM_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit ARM_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_ARM) {}
};

class LARK_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit LARK_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_LARK) {}
};

class FINCH_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit FINCH_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_FINCH) {}
};

// OWL objects carry KITE's COFF target ID, so a COFF file read back never
// gets this database; only one made for OWL does.
class OWL_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit OWL_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_OWL) {}
};

class SWIFT_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit SWIFT_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_SWIFT) {}
};

class EGRET_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    explicit EGRET_MACHINE_DB(OBJECT_FILE* file) : FAMILY_MACHINE_DB(file, OF_MACHINE_EGRET) {}
};

}  // namespace OFE

#endif

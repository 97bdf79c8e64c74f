#ifndef ARWREN_OFE_MACH_WREN_MACH_H
#define ARWREN_OFE_MACH_WREN_MACH_H

#include <cstdint>

#include "ofe/mach/family_mach.h"

namespace OFE {

// WREN, the family this archiver serves: 16-bit addressable units (from the
// table), a memory model and an addressing mode taken from the COFF file
// header flags, and scratch-pad boundary symbols that may be defined twice.
//
// The flags carry each setting as a pair of bits, one per value, so that a
// producer that records neither (or, wrongly, both) reads as unknown:
//     0x0400 small memory model    0x0800 large memory model
//     0x1000 Amode                 0x2000 No Amode
class WREN_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    enum MEMORY_MODEL { SMALL_MODEL = 0, LARGE_MODEL = 1, UNKNOWN_MODEL = 2 };
    enum ADDRESSING { NO_AMODE = 0, AMODE = 1, UNKNOWN_AMODE = 2 };

    static const uint16_t F_SMALL_MODEL = 0x0400;
    static const uint16_t F_LARGE_MODEL = 0x0800;
    static const uint16_t F_AMODE = 0x1000;
    static const uint16_t F_NO_AMODE = 0x2000;

    explicit WREN_MACHINE_DB(OBJECT_FILE* file)
        : FAMILY_MACHINE_DB(file, OF_MACHINE_WREN), memory_model_(UNKNOWN_MODEL), addressing_(UNKNOWN_AMODE) {}

    void set_nucoff_fh(const filehdr& header) override;
    void set_memory_model(unsigned long model) { memory_model_ = model; }
    void set_addressing_mode(unsigned long mode) { addressing_ = mode; }
    unsigned long memory_model() const { return memory_model_; }
    unsigned long addressing_mode() const { return addressing_; }

    static const char* memory_model_name(unsigned long model);
    static const char* addressing_mode_name(unsigned long mode);
    static bool is_muldef_ok(const char* name);

private:
    unsigned long memory_model_;
    unsigned long addressing_;
};

}  // namespace OFE

#endif

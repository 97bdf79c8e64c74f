#ifndef ARWREN_OFE_MACH_WREN_MACH_H
#define ARWREN_OFE_MACH_WREN_MACH_H

#include "ofe/mach/family_mach.h"

namespace OFE {

// WREN, the family this archiver serves: 16-bit addressable units (from the
// table), a memory model and an addressing mode taken from the COFF file
// header flags, and scratch-pad boundary symbols that may be defined twice.
class WREN_MACHINE_DB : public FAMILY_MACHINE_DB {
public:
    enum MEMORY_MODEL { SMALL_MODEL = 0, LARGE_MODEL = 1 };
    enum ADDRESSING { NO_AMODE = 0, AMODE = 1 };

    explicit WREN_MACHINE_DB(OBJECT_FILE* file)
        : FAMILY_MACHINE_DB(file, OF_MACHINE_WREN), memory_model_(SMALL_MODEL), addressing_(NO_AMODE) {}

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

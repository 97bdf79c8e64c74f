#include "ofe/mach/wren_mach.h"

#include <cstring>

#include "ofe/coff/nucoff_records.h"

namespace OFE {

namespace {

// One of the two bits set gives its value; none or both, the unknown one.
unsigned long from_bit_pair(uint16_t flags, uint16_t first_bit, uint16_t second_bit,
                            unsigned long first, unsigned long second, unsigned long unknown) {
    const bool has_first = flags & first_bit;
    const bool has_second = flags & second_bit;
    if (has_first == has_second)
        return unknown;
    return has_first ? first : second;
}

}  // namespace

void WREN_MACHINE_DB::set_nucoff_fh(const filehdr& header) {
    memory_model_ = from_bit_pair(header.f_flags, F_SMALL_MODEL, F_LARGE_MODEL, SMALL_MODEL, LARGE_MODEL,
                                  UNKNOWN_MODEL);
    addressing_ = from_bit_pair(header.f_flags, F_AMODE, F_NO_AMODE, AMODE, NO_AMODE, UNKNOWN_AMODE);
}

const char* WREN_MACHINE_DB::memory_model_name(unsigned long model) {
    switch (model) {
    case SMALL_MODEL: return "small";
    case LARGE_MODEL: return "large";
    default: return "(unknown)";
    }
}

const char* WREN_MACHINE_DB::addressing_mode_name(unsigned long mode) {
    switch (mode) {
    case AMODE: return "Amode";
    case NO_AMODE: return "No Amode";
    default: return "(unknown)";
    }
}

// The accelerator's scratch-pad bounds are emitted by every module that uses
// the accelerator; the copies are identical, so repeating them is harmless.
bool WREN_MACHINE_DB::is_muldef_ok(const char* name) {
    static const char* const kScratchPadBounds[] = {
        "__wren_scratch_base", "__wren_scratch_limit", "__wren_scratch_size"};
    if (!name)
        return false;
    for (const char* bound : kScratchPadBounds)
        if (strcmp(name, bound) == 0)
            return true;
    return false;
}

}  // namespace OFE

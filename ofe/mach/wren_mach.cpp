#include "ofe/mach/wren_mach.h"

#include <cstring>

namespace OFE {

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

#include "ofe/of_machine_db.h"

#include "ofe/mach/family_mach.h"
#include "ofe/mach/machine_table.h"
#include "ofe/mach/robin_mach.h"
#include "ofe/mach/wren_mach.h"
#include "ofe/object_file.h"

namespace OFE {

OF_MACHINE_DB* OF_MACHINE_DB::machine_db(OBJECT_FILE* file, OF_MACHINE machine) {
    const MACHINE_FAMILY* family = machine_family(machine);
    if (!family)
        return new OF_MACHINE_DB(file);
    switch (machine) {
    case OF_MACHINE_WREN:
        return new WREN_MACHINE_DB(file, *family);
    case OF_MACHINE_ROBIN:
    case OF_MACHINE_ROBINP:
        return new ROBIN_MACHINE_DB(file, *family);
    default:
        return new FAMILY_MACHINE_DB(file, *family);
    }
}

OF_ENDIAN OF_MACHINE_DB::of_section_endian(OF_SECTION*) {
    return file_ ? file_->control_endian() : OF_ENDIAN_UNKNOWN;
}

bool OF_MACHINE_DB::elf_sym_kind(ELF_SYMBOL*, OF_SYM_KIND& kind) {
    kind = OF_SYM_KIND_UNKNOWN;
    return false;
}

}  // namespace OFE

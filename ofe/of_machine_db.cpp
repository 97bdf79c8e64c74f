#include "ofe/of_machine_db.h"

#include "ofe/mach/heron_kite_mach.h"
#include "ofe/mach/plain_mach.h"
#include "ofe/mach/robin_mach.h"
#include "ofe/mach/wren_mach.h"
#include "ofe/object_file.h"

namespace OFE {

OF_MACHINE_DB* OF_MACHINE_DB::machine_db(OBJECT_FILE* file, OF_MACHINE machine) {
    switch (machine) {
    case OF_MACHINE_ARM: return new ARM_MACHINE_DB(file);
    case OF_MACHINE_LARK: return new LARK_MACHINE_DB(file);
    case OF_MACHINE_WREN: return new WREN_MACHINE_DB(file);
    case OF_MACHINE_FINCH: return new FINCH_MACHINE_DB(file);
    case OF_MACHINE_ROBIN: return new ROBIN_MACHINE_DB(file);
    case OF_MACHINE_HERON: return new HERON_MACHINE_DB(file);
    case OF_MACHINE_ROBINP: return new ROBINP_MACHINE_DB(file);
    case OF_MACHINE_OWL: return new OWL_MACHINE_DB(file);
    case OF_MACHINE_KITE: return new KITE_MACHINE_DB(file);
    case OF_MACHINE_SWIFT: return new SWIFT_MACHINE_DB(file);
    case OF_MACHINE_EGRET: return new EGRET_MACHINE_DB(file);
    default: return new OF_MACHINE_DB(file);   // unknown family: the base behaviour
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

#include "ofe/mach/family_mach.h"

#include "ofe/elf/elf_symbol.h"

namespace OFE {

// Families with a small-common section index (HERON, KITE) report symbols
// there as common, so the archive indexes them like ordinary common blocks.
bool FAMILY_MACHINE_DB::elf_sym_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind) {
    if (family_.near_common_shndx != 0 && symbol && symbol->shndx() == family_.near_common_shndx) {
        kind = OF_SYM_KIND_COMMON;
        return true;
    }
    return OF_MACHINE_DB::elf_sym_kind(symbol, kind);
}

}  // namespace OFE

#include "ofe/mach/heron_kite_mach.h"

#include "ofe/elf/elf_symbol.h"

namespace OFE {

namespace {

const uint16_t SHN_SMALL_COMMON = 0xFF00;

// Common for a symbol in the small-common index; every other symbol is left
// to the ELF back end's own rule (kind unknown, answer false).
bool small_common_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind) {
    const bool small_common = symbol && symbol->shndx() == SHN_SMALL_COMMON;
    kind = small_common ? OF_SYM_KIND_COMMON : OF_SYM_KIND_UNKNOWN;
    return small_common;
}

}  // namespace

bool HERON_MACHINE_DB::elf_sym_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind) {
    return small_common_kind(symbol, kind);
}

bool KITE_MACHINE_DB::elf_sym_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind) {
    return small_common_kind(symbol, kind);
}

}  // namespace OFE

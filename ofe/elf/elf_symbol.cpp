#include "ofe/elf/elf_symbol.h"

#include "ofe/elf/elf_symbol_table.h"
#include "ofe/object_file.h"
#include "ofe/of_machine_db.h"

namespace OFE {

ELF_SYMBOL::ELF_SYMBOL(ELF_SYMBOL_TABLE* table)
    : OF_SYMBOL(table), record_(), extended_shndx_(0), version_index_(0) {}

// SHN_XINDEX stands for a real section whose index did not fit: it refers to
// a section whether or not the extended-index table could be found.
bool ELF_SYMBOL::refs_section() {
    const uint16_t index = record_.st_shndx;
    if (index == SHN_UNDEF)
        return false;
    if (index == SHN_XINDEX)
        return true;
    return index < SHN_LORESERVE;
}

unsigned long ELF_SYMBOL::section_id() {
    return record_.st_shndx == SHN_XINDEX ? extended_shndx_ : record_.st_shndx;
}

// The family is asked before the reserved-index rule, so that it can claim
// its own processor-specific indexes. The ELF type takes no part.
OF_SYM_KIND ELF_SYMBOL::kind() {
    if (refs_section() || is_alias())
        return OF_SYM_KIND_DEFINED;
    OF_SYM_KIND kind = OF_SYM_KIND_UNKNOWN;
    OF_MACHINE_DB* db = owner() && owner()->owner() ? owner()->owner()->machine_db() : nullptr;
    if (db && db->elf_sym_kind(this, kind))
        return kind;
    switch (record_.st_shndx) {
    case SHN_ABS: return OF_SYM_KIND_ABSOLUTE;
    case SHN_COMMON: return OF_SYM_KIND_COMMON;
    case SHN_UNDEF: return OF_SYM_KIND_UNDEFINED;
    default: return OF_SYM_KIND_UNKNOWN;
    }
}

// OS- and processor-specific bindings (STB_GNU_UNIQUE among them) are unknown.
OF_SYM_BINDING ELF_SYMBOL::binding() {
    switch (record_.st_info >> 4) {
    case STB_LOCAL: return OF_SYM_BINDING_LOCAL;
    case STB_GLOBAL: return OF_SYM_BINDING_GLOBAL;
    case STB_WEAK: return OF_SYM_BINDING_WEAK;
    default: return OF_SYM_BINDING_UNKNOWN;
    }
}

// STT_NOTYPE..STT_TLS map one to one; every other type reads as none.
OF_SYM_TYPE ELF_SYMBOL::type() {
    const unsigned elf_type = record_.st_info & 0x0F;
    return elf_type <= OF_SYM_TYPE_TLS ? static_cast<OF_SYM_TYPE>(elf_type) : OF_SYM_TYPE_NONE;
}

}  // namespace OFE

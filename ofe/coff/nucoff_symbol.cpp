#include "ofe/coff/nucoff_symbol.h"

#include "ofe/coff/nucoff_symbol_table.h"

namespace OFE {

namespace {

const unsigned DT_FCN = 2;   // derived types, in bits 4-5 of the type
const unsigned DT_ARY = 3;

unsigned derived_type(uint16_t type) { return (type >> 4) & 3; }

}  // namespace

NUCOFF_SYMBOL::NUCOFF_SYMBOL(NUCOFF_SYMBOL_TABLE* table) : OF_SYMBOL(table), entry_() {}

bool NUCOFF_SYMBOL::refs_section() {
    const int16_t section = entry_.n_scnum;
    return section != N_UNDEF && section != N_ABS && section != N_DEBUG;
}

// A common block (section 0, non-zero value) is deliberately undefined:
// this back end never reports "common".
OF_SYM_KIND NUCOFF_SYMBOL::kind() {
    if (refs_section())
        return OF_SYM_KIND_DEFINED;
    switch (entry_.n_scnum) {
    case N_DEBUG: return OF_SYM_KIND_DEBUG;
    case N_ABS: return OF_SYM_KIND_ABSOLUTE;
    default: return OF_SYM_KIND_UNDEFINED;
    }
}

// On the storage class read as a signed byte, so classes 128 to 255 are
// local like every class not listed. Nothing is ever weak.
OF_SYM_BINDING NUCOFF_SYMBOL::binding() {
    switch (static_cast<int8_t>(entry_.n_sclass)) {
    case C_NULL:
        return OF_SYM_BINDING_UNKNOWN;
    case C_EXT:
    case C_EXTREF:
    case C_UEXT:
    case C_EXTLAB:
    case C_SYSTEM:
    case C_EXTREG:
    case C_EXTREFREG:
    case C_EXTDEF:
    case C_EMOG:
        return OF_SYM_BINDING_GLOBAL;
    default:
        return OF_SYM_BINDING_LOCAL;
    }
}

OF_SYM_TYPE NUCOFF_SYMBOL::type() {
    if (entry_.n_sclass == C_FILE)
        return OF_SYM_TYPE_FILE;
    if (derived_type(entry_.n_type) == DT_FCN)
        return OF_SYM_TYPE_FUNCTION;
    return entry_.n_type != 0 ? OF_SYM_TYPE_OBJECT : OF_SYM_TYPE_NONE;
}

// The size kept in the first aux entry, where its kind has one.
unsigned long NUCOFF_SYMBOL::size() {
    if (aux_.empty())
        return 0;
    const auxent& first = aux_[0].entry;
    switch (aux_[0].kind) {
    case NUCOFF_AUX_SCN: return static_cast<uint32_t>(first.x_scn.x_scnlen);
    case NUCOFF_AUX_FUNC: return static_cast<uint32_t>(first.x_func.x_fsize);
    case NUCOFF_AUX_SYM: return static_cast<uint32_t>(first.x_sym.x_size);
    case NUCOFF_AUX_EOS: return static_cast<uint32_t>(first.x_eos.x_size);
    case NUCOFF_AUX_TAG: return static_cast<uint32_t>(first.x_tag.x_size);
    case NUCOFF_AUX_ARRAY: return static_cast<uint32_t>(first.x_array.x_size);
    default: return 0;
    }
}

// A file entry's aux holds the file name in every format version. A label
// gets none, so that its aux entries are dropped (see the symbol table).
NUCOFF_AUX_TYPE NUCOFF_SYMBOL::aux_type(const syment& entry) {
    if (entry.n_numaux == 0)
        return NUCOFF_AUX_NONE;
    switch (entry.n_sclass) {
    case C_FILE: return NUCOFF_AUX_FILE;
    case C_LABEL: return NUCOFF_AUX_NONE;
    case C_STRTAG:
    case C_UNTAG:
    case C_ENTAG: return NUCOFF_AUX_TAG;
    case C_TPDEF: return NUCOFF_AUX_SYM;
    case C_BLOCK:
    case C_FCN: return NUCOFF_AUX_BLOCK;
    case C_EOS: return NUCOFF_AUX_EOS;
    default: break;
    }
    switch (derived_type(entry.n_type)) {
    case DT_FCN: return NUCOFF_AUX_FUNC;
    case DT_ARY: return NUCOFF_AUX_ARRAY;
    default: return entry.n_type != 0 ? NUCOFF_AUX_SYM : NUCOFF_AUX_SCN;
    }
}

const char* NUCOFF_SYMBOL::storage_class_name(int storage_class) {
    static const char* const kLow[] = {
        "C_NULL", "C_AUTO", "C_EXT", "C_STAT", "C_REG", "C_EXTREF", "C_LABEL", "C_ULABEL",
        "C_MOS", "C_ARG", "C_STRTAG", "C_MOU", "C_UNTAG", "C_TPDEF", "C_USTATIC", "C_ENTAG",
        "C_MOE", "C_REGPARM", "C_FIELD", "C_UEXT", "C_STATLAB", "C_EXTLAB", "C_VREG", "C_SYSTEM",
        "C_STATREG", "C_EXTREG", "C_EXTREFREG", "C_VARARG", "C_EXTDEF", "C_USTATREG"};
    static const char* const kHigh[] = {"C_BLOCK", "C_FCN", "C_EOS", "C_FILE", "C_LINE", "C_ALIAS",
                                        "C_PREF", "C_GRPTAG", "C_SMOG", "C_EMOG", "C_EOG"};
    const int low_count = sizeof kLow / sizeof kLow[0];
    const int high_count = sizeof kHigh / sizeof kHigh[0];
    if (storage_class >= 0 && storage_class < low_count)
        return kLow[storage_class];
    if (storage_class >= C_BLOCK && storage_class < C_BLOCK + high_count)
        return kHigh[storage_class - C_BLOCK];
    return "C_UNKNOWN";
}

}  // namespace OFE

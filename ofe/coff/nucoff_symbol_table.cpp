#include "ofe/coff/nucoff_symbol_table.h"

#include <algorithm>

#include "ofe/coff/nucoff_file.h"
#include "ofe/coff/nucoff_string_table.h"
#include "ofe/coff/nucoff_symbol.h"

namespace OFE {

namespace {

typedef int (*AUX_READER)(const DATA_MAP&, auxent&, bool);

// Indexed by NUCOFF_AUX_TYPE.
const AUX_READER kAuxReaders[] = {nullptr,
                                  read_NUCoff_aux_tag,
                                  read_NUCoff_aux_eos,
                                  read_NUCoff_aux_func,
                                  read_NUCoff_aux_block,
                                  read_NUCoff_aux_array,
                                  read_NUCoff_aux_sym,
                                  read_NUCoff_aux_file,
                                  read_NUCoff_aux_scn};

}  // namespace

// The count is what the object holds: a table cut short by the end of the
// object has fewer entries rather than phantom ones, and a file without a
// symbol table (offset 0) has none.
NUCOFF_SYMBOL_TABLE::NUCOFF_SYMBOL_TABLE(NUCOFF_FILE* file) : OF_SYMBOL_TABLE(file), file_(file) {
    const filehdr& header = file->header();
    if (header.f_symptr == 0 || !file->has_file())
        return;
    const uint32_t count = static_cast<uint32_t>(header.f_nsyms);
    file->get_file_data(raw_data(), static_cast<uint32_t>(header.f_symptr),
                        file->clamped(uint64_t(count) * NUCOFF_SYMESZ));
    set_symnum(std::min<unsigned long>(count, raw_data().size() / NUCOFF_SYMESZ));
}

unsigned long NUCOFF_SYMBOL_TABLE::symbol_size() { return NUCOFF_SYMESZ; }

OF_SYMBOL* NUCOFF_SYMBOL_TABLE::alloc_symbol(unsigned long) { return new NUCOFF_SYMBOL(this); }

OF_SECTION_TABLE* NUCOFF_SYMBOL_TABLE::section_table() { return file_->section_table(); }

unsigned long NUCOFF_SYMBOL_TABLE::next_symbol_id(unsigned long id) {
    if (file_->format() != OF_FORMAT_NUCOFF) {
        file_->set_error(OF_ERR_CORRUPT, "attempting to get NU-COFF interface for non-NU-COFF file");
        return id + 1;
    }
    NUCOFF_SYMBOL* symbol = static_cast<NUCOFF_SYMBOL*>(this->symbol(id));
    return id + 1 + (symbol ? symbol->aux_count() : 0);
}

// The symbol is stored before anything can fail, so that a walk goes on
// past a symbol whose aux entries are not understood.
OF_SYMBOL* NUCOFF_SYMBOL_TABLE::load_symbol_into_mem(unsigned long id) {
    if (!file_->has_file())
        return nullptr;
    if (OF_SYMBOL* cached = cached_symbol(id))
        return cached;
    NUCOFF_SYMBOL* symbol = static_cast<NUCOFF_SYMBOL*>(alloc_symbol(id));
    store_symbol(id, symbol);
    const DATA_MAP& raw = raw_data();
    raw.set_cursor(static_cast<uint32_t>(id * NUCOFF_SYMESZ));
    read_NUCoff_syment(raw, symbol->entry(), file_->swaps_records());
    name_symbol(symbol);
    load_aux_entries(symbol, id);
    return symbol;
}

// Inline names get the terminator that an 8-character name lacks in the
// file; other names are looked up in the string table.
void NUCOFF_SYMBOL_TABLE::name_symbol(NUCOFF_SYMBOL* symbol) {
    const syment& entry = symbol->entry();
    if (NUCoff_name_word(entry.n_name, 0) != 0) {
        char name[NUCOFF_NAME_LENGTH + 1] = {};
        std::copy(entry.n_name, entry.n_name + NUCOFF_NAME_LENGTH, name);
        symbol->set_name(name);
        return;
    }
    NUCOFF_STRING_TABLE* strings = file_->string_table();
    symbol->set_name(strings ? strings->get_string(NUCoff_name_word(entry.n_name, 1)) : nullptr);
}

// The cursor stands right after the symbol's entry. Aux entries that would
// lie past the end of the table are not read; the walk ends at them anyway.
void NUCOFF_SYMBOL_TABLE::load_aux_entries(NUCOFF_SYMBOL* symbol, unsigned long id) {
    syment& entry = symbol->entry();
    const NUCOFF_AUX_TYPE kind = NUCOFF_SYMBOL::aux_type(entry);
    if (kind == NUCOFF_AUX_NONE && entry.n_numaux != 0) {
        // A label's aux entries are dropped without complaint by setting its
        // aux count to 0, so the walk reads the entry after the label as a
        // symbol of its own, whatever it holds. Kept on purpose.
        if (entry.n_sclass == C_LABEL) {
            entry.n_numaux = 0;
            return;
        }
        const char* name = symbol->name();
        file_->set_error(OF_ERR_CORRUPT,
                         "unrecognized auxiliary entry for symbol \"%s\" (index = %ld, storage class = %s)",
                         name ? name : "", static_cast<long>(id), NUCOFF_SYMBOL::storage_class_name(entry.n_sclass));
        return;
    }
    const unsigned long present = std::min<unsigned long>(entry.n_numaux, symnum() - id - 1);
    for (unsigned long i = 0; i < present; ++i) {
        auxent aux;
        kAuxReaders[kind](raw_data(), aux, file_->swaps_records());
        symbol->add_aux(aux, kind);
    }
}

}  // namespace OFE

#include "ofe/of_symbol_table.h"

#include <cstring>

#include "ofe/object_file.h"
#include "ofe/of_machine_db.h"

namespace OFE {

OF_SYMBOL_TABLE::~OF_SYMBOL_TABLE() {
    for (OF_SYMBOL* symbol : symbols_)
        delete symbol;
}

bool OF_SYMBOL_TABLE::file_backed() const { return owner() && owner()->has_file(); }

void OF_SYMBOL_TABLE::store_symbol(unsigned long id, OF_SYMBOL* symbol) {
    if (symbols_.size() <= id)
        symbols_.resize(id + 1, nullptr);   // mutants: skip (a spare null slot at the end is never read)
    if (symbols_[id] != symbol)
        delete symbols_[id];
    symbols_[id] = symbol;
}

OF_SYMBOL* OF_SYMBOL_TABLE::symbol(unsigned long id) {
    const unsigned long count = symnum();
    if (id >= count)
        return nullptr;
    if (symbols_.size() < count)
        symbols_.resize(count, nullptr);
    if (!symbols_[id])
        load_symbol_into_mem(id);
    return id < symbols_.size() ? symbols_[id] : nullptr;
}

OF_SYMBOL* OF_SYMBOL_TABLE::symbol_name(const char* name, unsigned long start) {
    if (!name)
        return nullptr;
    for (unsigned long id = start; id < symnum(); id = next_symbol_id(id)) {
        OF_SYMBOL* candidate = symbol(id);
        if (candidate && candidate->name() && strcmp(candidate->name(), name) == 0)
            return candidate;
    }
    return nullptr;
}

OF_SYMBOL* OF_SYMBOL_TABLE::new_symbol() {
    if (max_state(OF_STATE_OPEN) != 0)
        return nullptr;
    const unsigned long id = symnum();
    OF_SYMBOL* symbol = alloc_symbol(id);
    store_symbol(id, symbol);
    if (translations_.size() <= id)
        translations_.resize(id + 1, 0);
    translations_[id] = static_cast<uint32_t>(id);
    set_symnum(id + 1);
    if (owner() && owner()->machine_db())
        owner()->machine_db()->of_process_new_symbol(symbol);
    return symbol;
}

// Every record is now in memory, so the raw bytes are released.
void OF_SYMBOL_TABLE::load_all_symbols_into_mem() {
    if (!file_backed())
        return;
    for (unsigned long id = 0; id < symnum(); id = next_symbol_id(id))
        if (!cached_symbol(id))
            load_symbol_into_mem(id);
    raw_.unload();
}

// A symbol that another resolves is kept: the link to its resolver exists
// only in memory and would be lost on re-reading.
void OF_SYMBOL_TABLE::unload_symbol(unsigned long id) {
    if (!file_backed() || id >= symnum() || id >= symbols_.size())
        return;
    OF_SYMBOL* symbol = symbols_[id];
    if (!symbol || symbol->resolved_by())
        return;
    delete symbol;
    symbols_[id] = nullptr;
}

void OF_SYMBOL_TABLE::unload() {
    if (!file_backed())
        return;
    unsigned long id = 0;
    while (id < symnum()) {
        const unsigned long next = next_symbol_id(id);
        unload_symbol(id);
        id = next;
    }
}

void OF_SYMBOL_TABLE::clear() {
    for (OF_SYMBOL* symbol : symbols_)
        delete symbol;
    symbols_.clear();
    translations_.clear();
    symnum_ = 0;
    raw_.clear();
}

}  // namespace OFE

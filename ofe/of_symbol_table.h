#ifndef ARWREN_OFE_OF_SYMBOL_TABLE_H
#define ARWREN_OFE_OF_SYMBOL_TABLE_H

#include <cstdint>
#include <vector>

#include "ofe/of_state_machine.h"
#include "ofe/of_symbol.h"
#include "support/data_map.h"

namespace OFE {

class OF_SECTION_TABLE;

// The symbols of one object file, indexed by id and read lazily: a symbol is
// read the first time its id is asked for and can be dropped again. Ids are
// record indexes in the file's raw table; not every id names a symbol (COFF
// auxiliary records), so callers walk with next_symbol_id:
//     for (id = 0; id < symnum(); id = next_symbol_id(id)) symbol(id) ...
class OF_SYMBOL_TABLE : public OF_STATE_MACHINE {
public:
    explicit OF_SYMBOL_TABLE(OBJECT_FILE* file) : OF_STATE_MACHINE(file), symnum_(0) {}
    ~OF_SYMBOL_TABLE() override;

    virtual const char* name() { return ""; }
    virtual OF_SYMBOL* symbol(unsigned long id);               // null for ids out of range
    virtual OF_SYMBOL* symbol_name(const char* name, unsigned long start);
    virtual unsigned long next_symbol_id(unsigned long id) = 0;
    virtual OF_SYMBOL* new_symbol();                           // an in-memory symbol at the end
    virtual unsigned long symnum() { return symnum_; }
    virtual unsigned long symbol_size() = 0;                   // bytes of one raw record
    virtual void load_all_symbols_into_mem();
    virtual void unload_symbol(unsigned long id);
    virtual void unload();
    virtual void clear();
    virtual OF_SYMBOL* alloc_symbol(unsigned long id) = 0;
    // Reads record id, builds its symbol and stores it (store_symbol).
    virtual OF_SYMBOL* load_symbol_into_mem(unsigned long id) = 0;
    virtual OF_SECTION_TABLE* section_table() = 0;

protected:
    const DATA_MAP& raw_data() const { return raw_; }
    DATA_MAP& raw_data() { return raw_; }
    void set_symnum(unsigned long count) { symnum_ = static_cast<uint32_t>(count); }
    OF_SYMBOL* cached_symbol(unsigned long id) const {
        return id < symbols_.size() ? symbols_[id] : nullptr;
    }
    void store_symbol(unsigned long id, OF_SYMBOL* symbol);
    // Symbols made in memory could not be read back, so only a table whose
    // file is open ever drops them.
    bool file_backed() const;

private:
    DATA_MAP raw_;
    std::vector<uint32_t> translations_;   // per id: the id it had before renumbering
    std::vector<OF_SYMBOL*> symbols_;      // per id: the symbol, null while not in memory
    uint32_t symnum_;
};

}  // namespace OFE

#endif

#ifndef ARWREN_OFE_COFF_NUCOFF_SYMBOL_TABLE_H
#define ARWREN_OFE_COFF_NUCOFF_SYMBOL_TABLE_H

#include "ofe/of_symbol_table.h"

namespace OFE {

class NUCOFF_FILE;
class NUCOFF_SYMBOL;

// The symbol table of a NU-COFF file. Ids are entry indexes with aux entries
// counted, so a symbol with n aux entries is followed by the symbol n + 1 ids
// further on. The raw entries are bound when the table is made and read in
// one piece on the first symbol.
class NUCOFF_SYMBOL_TABLE : public OF_SYMBOL_TABLE {
public:
    explicit NUCOFF_SYMBOL_TABLE(NUCOFF_FILE* file);

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    unsigned long next_symbol_id(unsigned long id) override;
    unsigned long symbol_size() override;
    OF_SYMBOL* alloc_symbol(unsigned long id) override;
    OF_SYMBOL* load_symbol_into_mem(unsigned long id) override;
    OF_SECTION_TABLE* section_table() override;

private:
    void name_symbol(NUCOFF_SYMBOL* symbol);
    void load_aux_entries(NUCOFF_SYMBOL* symbol, unsigned long id);

    NUCOFF_FILE* file_;
};

}  // namespace OFE

#endif

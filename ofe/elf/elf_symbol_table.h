#ifndef ARWREN_OFE_ELF_ELF_SYMBOL_TABLE_H
#define ARWREN_OFE_ELF_ELF_SYMBOL_TABLE_H

#include "ofe/of_symbol_table.h"

namespace OFE {

class ELF_FILE;
class ELF_SECTION;
class OF_STRING_TABLE;

// The symbols of one SHT_SYMTAB (or SHT_DYNSYM) section. Ids are the records'
// indexes, so id 0 is the reserved null symbol and ids step by one. The raw
// data is the section's contents, read in one piece on the first symbol.
class ELF_SYMBOL_TABLE : public OF_SYMBOL_TABLE {
public:
    ELF_SYMBOL_TABLE(ELF_FILE* file, ELF_SECTION* section);

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    const char* name() override;
    unsigned long next_symbol_id(unsigned long id) override { return id + 1; }
    unsigned long symbol_size() override;
    OF_SYMBOL* alloc_symbol(unsigned long id) override;
    OF_SYMBOL* load_symbol_into_mem(unsigned long id) override;
    OF_SECTION_TABLE* section_table() override;

    ELF_SECTION* section() const { return section_; }
    // The names' table: by sh_link, else by name; null (and reported) if none.
    OF_STRING_TABLE* string_table();

private:
    uint32_t read_extended_shndx(unsigned long id);
    ELF_SECTION* extended_index_section();
    ELF_SECTION* section_by_name(const char* name);

    ELF_FILE* file_;
    ELF_SECTION* section_;
    OF_STRING_TABLE* strings_;            // owned by its section
    ELF_SECTION* extended_index_;         // the SHT_SYMTAB_SHNDX section, once found
    bool extended_index_searched_;
};

}  // namespace OFE

#endif

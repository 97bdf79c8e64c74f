#ifndef ARWREN_OFE_ELF_ELF_SECTION_H
#define ARWREN_OFE_ELF_ELF_SECTION_H

#include "ofe/elf/elf_records.h"
#include "ofe/of_section.h"
#include "support/data_map.h"

namespace OFE {

class ELF_FILE;
class ELF_STRING_TABLE;
class ELF_SYMBOL_TABLE;

// One ELF section: its header (host byte order) and its contents, a map bound
// to the file that is read only when something looks at it. The string-table
// and symbol-table views of the section are made on first use.
class ELF_SECTION : public OF_SECTION {
public:
    ELF_SECTION(ELF_FILE* file, unsigned long index);
    ~ELF_SECTION() override;

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    unsigned long address() override { return header_.sh_addr; }
    unsigned long size() override { return header_.sh_size; }
    bool initialized() override;
    DATA_MAP& contents() override { return contents_; }

    Elf32_Shdr& header() { return header_; }
    unsigned long index() const { return index_; }
    ELF_FILE* elf_file() const { return file_; }
    ELF_STRING_TABLE* string_table();
    ELF_SYMBOL_TABLE* symbol_table();

private:
    ELF_FILE* file_;
    unsigned long index_;
    Elf32_Shdr header_;
    DATA_MAP contents_;
    ELF_STRING_TABLE* strings_;
    ELF_SYMBOL_TABLE* symbols_;
};

}  // namespace OFE

#endif

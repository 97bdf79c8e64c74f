#ifndef ARWREN_OFE_ELF_ELF_SECTION_TABLE_H
#define ARWREN_OFE_ELF_ELF_SECTION_TABLE_H

#include <cstdint>

#include "ofe/elf/elf_section.h"
#include "ofe/of_section_table.h"

namespace OFE {

class ELF_FILE;

// The section header table of an ELF file: bound as a whole when the file is
// loaded, each header read and named the first time its section is asked for.
class ELF_SECTION_TABLE : public OF_SECTION_TABLE {
public:
    explicit ELF_SECTION_TABLE(ELF_FILE* file);

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    unsigned long section_header_size() override { return entry_size_; }
    void clear() override;
    OF_SECTION* alloc_section(unsigned long id) override;
    int load(unsigned long offset, unsigned long entry_size, unsigned long count) override;
    OF_SECTION* load_section_into_mem(unsigned long id) override;

    ELF_SECTION* elf_section(unsigned long id) { return static_cast<ELF_SECTION*>(section(id)); }

    // Lookups that read the headers in place and load only the section they
    // find: a file of many sections that share one long name costs no
    // section and no name copy for those passed over.
    ELF_SECTION* section_named(const char* name);
    ELF_SECTION* section_of_type(uint32_t type, uint32_t link);

private:
    unsigned long fitting_count(unsigned long count);
    void bind_contents(ELF_SECTION* section);
    void name_section(ELF_SECTION* section);
    ELF_SECTION* names_section();
    void peek_header(unsigned long id, Elf32_Shdr& header) const;

    ELF_FILE* file_;
    uint32_t offset_;       // of the header table, from the object's first byte
    uint32_t entry_size_;
    bool bound_;            // the header map is bound (the file has sections)
};

}  // namespace OFE

#endif

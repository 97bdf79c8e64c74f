#ifndef ARWREN_OFE_COFF_NUCOFF_SECTION_TABLE_H
#define ARWREN_OFE_COFF_NUCOFF_SECTION_TABLE_H

#include <cstdint>

#include "ofe/coff/nucoff_section.h"
#include "ofe/of_section_table.h"

namespace OFE {

class NUCOFF_FILE;

// The section headers of a NU-COFF file: bound as a whole when the file is
// loaded, each header read and named the first time its section is asked for.
class NUCOFF_SECTION_TABLE : public OF_SECTION_TABLE {
public:
    explicit NUCOFF_SECTION_TABLE(NUCOFF_FILE* file);

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    unsigned long section_header_size() override { return entry_size_; }
    OF_SECTION* alloc_section(unsigned long id) override;
    int load(unsigned long offset, unsigned long entry_size, unsigned long count) override;
    OF_SECTION* load_section_into_mem(unsigned long id) override;

    NUCOFF_SECTION* nucoff_section(unsigned long id) { return static_cast<NUCOFF_SECTION*>(section(id)); }
    // Names the sections in memory again, once string-table names can be read.
    void rename_loaded_sections();

private:
    unsigned long fitting_count(unsigned long count);
    void bind_contents(NUCOFF_SECTION* section);

    NUCOFF_FILE* file_;
    uint32_t entry_size_;
};

}  // namespace OFE

#endif

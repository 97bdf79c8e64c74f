#ifndef ARWREN_OFE_ELF_ELF_STRING_TABLE_H
#define ARWREN_OFE_ELF_ELF_STRING_TABLE_H

#include "ofe/of_string_table.h"

namespace OFE {

class ELF_SECTION;

// The string table held in one ELF section; its bytes are the section's
// contents, bound to the file and read on first lookup.
class ELF_STRING_TABLE : public OF_STRING_TABLE {
public:
    ELF_STRING_TABLE(OBJECT_FILE* file, ELF_SECTION* section);

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    const char* name() override;

private:
    ELF_SECTION* section_;
};

}  // namespace OFE

#endif

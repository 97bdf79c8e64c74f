#ifndef ARWREN_OFE_COFF_NUCOFF_STRING_TABLE_H
#define ARWREN_OFE_COFF_NUCOFF_STRING_TABLE_H

#include "ofe/of_string_table.h"

namespace OFE {

// The string table that follows a NU-COFF symbol table: a 4-byte length
// (counting itself) and the names, addressed by their offset from the
// length word. The file binds its bytes when it loads.
class NUCOFF_STRING_TABLE : public OF_STRING_TABLE {
public:
    explicit NUCOFF_STRING_TABLE(OBJECT_FILE* file) : OF_STRING_TABLE(file) {}

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    // Null for an offset inside the length word, at or past the end of the
    // table, or of a string that runs off its end.
    const char* get_string(unsigned long offset) override;
};

}  // namespace OFE

#endif

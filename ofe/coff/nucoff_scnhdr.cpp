#include "ofe/coff/nucoff_scnhdr.h"

#include <cstring>

#include "ofe/of_string_table.h"

namespace OFE {

int NUCOFF_SCNHDR::read(const DATA_MAP& map, OF_FORMAT_VER version, bool swap) {
    version_ = version;
    switch (version) {
    case OF_FORMAT_VER_COFF0:
        return read_NUCoff_scnhdr0(map, header_.h0, swap);
    case OF_FORMAT_VER_COFF1:
    case OF_FORMAT_VER_COFF2:
        return read_NUCoff_scnhdr2(map, header_.h2, swap);
    default:
        return -1;
    }
}

const char* NUCOFF_SCNHDR::name(OF_STRING_TABLE* strings) const {
    const scnhdr2& h2 = header_.h2;
    if (long_form() && NUCoff_name_word(h2.s_name, 0) == 0)
        return strings ? strings->get_string(NUCoff_name_word(h2.s_name, 1)) : nullptr;
    // Room for the terminator that an 8-character name lacks in the file.
    static char inline_name[NUCOFF_NAME_LENGTH + 1];
    memcpy(inline_name, header_.h0.s_name, NUCOFF_NAME_LENGTH);
    inline_name[NUCOFF_NAME_LENGTH] = '\0';   // mutants: skip (never written, and static storage is zero)
    return inline_name;
}

}  // namespace OFE

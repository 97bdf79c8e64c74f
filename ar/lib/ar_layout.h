#ifndef ARWREN_AR_LIB_AR_LAYOUT_H
#define ARWREN_AR_LIB_AR_LAYOUT_H

#include <cstdint>
#include <vector>

#include "ar/lib/ar_file.h"

// Where everything goes in a new archive, decided before its first byte is
// written: magic, "/" index, long-name table, then the members in list order,
// each header at an even offset.
struct AR_LAYOUT {
    int64_t index_size = 0;       // index data bytes, count word included; 0: no index
    int64_t long_name_size = 0;   // long-name table bytes; 0: no table
    std::vector<int64_t> long_name_offsets;  // per member; 0 for a name that fits the header
    std::vector<int64_t> header_offsets;     // per member
};

// A pure function of the members' names and sizes, the index entries' names
// and the format; it touches no file and changes nothing.
AR_LAYOUT ar_layout(const AR_MEMBER* first_member, const AR_SYMBOL* first_symbol, AR_ABI format);

#endif

#ifndef ARWREN_OFE_COFF_NUCOFF_SCNHDR_H
#define ARWREN_OFE_COFF_NUCOFF_SCNHDR_H

#include <cstdint>

#include "ofe/coff/nucoff_records.h"
#include "ofe/of_types.h"

namespace OFE {

class OF_STRING_TABLE;

// One section header as read: the short form of format version 0 or the
// long form of versions 1 and 2, in host byte order. The fields both forms
// share are answered alike; offsets and sizes as unsigned 32-bit values, so
// that a negative one reads as a huge one and is cut by the object's extent.
class NUCOFF_SCNHDR {
public:
    NUCOFF_SCNHDR() : version_(OF_FORMAT_VER_UNKNOWN), header_() {}

    // Reads the form of version at the map's cursor; -1 for a version that
    // has no section header.
    int read(const DATA_MAP& map, OF_FORMAT_VER version, bool swap);

    uint32_t vaddr() const { return static_cast<uint32_t>(header_.h0.s_vaddr); }
    uint32_t size() const { return static_cast<uint32_t>(header_.h0.s_size); }
    uint32_t scnptr() const { return static_cast<uint32_t>(header_.h0.s_scnptr); }
    uint32_t relptr() const { return static_cast<uint32_t>(header_.h0.s_relptr); }
    uint32_t lnnoptr() const { return static_cast<uint32_t>(header_.h0.s_lnnoptr); }
    uint32_t nreloc() const { return long_form() ? header_.h2.s_nreloc : header_.h0.s_nreloc; }
    uint32_t nlnno() const { return long_form() ? header_.h2.s_nlnno : header_.h0.s_nlnno; }
    bool long_form() const { return version_ != OF_FORMAT_VER_COFF0; }
    const scnhdr0& short_header() const { return header_.h0; }
    const scnhdr2& long_header() const { return header_.h2; }

    // The inline name, or in the long form the string-table name when the
    // first name word is zero (null without a string table). An inline name
    // is returned in one buffer shared by all headers: it is valid until the
    // next call, and callers copy it at once.
    const char* name(OF_STRING_TABLE* strings) const;

private:
    // The forms agree up to the line-number offset, so either member
    // answers the fields they share.
    union HEADER {
        scnhdr0 h0;
        scnhdr2 h2;
    };

    OF_FORMAT_VER version_;
    HEADER header_;
};

}  // namespace OFE

#endif

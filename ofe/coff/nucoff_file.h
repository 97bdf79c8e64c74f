#ifndef ARWREN_OFE_COFF_NUCOFF_FILE_H
#define ARWREN_OFE_COFF_NUCOFF_FILE_H

#include <cstdint>

#include "ofe/coff/nucoff_records.h"
#include "ofe/object_file.h"

namespace OFE {

class NUCOFF_SECTION_TABLE;
class NUCOFF_STRING_TABLE;
class NUCOFF_SYMBOL_TABLE;

// A NU-COFF object of format version 0, 1 or 2. Loading reads the file
// header and the optional header, binds the section headers and the string
// table and checks the symbol-table offset; section headers, strings and
// symbols are read when first asked for.
class NUCOFF_FILE : public OBJECT_FILE {
public:
    explicit NUCOFF_FILE(const OF_FILE_HANDLE& handle);
    ~NUCOFF_FILE() override;

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    OF_FORMAT_VER format_version() override { return handle().format_version; }
    OF_FILE_TYPE file_type() override;
    OF_MACHINE machine() override;
    OF_ENDIAN machine_endian() override;
    OF_ENDIAN control_endian() override { return control_endian_; }
    OF_SECTION_TABLE* section_table() override;
    OF_SYMBOL_TABLE* symbol_table() override;
    int load(OF_FILE_HANDLE handle) override;

    long time_stamp() const { return header_.f_timdat; }
    const char* vendor() const { return "NU"; }
    const filehdr& header() const { return header_; }
    const aouthdr& optional_header() const { return optional_header_; }
    // Records are swapped: the file's byte order is not control_endian().
    bool swaps_records() const { return swap_; }
    NUCOFF_SECTION_TABLE* nucoff_section_table();
    // The file's string table once loaded; null before, for a file without
    // one, and when its size is wrong.
    NUCOFF_STRING_TABLE* string_table();
    // A length from the file, cut to the object's extent.
    unsigned long clamped(uint64_t length) const;

private:
    NUCOFF_SECTION_TABLE* alloc_section_table();
    NUCOFF_SYMBOL_TABLE* alloc_symbol_table();
    unsigned long header_size();
    int read_file_header(const DATA_MAP& map);
    void read_optional_header(DATA_MAP& map);
    void load_string_table();
    uint64_t end_of_section_data();
    void check_symbol_table_offset();

    filehdr header_;              // host byte order once loaded
    aouthdr optional_header_;     // all zero when the file has none
    NUCOFF_SECTION_TABLE* sections_;
    NUCOFF_SYMBOL_TABLE* symbols_;
    NUCOFF_STRING_TABLE* strings_;  // null until loaded, and for a file without one
    OF_ENDIAN control_endian_;    // records are read in the host's order
    bool swap_;
};

}  // namespace OFE

#endif

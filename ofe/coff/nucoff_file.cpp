#include "ofe/coff/nucoff_file.h"

#include <algorithm>

#include "ofe/coff/nucoff_section_table.h"
#include "ofe/coff/nucoff_string_table.h"
#include "ofe/coff/nucoff_symbol_table.h"
#include "ofe/of_machine_db.h"

namespace OFE {

namespace {

const unsigned long kHeadLength = 24;   // the first fetch; the long file header fits

DATA_MAP::ENDIAN map_order(OF_ENDIAN endian) { return endian == OF_ENDIAN_BIG ? DATA_MAP::BIG : DATA_MAP::LITTLE; }

}  // namespace

// Records are copied raw into host-order structs, so they are read in the
// host's byte order and swapped exactly when the file's order differs.
NUCOFF_FILE::NUCOFF_FILE(const OF_FILE_HANDLE& handle)
    : OBJECT_FILE(handle),
      header_(),
      optional_header_(),
      sections_(nullptr),
      symbols_(nullptr),
      strings_(nullptr),
      control_endian_(host_endian()),
      swap_(false) {}

NUCOFF_FILE::~NUCOFF_FILE() {
    delete symbols_;
    delete sections_;
    delete strings_;
}

// The executable bit wins; a file that is not executable but has its
// relocation information stripped is of no type we know.
OF_FILE_TYPE NUCOFF_FILE::file_type() {
    if (header_.f_flags & F_EXEC)
        return OF_FILE_TYPE_EXECUTABLE;
    if (header_.f_flags & F_RELFLG)
        return OF_FILE_TYPE_UNKNOWN;
    return OF_FILE_TYPE_RELOCATABLE;
}

// Version 0 has no version magic: its first half-word is the target ID.
OF_MACHINE NUCOFF_FILE::machine() {
    switch (format_version()) {
    case OF_FORMAT_VER_COFF0:
        return OF_MACHINE_from_NUCOFF(header_.f_magic);
    case OF_FORMAT_VER_COFF1:
    case OF_FORMAT_VER_COFF2:
        return OF_MACHINE_from_NUCOFF(header_.f_target_id);
    default:
        set_error(OF_ERR_CORRUPT, "invalid file format version \"%s\"", format_version_name(format_version()));
        return OF_MACHINE_UNKNOWN;
    }
}

OF_ENDIAN NUCOFF_FILE::machine_endian() {
    switch (header_.f_flags & F_BYTE_ORDER) {
    case F_LITTLE: return OF_ENDIAN_LITTLE;
    case F_BIG: return OF_ENDIAN_BIG;
    default: return OF_ENDIAN_UNKNOWN;
    }
}

NUCOFF_SECTION_TABLE* NUCOFF_FILE::alloc_section_table() { return new NUCOFF_SECTION_TABLE(this); }

NUCOFF_SYMBOL_TABLE* NUCOFF_FILE::alloc_symbol_table() { return new NUCOFF_SYMBOL_TABLE(this); }

NUCOFF_SECTION_TABLE* NUCOFF_FILE::nucoff_section_table() {
    if (!sections_)
        sections_ = alloc_section_table();
    return sections_;
}

OF_SECTION_TABLE* NUCOFF_FILE::section_table() { return nucoff_section_table(); }

OF_SYMBOL_TABLE* NUCOFF_FILE::symbol_table() {
    if (!symbols_)
        symbols_ = alloc_symbol_table();
    return symbols_;
}

NUCOFF_STRING_TABLE* NUCOFF_FILE::string_table() { return strings_; }

unsigned long NUCOFF_FILE::header_size() {
    return format_version() == OF_FORMAT_VER_COFF0 ? NUCOFF_FILHSZ0 : NUCOFF_FILHSZ1;
}

unsigned long NUCOFF_FILE::clamped(uint64_t length) const {
    return static_cast<unsigned long>(std::min<uint64_t>(length, handle().size));
}

// Reads the file header and the optional header, binds the section headers
// and the string table and checks the symbol-table offset. Symbols are read
// on demand.
int NUCOFF_FILE::load(OF_FILE_HANDLE handle) {
    set_handle(handle);
    swap_ = handle.endian != control_endian_;
    DATA_MAP map;
    // Records are copied raw, so the map's own order serves only typed reads.
    map.set_endian(map_order(handle.endian));   // mutants: skip (no typed read of the header map)
    if (get_file_data(map, 0, kHeadLength) != 0 || read_file_header(map) != 0)
        return -1;
    machine_db()->set_nucoff_fh(header_);
    read_optional_header(map);
    // The section headers follow the optional header whatever its size.
    const unsigned long entry_size = format_version() == OF_FORMAT_VER_COFF0 ? NUCOFF_SCNHSZ0 : NUCOFF_SCNHSZ2;
    if (nucoff_section_table()->load(header_size() + header_.f_opthdr, entry_size, header_.f_nscns) != 0)
        return -1;
    // What goes wrong from here on is recorded, and the object stays usable
    // for whatever does not need the broken part.
    load_string_table();
    check_symbol_table_offset();
    return 0;
}

int NUCOFF_FILE::read_file_header(const DATA_MAP& map) {
    switch (format_version()) {
    case OF_FORMAT_VER_COFF0:
        return read_NUCoff_filehdr0(map, header_, swap_);
    case OF_FORMAT_VER_COFF1:
    case OF_FORMAT_VER_COFF2:
        return read_NUCoff_filehdr1(map, header_, swap_);
    default:
        set_error(OF_ERR_CORRUPT, "invalid file format version \"%s\"", format_version_name(format_version()));
        return -1;
    }
}

// Only the 28-byte optional header is read; one of any other size is
// stepped over unread.
void NUCOFF_FILE::read_optional_header(DATA_MAP& map) {
    if (header_.f_opthdr != NUCOFF_AOUTSZ)
        return;
    if (get_file_data(map, header_size(), NUCOFF_AOUTSZ) == 0)
        read_NUCoff_aouthdr(map, optional_header_, swap_);
}

// Without a symbol table the string table follows whatever else the file
// holds: the headers and each section's data, relocations and line numbers.
// Parts a section does not have (offset 0) do not count.
uint64_t NUCOFF_FILE::end_of_section_data() {
    const uint64_t relocation_size = format_version() == OF_FORMAT_VER_COFF0 ? NUCOFF_RELSZ0 : NUCOFF_RELSZ1;
    uint64_t end = header_size() + header_.f_opthdr;
    NUCOFF_SECTION_TABLE* sections = nucoff_section_table();
    for (unsigned long id = 0; id < sections->scnnum(); ++id) {
        NUCOFF_SECTION* section = sections->nucoff_section(id);
        const NUCOFF_SCNHDR& h = section->header();
        if (h.scnptr() != 0)
            end = std::max<uint64_t>(end, uint64_t(h.scnptr()) + uint64_t(h.size()) * section->unit_size());
        if (h.relptr() != 0)
            end = std::max<uint64_t>(end, uint64_t(h.relptr()) + h.nreloc() * relocation_size);
        if (h.lnnoptr() != 0)
            end = std::max<uint64_t>(end, uint64_t(h.lnnoptr()) + uint64_t(h.nlnno()) * NUCOFF_LINESZ);
    }
    return end;
}

// The table starts after the symbol table and begins with its own length.
// It is normally the last thing in the file, so everything from its start
// to the object's end is bound at once: reading the length word then reads
// the whole table in one go, and the map is cut to the length read.
void NUCOFF_FILE::load_string_table() {
    const uint64_t size = handle().size;
    const uint64_t symbols_end =
        uint64_t(uint32_t(header_.f_symptr)) + uint64_t(uint32_t(header_.f_nsyms)) * NUCOFF_SYMESZ;
    const uint64_t start = header_.f_symptr == 0 ? end_of_section_data() : symbols_end;
    if (start >= size)
        return;
    NUCOFF_STRING_TABLE* strings = new NUCOFF_STRING_TABLE(this);
    DATA_MAP& data = strings->raw_data();
    data.set_endian(map_order(handle().endian));
    get_file_data(data, static_cast<unsigned long>(start), static_cast<unsigned long>(size - start));
    const uint32_t length = data.UINT32_read();
    if (length > size - start) {
        set_error(OF_ERR_CORRUPT, "invalid string table size %ld", static_cast<long>(length));
        delete strings;
        return;
    }
    data.remove_data(length, data.size() - length);
    strings_ = strings;
    // Without a symbol table the sections were read to find the start; they
    // get their string-table names now.
    if (header_.f_symptr == 0)
        nucoff_section_table()->rename_loaded_sections();
}

// An offset equal to the object's size passes: the table is then empty.
void NUCOFF_FILE::check_symbol_table_offset() {
    const uint32_t offset = static_cast<uint32_t>(header_.f_symptr);
    if (offset > handle().size)
        set_error(OF_ERR_CORRUPT, "invalid symbol table offset 0x%08x", offset);
}

}  // namespace OFE

#include "ofe/coff/nucoff_section_table.h"

#include <algorithm>

#include "ofe/coff/nucoff_file.h"
#include "ofe/coff/nucoff_string_table.h"

namespace OFE {

NUCOFF_SECTION_TABLE::NUCOFF_SECTION_TABLE(NUCOFF_FILE* file)
    : OF_SECTION_TABLE(file), file_(file), entry_size_(0) {}

OF_SECTION* NUCOFF_SECTION_TABLE::alloc_section(unsigned long) { return new NUCOFF_SECTION(file_); }

// Only headers that lie wholly inside the object count: a corrupt count must
// not size the section vector. A cut table simply has fewer sections.
unsigned long NUCOFF_SECTION_TABLE::fitting_count(unsigned long count) {
    const unsigned long fitting = entry_size_ ? raw_headers().size() / entry_size_ : 0;
    return std::min(count, fitting);
}

// A table loaded again starts afresh.
int NUCOFF_SECTION_TABLE::load(unsigned long offset, unsigned long entry_size, unsigned long count) {
    clear();
    if (file_->format() != OF_FORMAT_NUCOFF) {
        file_->set_error(OF_ERR_CORRUPT, "attempting to get NU-COFF interface for non-NU-COFF file");
        return -1;
    }
    entry_size_ = static_cast<uint32_t>(entry_size);
    const uint64_t length = static_cast<uint64_t>(entry_size) * count;
    if (file_->get_file_data(raw_headers(), offset, file_->clamped(length)) != 0)
        return -1;
    set_scnnum(fitting_count(count));
    return 0;
}

// The size counts the family's addressable units, the map bytes. Contents
// are in the file's byte order (records are swapped to the host's, which is
// what control_endian() answers, so it cannot serve here).
void NUCOFF_SECTION_TABLE::bind_contents(NUCOFF_SECTION* section) {
    NUCOFF_SCNHDR& header = section->header();
    if (section->initialized()) {
        const uint64_t length = static_cast<uint64_t>(header.size()) * section->unit_size();
        file_->get_file_data(section->contents(), header.scnptr(), file_->clamped(length));
    }
    const bool big = file_->handle().endian == OF_ENDIAN_BIG;
    section->contents().set_endian(big ? DATA_MAP::BIG : DATA_MAP::LITTLE);
}

OF_SECTION* NUCOFF_SECTION_TABLE::load_section_into_mem(unsigned long id) {
    if (OF_SECTION* cached = cached_section(id))
        return cached;
    if (id >= scnnum())
        return nullptr;
    NUCOFF_SECTION* section = static_cast<NUCOFF_SECTION*>(alloc_section(id));
    store_section(id, section);
    const DATA_MAP& headers = raw_headers();
    headers.set_cursor(static_cast<uint32_t>(id * entry_size_));
    if (section->header().read(headers, file_->format_version(), file_->swaps_records()) != 0) {
        file_->set_error(OF_ERR_CORRUPT, "Invalid NU-COFF version");
        return section;
    }
    bind_contents(section);
    section->set_name(section->header().name(file_->string_table()));
    return section;
}

void NUCOFF_SECTION_TABLE::rename_loaded_sections() {
    for (unsigned long id = 0; id < scnnum(); ++id)
        if (NUCOFF_SECTION* section = static_cast<NUCOFF_SECTION*>(cached_section(id)))
            section->set_name(section->header().name(file_->string_table()));
}

}  // namespace OFE

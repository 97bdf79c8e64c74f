#include "ofe/elf/elf_section_table.h"

#include "ofe/elf/elf_file.h"
#include "ofe/elf/elf_string_table.h"
#include "ofe/of_machine_db.h"

namespace OFE {

ELF_SECTION_TABLE::ELF_SECTION_TABLE(ELF_FILE* file)
    : OF_SECTION_TABLE(file), file_(file), offset_(0), entry_size_(0), bound_(false) {}

void ELF_SECTION_TABLE::clear() {
    OF_SECTION_TABLE::clear();
    offset_ = 0;
    entry_size_ = 0;
    bound_ = false;
}

OF_SECTION* ELF_SECTION_TABLE::alloc_section(unsigned long id) { return new ELF_SECTION(file_, id); }

// Only headers that lie wholly inside the object are kept: a corrupt count
// (up to 2^32 with extended numbering) must not size the section vector.
unsigned long ELF_SECTION_TABLE::fitting_count(unsigned long count) {
    const unsigned long fitting = entry_size_ ? raw_headers().size() / entry_size_ : 0;
    if (count <= fitting)
        return count;
    file_->set_error(OF_ERR_CORRUPT, "section header table of %lu entries of %lu bytes at offset %lu "
                     "extends beyond the end of the object file",
                     count, static_cast<unsigned long>(entry_size_), static_cast<unsigned long>(offset_));
    return fitting;
}

int ELF_SECTION_TABLE::load(unsigned long offset, unsigned long entry_size, unsigned long count) {
    clear();
    if (count == 0)
        return 0;
    offset_ = static_cast<uint32_t>(offset);
    entry_size_ = static_cast<uint32_t>(entry_size);
    const uint64_t length = static_cast<uint64_t>(entry_size) * count;
    if (file_->get_file_data(raw_headers(), offset, static_cast<unsigned long>(length)) != 0)
        return -1;
    set_scnnum(fitting_count(count));
    bound_ = true;
    return 0;
}

void ELF_SECTION_TABLE::bind_contents(ELF_SECTION* section) {
    const Elf32_Shdr& header = section->header();
    if (section->initialized())
        file_->get_file_data(section->contents(), header.sh_offset, header.sh_size);
    // A family may give section contents a byte order of their own.
    OF_MACHINE_DB* db = file_->machine_db();
    const bool big = db && db->of_section_endian(section) == OF_ENDIAN_BIG;
    section->contents().set_endian(big ? DATA_MAP::BIG : DATA_MAP::LITTLE);
}

// The names live in section e_shstrndx, or, with extended numbering, in the
// section named by header 0's sh_link. That section may be the one being
// named: it is already stored, so fetching it does not recurse further.
ELF_SECTION* ELF_SECTION_TABLE::names_section() {
    unsigned long names_index = file_->header().e_shstrndx;
    if (names_index == SHN_XINDEX) {
        ELF_SECTION* first = elf_section(0);
        names_index = first ? first->header().sh_link : 0;
    }
    return elf_section(names_index);
}

void ELF_SECTION_TABLE::name_section(ELF_SECTION* section) {
    ELF_SECTION* names = names_section();
    if (!names)
        return;
    section->set_name(names->string_table()->get_string(section->header().sh_name));
}

void ELF_SECTION_TABLE::peek_header(unsigned long id, Elf32_Shdr& header) const {
    const DATA_MAP& headers = raw_headers();
    headers.set_cursor(static_cast<uint32_t>(id * entry_size_));
    read_Elf_Shdr(headers, header, file_->needs_swap());
}

ELF_SECTION* ELF_SECTION_TABLE::section_named(const char* name) {
    ELF_SECTION* names = bound_ ? names_section() : nullptr;
    if (!names)
        return nullptr;
    Elf32_Shdr header;
    for (unsigned long id = 0; id < scnnum(); ++id) {
        peek_header(id, header);
        if (names->string_table()->string_is(header.sh_name, name))
            return elf_section(id);
    }
    return nullptr;
}

ELF_SECTION* ELF_SECTION_TABLE::section_of_type(uint32_t type, uint32_t link) {
    if (!bound_)
        return nullptr;
    Elf32_Shdr header;
    for (unsigned long id = 0; id < scnnum(); ++id) {
        peek_header(id, header);
        if (header.sh_type == type && header.sh_link == link)
            return elf_section(id);
    }
    return nullptr;
}

OF_SECTION* ELF_SECTION_TABLE::load_section_into_mem(unsigned long id) {
    if (!bound_)
        return nullptr;
    if (OF_SECTION* cached = cached_section(id))
        return cached;
    ELF_SECTION* section = static_cast<ELF_SECTION*>(alloc_section(id));
    store_section(id, section);
    peek_header(id, section->header());
    bind_contents(section);
    name_section(section);
    return section;
}

}  // namespace OFE

#include "ofe/elf/elf_file.h"

#include "ofe/elf/elf_section.h"
#include "ofe/elf/elf_section_table.h"
#include "ofe/elf/elf_symbol_table.h"
#include "support/data_map.h"

namespace OFE {

ELF_FILE::ELF_FILE(const OF_FILE_HANDLE& handle)
    : OBJECT_FILE(handle), header_(), sections_(nullptr), symtab_index_(-1) {}

ELF_FILE::~ELF_FILE() { delete sections_; }

// e_type numbers relocatable, executable, shared and core files as we do.
OF_FILE_TYPE ELF_FILE::file_type() {
    const uint16_t type = header_.e_type;
    return type >= OF_FILE_TYPE_RELOCATABLE && type <= OF_FILE_TYPE_CORE ? static_cast<OF_FILE_TYPE>(type)
                                                                           : OF_FILE_TYPE_UNKNOWN;
}

OF_ENDIAN ELF_FILE::machine_endian() {
    return handle().endian == OF_ENDIAN_BIG ? OF_ENDIAN_BIG : OF_ENDIAN_LITTLE;
}

bool ELF_FILE::is_elf() {
    if (format() == OF_FORMAT_ELF)
        return true;
    set_error(OF_ERR_CORRUPT, "attempting to get ELF interface for non-ELF file");
    return false;
}

ELF_SECTION_TABLE* ELF_FILE::elf_section_table() {
    if (!is_elf())
        return nullptr;
    if (!sections_)
        sections_ = new ELF_SECTION_TABLE(this);
    return sections_;
}

OF_SECTION_TABLE* ELF_FILE::section_table() { return elf_section_table(); }

// With extended numbering (e_shnum 0, e_shoff set) the count is the sh_size
// of section header 0.
unsigned long ELF_FILE::section_count() {
    if (header_.e_shnum != 0 || header_.e_shoff == 0)
        return header_.e_shnum;
    DATA_MAP first;
    first.set_endian(machine_endian() == OF_ENDIAN_BIG ? DATA_MAP::BIG : DATA_MAP::LITTLE);
    if (get_file_data(first, header_.e_shoff, header_.e_shentsize) != 0)
        return 0;
    Elf32_Shdr header;
    read_Elf_Shdr(first, header, needs_swap());
    return header.sh_size;
}

// Reads the ELF header and binds the section header table; nothing else is
// read. The program header table is not needed to read objects and stays
// described by the header alone.
int ELF_FILE::load(OF_FILE_HANDLE handle) {
    set_handle(handle);
    DATA_MAP map;
    map.set_endian(machine_endian() == OF_ENDIAN_BIG ? DATA_MAP::BIG : DATA_MAP::LITTLE);
    if (get_file_data(map, 0, sizeof header_) != 0)
        return -1;
    read_Elf_Ehdr(map, header_, needs_swap());
    ELF_SECTION_TABLE* sections = elf_section_table();
    if (!sections)
        return -1;
    if (sections->load(header_.e_shoff, header_.e_shentsize, section_count()) < 0)
        return -1;
    return 0;
}

// Found by name, first among the sections already read. A file without one
// gets an empty ".symtab" made in memory, so it simply has no symbols.
OF_SYMBOL_TABLE* ELF_FILE::symbol_table() {
    ELF_SECTION_TABLE* sections = elf_section_table();
    if (!sections)
        return nullptr;
    OF_SECTION* found = nullptr;
    if (symtab_index_ >= 0) {
        found = sections->section(static_cast<unsigned long>(symtab_index_));
    } else {
        found = sections->loaded_section_name(".symtab");
        if (!found)
            found = sections->section_named(".symtab");
        if (!found)
            found = sections->new_section(".symtab");
        if (found)
            symtab_index_ = static_cast<long>(static_cast<ELF_SECTION*>(found)->index());
    }
    return found ? static_cast<ELF_SECTION*>(found)->symbol_table() : nullptr;
}

}  // namespace OFE

#include "ofe/elf/elf_string_table.h"

#include "ofe/elf/elf_section.h"

namespace OFE {

// Copying an unread file-bound map binds the copy to the same stretch without
// reading it.
ELF_STRING_TABLE::ELF_STRING_TABLE(OBJECT_FILE* file, ELF_SECTION* section)
    : OF_STRING_TABLE(file), section_(section) {
    raw_data() = section->contents();
}

const char* ELF_STRING_TABLE::name() {
    const char* text = section_->name();
    return text ? text : "";
}

}  // namespace OFE

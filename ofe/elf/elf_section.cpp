#include "ofe/elf/elf_section.h"

#include "ofe/elf/elf_file.h"
#include "ofe/elf/elf_string_table.h"
#include "ofe/elf/elf_symbol_table.h"

namespace OFE {

ELF_SECTION::ELF_SECTION(ELF_FILE* file, unsigned long index)
    : OF_SECTION(file), file_(file), index_(index), header_(), strings_(nullptr), symbols_(nullptr) {}

ELF_SECTION::~ELF_SECTION() {
    delete symbols_;
    delete strings_;
}

// The null section and SHT_NOBITS sections occupy no bytes of the file.
bool ELF_SECTION::initialized() {
    return header_.sh_type != SHT_NULL && header_.sh_type != SHT_NOBITS;
}

ELF_STRING_TABLE* ELF_SECTION::string_table() {
    if (!strings_)
        strings_ = new ELF_STRING_TABLE(file_, this);
    return strings_;
}

ELF_SYMBOL_TABLE* ELF_SECTION::symbol_table() {
    if (!symbols_)
        symbols_ = new ELF_SYMBOL_TABLE(file_, this);
    return symbols_;
}

}  // namespace OFE

#include "ofe/elf/elf_symbol_table.h"

#include "ofe/elf/elf_file.h"
#include "ofe/elf/elf_section.h"
#include "ofe/elf/elf_section_table.h"
#include "ofe/elf/elf_string_table.h"
#include "ofe/elf/elf_symbol.h"

namespace OFE {

// The count is what the bound contents hold; a table cut short by the end of
// the object has fewer entries rather than phantom ones.
ELF_SYMBOL_TABLE::ELF_SYMBOL_TABLE(ELF_FILE* file, ELF_SECTION* section)
    : OF_SYMBOL_TABLE(file),
      file_(file),
      section_(section),
      strings_(nullptr),
      extended_index_(nullptr),
      extended_index_searched_(false) {
    raw_data() = section->contents();
    set_symnum(raw_data().size() / symbol_size());
}

const char* ELF_SYMBOL_TABLE::name() {
    const char* text = section_->name();
    return text ? text : "";
}

unsigned long ELF_SYMBOL_TABLE::symbol_size() { return sizeof(Elf32_Sym); }

OF_SYMBOL* ELF_SYMBOL_TABLE::alloc_symbol(unsigned long) { return new ELF_SYMBOL(this); }

OF_SECTION_TABLE* ELF_SYMBOL_TABLE::section_table() { return file_->section_table(); }

OF_SYMBOL* ELF_SYMBOL_TABLE::load_symbol_into_mem(unsigned long id) {
    if (!file_->has_file())
        return nullptr;
    if (OF_SYMBOL* cached = cached_symbol(id))
        return cached;
    ELF_SYMBOL* symbol = static_cast<ELF_SYMBOL*>(alloc_symbol(id));
    const DATA_MAP& raw = raw_data();
    raw.set_cursor(static_cast<uint32_t>(id * symbol_size()));
    read_Elf_Sym(raw, symbol->record(), file_->needs_swap());
    if (symbol->shndx() == SHN_XINDEX)
        symbol->set_extended_shndx(read_extended_shndx(id));
    // Version indexes of dynamic symbols are not read: the version tables
    // serve linking, not listing definitions.
    OF_STRING_TABLE* strings = string_table();
    if (strings)
        symbol->set_name_ref(strings, symbol->record().st_name);
    store_symbol(id, symbol);
    return symbol;
}

// The extended index lives in a parallel table of 32-bit words, one per
// symbol, in the section's own byte order.
uint32_t ELF_SYMBOL_TABLE::read_extended_shndx(unsigned long id) {
    ELF_SECTION* table = extended_index_section();
    if (!table)
        return 0;
    const DATA_MAP& words = table->contents();
    words.set_cursor(static_cast<uint32_t>(id * 4));
    return words.UINT32_read();
}

ELF_SECTION* ELF_SYMBOL_TABLE::extended_index_section() {
    if (extended_index_searched_)
        return extended_index_;
    extended_index_searched_ = true;
    ELF_SECTION_TABLE* sections = file_->elf_section_table();
    if (sections)
        extended_index_ = sections->section_of_type(SHT_SYMTAB_SHNDX, uint32_t(section_->index()));
    return extended_index_;
}

ELF_SECTION* ELF_SYMBOL_TABLE::section_by_name(const char* name) {
    ELF_SECTION_TABLE* sections = file_->elf_section_table();
    return sections ? sections->section_named(name) : nullptr;
}

OF_STRING_TABLE* ELF_SYMBOL_TABLE::string_table() {
    if (strings_)
        return strings_;
    ELF_SECTION* holder = nullptr;
    const uint32_t link = section_->header().sh_link;
    if (link != 0 && file_->elf_section_table())
        holder = file_->elf_section_table()->elf_section(link);
    if (!holder)
        holder = section_by_name(section_->header().sh_type == SHT_DYNSYM ? ".dynstr" : ".strtab");
    if (!holder) {
        file_->set_error(OF_ERR_INTERNAL, "string table for symbol table \"%s\" not found", name());
        return nullptr;
    }
    strings_ = holder->string_table();
    return strings_;
}

}  // namespace OFE

#ifndef ARWREN_OFE_ELF_ELF_FILE_H
#define ARWREN_OFE_ELF_ELF_FILE_H

#include "ofe/elf/elf_records.h"
#include "ofe/object_file.h"

namespace OFE {

class ELF_SECTION_TABLE;

// A 32-bit ELF object. Loading reads the ELF header and binds the section
// header table; section headers, contents, strings and symbols are read
// when first asked for.
class ELF_FILE : public OBJECT_FILE {
public:
    explicit ELF_FILE(const OF_FILE_HANDLE& handle);
    ~ELF_FILE() override;

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    OF_FORMAT_VER format_version() override { return handle().format_version; }
    OF_FILE_TYPE file_type() override;
    OF_MACHINE machine() override { return handle().machine; }
    OF_ENDIAN machine_endian() override;
    OF_ENDIAN control_endian() override { return machine_endian(); }
    OF_SECTION_TABLE* section_table() override;
    OF_SYMBOL_TABLE* symbol_table() override;
    int load(OF_FILE_HANDLE handle) override;

    const Elf32_Ehdr& header() const { return header_; }
    ELF_SECTION_TABLE* elf_section_table();

private:
    bool is_elf();
    unsigned long section_count();

    Elf32_Ehdr header_;               // host byte order once loaded
    ELF_SECTION_TABLE* sections_;
    long symtab_index_;               // the symbol table's section; -1 until found
};

}  // namespace OFE

#endif

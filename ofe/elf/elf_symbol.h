#ifndef ARWREN_OFE_ELF_ELF_SYMBOL_H
#define ARWREN_OFE_ELF_ELF_SYMBOL_H

#include <cstdint>

#include "ofe/elf/elf_records.h"
#include "ofe/of_symbol.h"

namespace OFE {

class ELF_SYMBOL_TABLE;

// One ELF symbol: the raw record as read (in host byte order), its extended
// section index and its version index.
class ELF_SYMBOL : public OF_SYMBOL {
public:
    explicit ELF_SYMBOL(ELF_SYMBOL_TABLE* table);

    unsigned long value() override { return record_.st_value; }
    bool refs_section() override;
    unsigned long section_id() override;
    unsigned long size() override { return record_.st_size; }
    OF_SYM_KIND kind() override;
    OF_SYM_BINDING binding() override;
    OF_SYM_TYPE type() override;

    Elf32_Sym& record() { return record_; }
    uint16_t shndx() const { return record_.st_shndx; }
    uint32_t extended_shndx() const { return extended_shndx_; }
    void set_extended_shndx(uint32_t index) { extended_shndx_ = index; }
    uint16_t version_index() const { return version_index_; }

private:
    Elf32_Sym record_;
    uint32_t extended_shndx_;   // meaningful only when shndx() is SHN_XINDEX
    uint16_t version_index_;    // dynamic symbols only
};

}  // namespace OFE

#endif

#ifndef ARWREN_OFE_ELF_ELF_RECORDS_H
#define ARWREN_OFE_ELF_ELF_RECORDS_H

#include <cstdint>

class DATA_MAP;

namespace OFE {

// The fixed-size records of 32-bit ELF files. Each struct's layout is its
// file layout (no padding), so a record moves between a DATA_MAP and the
// struct as one block and is then byte-swapped field by field when the
// file's data encoding is not the host's.
//
// read_Elf_X copies the record from the map at its cursor (a record that runs
// past the map's end reads as zeros; the cursor still moves by the record's
// size) and swaps it when asked. write_Elf_X appends a swapped copy; the
// caller's record is never changed. swap_Elf_X reverses the multi-byte
// fields in place. All return 0.

const unsigned EI_NIDENT = 16;
const uint16_t SHN_UNDEF = 0;
const uint16_t SHN_LORESERVE = 0xFF00;
const uint16_t SHN_ABS = 0xFFF1;
const uint16_t SHN_COMMON = 0xFFF2;
const uint16_t SHN_XINDEX = 0xFFFF;
const uint32_t SHT_NULL = 0;
const uint32_t SHT_SYMTAB = 2;
const uint32_t SHT_STRTAB = 3;
const uint32_t SHT_NOBITS = 8;
const uint32_t SHT_DYNSYM = 11;
const uint32_t SHT_SYMTAB_SHNDX = 18;
const uint8_t STB_LOCAL = 0;
const uint8_t STB_GLOBAL = 1;
const uint8_t STB_WEAK = 2;

struct Elf32_Ehdr {
    unsigned char e_ident[EI_NIDENT];   // identification; never swapped
    uint16_t e_type;
    uint16_t e_machine;
    uint32_t e_version;
    uint32_t e_entry;
    uint32_t e_phoff;       // program header table offset
    uint32_t e_shoff;       // section header table offset
    uint32_t e_flags;
    uint16_t e_ehsize;
    uint16_t e_phentsize;
    uint16_t e_phnum;
    uint16_t e_shentsize;
    uint16_t e_shnum;       // 0 with e_shoff set: the count is section 0's sh_size
    uint16_t e_shstrndx;    // SHN_XINDEX: the index is section 0's sh_link
};
static_assert(sizeof(Elf32_Ehdr) == 52, "Elf32_Ehdr is 52 bytes");

struct Elf32_Shdr {
    uint32_t sh_name;       // offset in the section-name string table
    uint32_t sh_type;
    uint32_t sh_flags;
    uint32_t sh_addr;
    uint32_t sh_offset;     // contents, from the object's first byte
    uint32_t sh_size;
    uint32_t sh_link;
    uint32_t sh_info;
    uint32_t sh_addralign;
    uint32_t sh_entsize;
};
static_assert(sizeof(Elf32_Shdr) == 40, "Elf32_Shdr is 40 bytes");

struct Elf32_Sym {
    uint32_t st_name;       // offset in the symbol string table
    uint32_t st_value;
    uint32_t st_size;
    unsigned char st_info;  // binding (high four bits) and type (low four); never swapped
    unsigned char st_other; // never swapped
    uint16_t st_shndx;
};
static_assert(sizeof(Elf32_Sym) == 16, "Elf32_Sym is 16 bytes");

struct Elf32_Rel {
    uint32_t r_offset;
    uint32_t r_info;
};
static_assert(sizeof(Elf32_Rel) == 8, "Elf32_Rel is 8 bytes");

struct Elf32_Rela {
    uint32_t r_offset;
    uint32_t r_info;
    int32_t r_addend;
};
static_assert(sizeof(Elf32_Rela) == 12, "Elf32_Rela is 12 bytes");

struct Elf32_Phdr {
    uint32_t p_type;
    uint32_t p_offset;
    uint32_t p_vaddr;
    uint32_t p_paddr;
    uint32_t p_filesz;
    uint32_t p_memsz;
    uint32_t p_flags;
    uint32_t p_align;
};
static_assert(sizeof(Elf32_Phdr) == 32, "Elf32_Phdr is 32 bytes");

struct Elf32_Dyn {
    int32_t d_tag;
    uint32_t d_val;         // d_val or d_ptr
};
static_assert(sizeof(Elf32_Dyn) == 8, "Elf32_Dyn is 8 bytes");

struct Elf32_Verdef {
    uint16_t vd_version;
    uint16_t vd_flags;
    uint16_t vd_ndx;
    uint16_t vd_cnt;
    uint32_t vd_hash;
    uint32_t vd_aux;
    uint32_t vd_next;
};
static_assert(sizeof(Elf32_Verdef) == 20, "Elf32_Verdef is 20 bytes");

struct Elf32_Verdaux {
    uint32_t vda_name;
    uint32_t vda_next;
};
static_assert(sizeof(Elf32_Verdaux) == 8, "Elf32_Verdaux is 8 bytes");

struct Elf32_Verneed {
    uint16_t vn_version;
    uint16_t vn_cnt;
    uint32_t vn_file;
    uint32_t vn_aux;
    uint32_t vn_next;
};
static_assert(sizeof(Elf32_Verneed) == 16, "Elf32_Verneed is 16 bytes");

struct Elf32_Vernaux {
    uint32_t vna_hash;
    uint16_t vna_flags;
    uint16_t vna_other;
    uint32_t vna_name;
    uint32_t vna_next;
};
static_assert(sizeof(Elf32_Vernaux) == 16, "Elf32_Vernaux is 16 bytes");

// Segment attributes.
struct Elf32_PHattr {
    uint16_t pha_tag;
    uint16_t pha_flags;
    uint32_t pha_value;
};
static_assert(sizeof(Elf32_PHattr) == 8, "Elf32_PHattr is 8 bytes");

// Leads a section-attribute or symbol-alias section: version bytes taken raw.
struct NUElf_SHattrver {
    unsigned char version[4];
};
static_assert(sizeof(NUElf_SHattrver) == 4, "NUElf_SHattrver is 4 bytes");

int read_Elf_Ehdr(const DATA_MAP& map, Elf32_Ehdr& rec, bool swap);
int write_Elf_Ehdr(DATA_MAP& map, const Elf32_Ehdr& rec, bool swap);
void swap_Elf_Ehdr(Elf32_Ehdr& rec);

int read_Elf_Shdr(const DATA_MAP& map, Elf32_Shdr& rec, bool swap);
int write_Elf_Shdr(DATA_MAP& map, const Elf32_Shdr& rec, bool swap);
void swap_Elf_Shdr(Elf32_Shdr& rec);

int read_Elf_Sym(const DATA_MAP& map, Elf32_Sym& rec, bool swap);
int write_Elf_Sym(DATA_MAP& map, const Elf32_Sym& rec, bool swap);
void swap_Elf_Sym(Elf32_Sym& rec);

int read_Elf_Rel(const DATA_MAP& map, Elf32_Rel& rec, bool swap);
int write_Elf_Rel(DATA_MAP& map, const Elf32_Rel& rec, bool swap);
void swap_Elf_Rel(Elf32_Rel& rec);

int read_Elf_Rela(const DATA_MAP& map, Elf32_Rela& rec, bool swap);
int write_Elf_Rela(DATA_MAP& map, const Elf32_Rela& rec, bool swap);
void swap_Elf_Rela(Elf32_Rela& rec);

int read_Elf_Phdr(const DATA_MAP& map, Elf32_Phdr& rec, bool swap);
int write_Elf_Phdr(DATA_MAP& map, const Elf32_Phdr& rec, bool swap);
void swap_Elf_Phdr(Elf32_Phdr& rec);

int read_Elf_Dyn(const DATA_MAP& map, Elf32_Dyn& rec, bool swap);
int write_Elf_Dyn(DATA_MAP& map, const Elf32_Dyn& rec, bool swap);
void swap_Elf_Dyn(Elf32_Dyn& rec);

int read_Elf_Verdef(const DATA_MAP& map, Elf32_Verdef& rec, bool swap);
int write_Elf_Verdef(DATA_MAP& map, const Elf32_Verdef& rec, bool swap);
void swap_Elf_Verdef(Elf32_Verdef& rec);

int read_Elf_Verdaux(const DATA_MAP& map, Elf32_Verdaux& rec, bool swap);
int write_Elf_Verdaux(DATA_MAP& map, const Elf32_Verdaux& rec, bool swap);
void swap_Elf_Verdaux(Elf32_Verdaux& rec);

int read_Elf_Verneed(const DATA_MAP& map, Elf32_Verneed& rec, bool swap);
int write_Elf_Verneed(DATA_MAP& map, const Elf32_Verneed& rec, bool swap);
void swap_Elf_Verneed(Elf32_Verneed& rec);

int read_Elf_Vernaux(const DATA_MAP& map, Elf32_Vernaux& rec, bool swap);
int write_Elf_Vernaux(DATA_MAP& map, const Elf32_Vernaux& rec, bool swap);
void swap_Elf_Vernaux(Elf32_Vernaux& rec);

int read_Elf_PHattr(const DATA_MAP& map, Elf32_PHattr& rec, bool swap);
int write_Elf_PHattr(DATA_MAP& map, const Elf32_PHattr& rec, bool swap);
void swap_Elf_PHattr(Elf32_PHattr& rec);

// Raw moves of the version bytes: no swapping.
int read_NUElf_SHattrver(const DATA_MAP& map, NUElf_SHattrver& rec);
int write_NUElf_SHattrver(DATA_MAP& map, const NUElf_SHattrver& rec);
// Variable-width attribute values, in the map's own byte order.
int read_NUElf_SHattr(const DATA_MAP& map, unsigned long& value, unsigned char width);
int write_NUElf_SHattr(DATA_MAP& map, const unsigned long& value, unsigned char width);

}  // namespace OFE

#endif

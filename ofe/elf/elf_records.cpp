#include "ofe/elf/elf_records.h"

#include "support/data_map.h"

namespace OFE {

namespace {

// The shared shape of every reader and writer: raw bytes through the map,
// swapped on request. The writer swaps a copy, never the caller's record.
template <typename Record>
int read_record(const DATA_MAP& map, Record& rec, bool swap, void (*swapper)(Record&)) {
    map.read(&rec, sizeof rec);
    if (swap)
        swapper(rec);
    return 0;
}

template <typename Record>
int write_record(DATA_MAP& map, const Record& rec, bool swap, void (*swapper)(Record&)) {
    Record copy = rec;
    if (swap)
        swapper(copy);
    map.write(&copy, sizeof copy);
    return 0;
}

}  // namespace

// The 16 identification bytes are never swapped.
void swap_Elf_Ehdr(Elf32_Ehdr& rec) {
    DATA_MAP::toggle_endian(rec.e_type);
    DATA_MAP::toggle_endian(rec.e_machine);
    DATA_MAP::toggle_endian(rec.e_version);
    DATA_MAP::toggle_endian(rec.e_entry);
    DATA_MAP::toggle_endian(rec.e_phoff);
    DATA_MAP::toggle_endian(rec.e_shoff);
    DATA_MAP::toggle_endian(rec.e_flags);
    DATA_MAP::toggle_endian(rec.e_ehsize);
    DATA_MAP::toggle_endian(rec.e_phentsize);
    DATA_MAP::toggle_endian(rec.e_phnum);
    DATA_MAP::toggle_endian(rec.e_shentsize);
    DATA_MAP::toggle_endian(rec.e_shnum);
    DATA_MAP::toggle_endian(rec.e_shstrndx);
}

void swap_Elf_Shdr(Elf32_Shdr& rec) {
    DATA_MAP::toggle_endian(rec.sh_name);
    DATA_MAP::toggle_endian(rec.sh_type);
    DATA_MAP::toggle_endian(rec.sh_flags);
    DATA_MAP::toggle_endian(rec.sh_addr);
    DATA_MAP::toggle_endian(rec.sh_offset);
    DATA_MAP::toggle_endian(rec.sh_size);
    DATA_MAP::toggle_endian(rec.sh_link);
    DATA_MAP::toggle_endian(rec.sh_info);
    DATA_MAP::toggle_endian(rec.sh_addralign);
    DATA_MAP::toggle_endian(rec.sh_entsize);
}

// st_info and st_other are single bytes and never swapped.
void swap_Elf_Sym(Elf32_Sym& rec) {
    DATA_MAP::toggle_endian(rec.st_name);
    DATA_MAP::toggle_endian(rec.st_value);
    DATA_MAP::toggle_endian(rec.st_size);
    DATA_MAP::toggle_endian(rec.st_shndx);
}

void swap_Elf_Rel(Elf32_Rel& rec) {
    DATA_MAP::toggle_endian(rec.r_offset);
    DATA_MAP::toggle_endian(rec.r_info);
}

void swap_Elf_Rela(Elf32_Rela& rec) {
    DATA_MAP::toggle_endian(rec.r_offset);
    DATA_MAP::toggle_endian(rec.r_info);
    DATA_MAP::toggle_endian(rec.r_addend);
}

void swap_Elf_Phdr(Elf32_Phdr& rec) {
    DATA_MAP::toggle_endian(rec.p_type);
    DATA_MAP::toggle_endian(rec.p_offset);
    DATA_MAP::toggle_endian(rec.p_vaddr);
    DATA_MAP::toggle_endian(rec.p_paddr);
    DATA_MAP::toggle_endian(rec.p_filesz);
    DATA_MAP::toggle_endian(rec.p_memsz);
    DATA_MAP::toggle_endian(rec.p_flags);
    DATA_MAP::toggle_endian(rec.p_align);
}

void swap_Elf_Dyn(Elf32_Dyn& rec) {
    DATA_MAP::toggle_endian(rec.d_tag);
    DATA_MAP::toggle_endian(rec.d_val);
}

void swap_Elf_Verdef(Elf32_Verdef& rec) {
    DATA_MAP::toggle_endian(rec.vd_version);
    DATA_MAP::toggle_endian(rec.vd_flags);
    DATA_MAP::toggle_endian(rec.vd_ndx);
    DATA_MAP::toggle_endian(rec.vd_cnt);
    DATA_MAP::toggle_endian(rec.vd_hash);
    DATA_MAP::toggle_endian(rec.vd_aux);
    DATA_MAP::toggle_endian(rec.vd_next);
}

void swap_Elf_Verdaux(Elf32_Verdaux& rec) {
    DATA_MAP::toggle_endian(rec.vda_name);
    DATA_MAP::toggle_endian(rec.vda_next);
}

void swap_Elf_Verneed(Elf32_Verneed& rec) {
    DATA_MAP::toggle_endian(rec.vn_version);
    DATA_MAP::toggle_endian(rec.vn_cnt);
    DATA_MAP::toggle_endian(rec.vn_file);
    DATA_MAP::toggle_endian(rec.vn_aux);
    DATA_MAP::toggle_endian(rec.vn_next);
}

void swap_Elf_Vernaux(Elf32_Vernaux& rec) {
    DATA_MAP::toggle_endian(rec.vna_hash);
    DATA_MAP::toggle_endian(rec.vna_flags);
    DATA_MAP::toggle_endian(rec.vna_other);
    DATA_MAP::toggle_endian(rec.vna_name);
    DATA_MAP::toggle_endian(rec.vna_next);
}

void swap_Elf_PHattr(Elf32_PHattr& rec) {
    DATA_MAP::toggle_endian(rec.pha_tag);
    DATA_MAP::toggle_endian(rec.pha_flags);
    DATA_MAP::toggle_endian(rec.pha_value);
}

int read_Elf_Ehdr(const DATA_MAP& map, Elf32_Ehdr& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Ehdr);
}

int write_Elf_Ehdr(DATA_MAP& map, const Elf32_Ehdr& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Ehdr);
}

int read_Elf_Shdr(const DATA_MAP& map, Elf32_Shdr& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Shdr);
}

int write_Elf_Shdr(DATA_MAP& map, const Elf32_Shdr& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Shdr);
}

int read_Elf_Rel(const DATA_MAP& map, Elf32_Rel& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Rel);
}

int write_Elf_Rel(DATA_MAP& map, const Elf32_Rel& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Rel);
}

int read_Elf_Rela(const DATA_MAP& map, Elf32_Rela& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Rela);
}

int write_Elf_Rela(DATA_MAP& map, const Elf32_Rela& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Rela);
}

int read_Elf_Phdr(const DATA_MAP& map, Elf32_Phdr& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Phdr);
}

int write_Elf_Phdr(DATA_MAP& map, const Elf32_Phdr& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Phdr);
}

int read_Elf_Dyn(const DATA_MAP& map, Elf32_Dyn& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Dyn);
}

int write_Elf_Dyn(DATA_MAP& map, const Elf32_Dyn& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Dyn);
}

int read_Elf_Verdef(const DATA_MAP& map, Elf32_Verdef& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Verdef);
}

int write_Elf_Verdef(DATA_MAP& map, const Elf32_Verdef& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Verdef);
}

int read_Elf_Verdaux(const DATA_MAP& map, Elf32_Verdaux& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Verdaux);
}

int write_Elf_Verdaux(DATA_MAP& map, const Elf32_Verdaux& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Verdaux);
}

int read_Elf_Verneed(const DATA_MAP& map, Elf32_Verneed& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Verneed);
}

int write_Elf_Verneed(DATA_MAP& map, const Elf32_Verneed& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Verneed);
}

int read_Elf_Vernaux(const DATA_MAP& map, Elf32_Vernaux& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_Vernaux);
}

int write_Elf_Vernaux(DATA_MAP& map, const Elf32_Vernaux& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_Vernaux);
}

int read_Elf_PHattr(const DATA_MAP& map, Elf32_PHattr& rec, bool swap) {
    return read_record(map, rec, swap, swap_Elf_PHattr);
}

int write_Elf_PHattr(DATA_MAP& map, const Elf32_PHattr& rec, bool swap) {
    return write_record(map, rec, swap, swap_Elf_PHattr);
}

// Symbols are the most frequent record, so their swap is done inline.
int read_Elf_Sym(const DATA_MAP& map, Elf32_Sym& rec, bool swap) {
    map.read(&rec, sizeof rec);
    if (swap) {
        DATA_MAP::toggle_endian(rec.st_name);
        DATA_MAP::toggle_endian(rec.st_value);
        DATA_MAP::toggle_endian(rec.st_size);
        DATA_MAP::toggle_endian(rec.st_shndx);
    }
    return 0;
}

int write_Elf_Sym(DATA_MAP& map, const Elf32_Sym& rec, bool swap) {
    Elf32_Sym copy = rec;
    if (swap) {
        DATA_MAP::toggle_endian(copy.st_name);
        DATA_MAP::toggle_endian(copy.st_value);
        DATA_MAP::toggle_endian(copy.st_size);
        DATA_MAP::toggle_endian(copy.st_shndx);
    }
    map.write(&copy, sizeof copy);
    return 0;
}

int read_NUElf_SHattrver(const DATA_MAP& map, NUElf_SHattrver& rec) {
    map.read(&rec, sizeof rec);
    return 0;
}

int write_NUElf_SHattrver(DATA_MAP& map, const NUElf_SHattrver& rec) {
    map.write(&rec, sizeof rec);
    return 0;
}

int read_NUElf_SHattr(const DATA_MAP& map, unsigned long& value, unsigned char width) {
    value = static_cast<unsigned long>(map.UINT_read(width));
    return 0;
}

int write_NUElf_SHattr(DATA_MAP& map, const unsigned long& value, unsigned char width) {
    map.UINT_write(value, width);
    return 0;
}

}  // namespace OFE

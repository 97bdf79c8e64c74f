#include "ofe/coff/nucoff_records.h"

#include <cstring>

#include "support/data_map.h"

namespace OFE {

namespace {

// Fields of packed records cannot be bound to references, so each one is
// swapped as a value and stored back.
template <typename T>
T toggled(T value) {
    DATA_MAP::toggle_endian(value);
    return value;
}

template <typename Record>
int read_record(const DATA_MAP& map, Record& rec, unsigned size, bool swap, void (*swapper)(Record&)) {
    map.read(&rec, size);
    if (swap)
        swapper(rec);
    return 0;
}

// A name whose first word is zero holds a string-table offset in its second
// word, which is then in byte order; an inline name is 8 characters, left alone.
void swap_name_offset(unsigned char (&name)[NUCOFF_NAME_LENGTH]) {
    if (NUCoff_name_word(name, 0) != 0)
        return;
    const uint32_t offset = toggled(NUCoff_name_word(name, 1));
    memcpy(name + 4, &offset, sizeof offset);
}

void swap_halves(reloc_middle& middle, unsigned flags) {
    if (flags & NUCOFF_RELOC_MIDDLE_WORD) {
        middle.r_symndx = toggled(middle.r_symndx);
    } else if (flags & NUCOFF_RELOC_MIDDLE_HALVES) {
        middle.r_half[0] = toggled(middle.r_half[0]);
        middle.r_half[1] = toggled(middle.r_half[1]);
    }
}

}  // namespace

uint32_t NUCoff_name_word(const unsigned char (&name)[NUCOFF_NAME_LENGTH], unsigned index) {
    uint32_t word = 0;
    memcpy(&word, name + 4 * (index & 1), sizeof word);
    return word;
}

// All eight fields of the long form, also after a short-form read: the
// target ID slot then holds whatever the caller left there, which does no
// harm because a short-form file takes its target ID from offset 0.
void swap_NUCoff_filehdr(filehdr& rec) {
    rec.f_magic = toggled(rec.f_magic);
    rec.f_nscns = toggled(rec.f_nscns);
    rec.f_timdat = toggled(rec.f_timdat);
    rec.f_symptr = toggled(rec.f_symptr);
    rec.f_nsyms = toggled(rec.f_nsyms);
    rec.f_opthdr = toggled(rec.f_opthdr);
    rec.f_flags = toggled(rec.f_flags);
    rec.f_target_id = toggled(rec.f_target_id);
}

void swap_NUCoff_aouthdr(aouthdr& rec) {
    rec.magic = toggled(rec.magic);
    rec.vstamp = toggled(rec.vstamp);
    rec.tsize = toggled(rec.tsize);
    rec.dsize = toggled(rec.dsize);
    rec.bsize = toggled(rec.bsize);
    rec.entry = toggled(rec.entry);
    rec.text_start = toggled(rec.text_start);
    rec.data_start = toggled(rec.data_start);
}

// The name and the two single bytes are not swapped.
void swap_NUCoff_scnhdr0(scnhdr0& rec) {
    rec.s_paddr = toggled(rec.s_paddr);
    rec.s_vaddr = toggled(rec.s_vaddr);
    rec.s_size = toggled(rec.s_size);
    rec.s_scnptr = toggled(rec.s_scnptr);
    rec.s_relptr = toggled(rec.s_relptr);
    rec.s_lnnoptr = toggled(rec.s_lnnoptr);
    rec.s_nreloc = toggled(rec.s_nreloc);
    rec.s_nlnno = toggled(rec.s_nlnno);
    rec.s_flags = toggled(rec.s_flags);
}

// The two reserved bytes at 44 are deliberately left as stored.
void swap_NUCoff_scnhdr2(scnhdr2& rec) {
    swap_name_offset(rec.s_name);
    rec.s_paddr = toggled(rec.s_paddr);
    rec.s_vaddr = toggled(rec.s_vaddr);
    rec.s_size = toggled(rec.s_size);
    rec.s_scnptr = toggled(rec.s_scnptr);
    rec.s_relptr = toggled(rec.s_relptr);
    rec.s_lnnoptr = toggled(rec.s_lnnoptr);
    rec.s_nreloc = toggled(rec.s_nreloc);
    rec.s_nlnno = toggled(rec.s_nlnno);
    rec.s_flags = toggled(rec.s_flags);
    rec.s_page = toggled(rec.s_page);
}

// The storage class and the aux count are single bytes.
void swap_NUCoff_syment(syment& rec) {
    swap_name_offset(rec.n_name);
    rec.n_value = toggled(rec.n_value);
    rec.n_scnum = toggled(rec.n_scnum);
    rec.n_type = toggled(rec.n_type);
}

void swap_NUCoff_aux_scn(auxent& rec) {
    rec.x_scn.x_scnlen = toggled(rec.x_scn.x_scnlen);
    rec.x_scn.x_nreloc = toggled(rec.x_scn.x_nreloc);
    rec.x_scn.x_nlinno = toggled(rec.x_scn.x_nlinno);
}

void swap_NUCoff_aux_sym(auxent& rec) {
    rec.x_sym.x_tagndx = toggled(rec.x_sym.x_tagndx);
    rec.x_sym.x_size = toggled(rec.x_sym.x_size);
}

void swap_NUCoff_aux_func(auxent& rec) {
    rec.x_func.x_tagndx = toggled(rec.x_func.x_tagndx);
    rec.x_func.x_fsize = toggled(rec.x_func.x_fsize);
    rec.x_func.x_lnnoptr = toggled(rec.x_func.x_lnnoptr);
    rec.x_func.x_endndx = toggled(rec.x_func.x_endndx);
}

void swap_NUCoff_aux_eos(auxent& rec) {
    rec.x_eos.x_tagndx = toggled(rec.x_eos.x_tagndx);
    rec.x_eos.x_size = toggled(rec.x_eos.x_size);
}

// The first word of a tag entry is deliberately not swapped.
void swap_NUCoff_aux_tag(auxent& rec) {
    rec.x_tag.x_size = toggled(rec.x_tag.x_size);
    rec.x_tag.x_endndx = toggled(rec.x_tag.x_endndx);
}

// The size word is reversed twice on purpose, so that it ends up exactly as
// stored: readers of a byte-reversed file see an array's size unswapped.
void swap_NUCoff_aux_array(auxent& rec) {
    rec.x_array.x_tagndx = toggled(rec.x_array.x_tagndx);
    rec.x_array.x_size = toggled(rec.x_array.x_size);
    rec.x_array.x_size = toggled(rec.x_array.x_size);
    for (unsigned i = 0; i < 4; ++i)
        rec.x_array.x_dimen[i] = toggled(rec.x_array.x_dimen[i]);
}

void swap_NUCoff_aux_block(auxent& rec) {
    rec.x_block.x_tagndx = toggled(rec.x_block.x_tagndx);
    rec.x_block.x_lnno = toggled(rec.x_block.x_lnno);
    rec.x_block.x_size = toggled(rec.x_block.x_size);
    rec.x_block.x_lnnoptr = toggled(rec.x_block.x_lnnoptr);
    rec.x_block.x_endndx = toggled(rec.x_block.x_endndx);
}

void swap_NUCoff_reloc0_fields(reloc0& rec, unsigned flags) {
    rec.r_vaddr = toggled(rec.r_vaddr);
    swap_halves(rec.r_middle, flags);
}

void swap_NUCoff_reloc1_fields(reloc1& rec, unsigned flags) {
    rec.r_vaddr = toggled(rec.r_vaddr);
    swap_halves(rec.r_middle, flags);
    rec.r_disp = toggled(rec.r_disp);
}

void swap_NUCoff_lineno(lineno& rec) {
    rec.l_addr = toggled(rec.l_addr);
    rec.l_lnno = toggled(rec.l_lnno);
}

int read_NUCoff_filehdr0(const DATA_MAP& map, filehdr& rec, bool swap) {
    return read_record(map, rec, NUCOFF_FILHSZ0, swap, swap_NUCoff_filehdr);
}

int read_NUCoff_filehdr1(const DATA_MAP& map, filehdr& rec, bool swap) {
    return read_record(map, rec, NUCOFF_FILHSZ1, swap, swap_NUCoff_filehdr);
}

int read_NUCoff_aouthdr(const DATA_MAP& map, aouthdr& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aouthdr);
}

int read_NUCoff_scnhdr0(const DATA_MAP& map, scnhdr0& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_scnhdr0);
}

int read_NUCoff_scnhdr2(const DATA_MAP& map, scnhdr2& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_scnhdr2);
}

int read_NUCoff_syment(const DATA_MAP& map, syment& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_syment);
}

int read_NUCoff_auxent(const DATA_MAP& map, auxent& rec) {
    map.read(&rec, sizeof rec);
    return 0;
}

int read_NUCoff_aux_scn(const DATA_MAP& map, auxent& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aux_scn);
}

// A file name is characters only.
int read_NUCoff_aux_file(const DATA_MAP& map, auxent& rec, bool) { return read_NUCoff_auxent(map, rec); }

int read_NUCoff_aux_sym(const DATA_MAP& map, auxent& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aux_sym);
}

int read_NUCoff_aux_func(const DATA_MAP& map, auxent& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aux_func);
}

int read_NUCoff_aux_eos(const DATA_MAP& map, auxent& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aux_eos);
}

int read_NUCoff_aux_tag(const DATA_MAP& map, auxent& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aux_tag);
}

int read_NUCoff_aux_array(const DATA_MAP& map, auxent& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aux_array);
}

int read_NUCoff_aux_block(const DATA_MAP& map, auxent& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_aux_block);
}

int read_NUCoff_reloc0(const DATA_MAP& map, reloc0& rec, bool swap) {
    map.read(&rec, sizeof rec);
    if (swap)
        rec.r_type = toggled(rec.r_type);
    return 0;
}

int read_NUCoff_reloc1(const DATA_MAP& map, reloc1& rec, bool swap) {
    map.read(&rec, sizeof rec);
    if (swap)
        rec.r_type = toggled(rec.r_type);
    return 0;
}

int read_NUCoff_lineno(const DATA_MAP& map, lineno& rec, bool swap) {
    return read_record(map, rec, sizeof rec, swap, swap_NUCoff_lineno);
}

}  // namespace OFE

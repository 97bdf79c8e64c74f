#ifndef ARWREN_OFE_COFF_NUCOFF_RECORDS_H
#define ARWREN_OFE_COFF_NUCOFF_RECORDS_H

#include <cstdint>

class DATA_MAP;

namespace OFE {

// The fixed-size records of NU-COFF files. Each struct is packed, so that
// its layout is its file layout and a record moves between a DATA_MAP and
// the struct as one block; it is then byte-swapped field by field when the
// file's byte order is not the one it is read in.
//
// read_NUCoff_X copies the record from the map at its cursor (a record that
// runs past the map's end reads as zeros; the cursor still moves by the
// record's size) and swaps it when asked. swap_NUCoff_X reverses the fields
// the format stores in byte order, in place. The readers check nothing and
// all return 0.

// Sizes on disk.
const unsigned NUCOFF_FILHSZ0 = 20;   // file header, format version 0 (no target ID field)
const unsigned NUCOFF_FILHSZ1 = 22;   // file header, format versions 1 and 2
const unsigned NUCOFF_AOUTSZ = 28;    // the one optional header that is read
const unsigned NUCOFF_SCNHSZ0 = 40;
const unsigned NUCOFF_SCNHSZ2 = 48;
const unsigned NUCOFF_SYMESZ = 18;
const unsigned NUCOFF_AUXESZ = 18;
const unsigned NUCOFF_RELSZ0 = 10;
const unsigned NUCOFF_RELSZ1 = 12;
const unsigned NUCOFF_LINESZ = 6;
const unsigned NUCOFF_NAME_LENGTH = 8;   // inline section and symbol names

// File header flags.
const uint16_t F_RELFLG = 0x0001;        // relocation information stripped
const uint16_t F_EXEC = 0x0002;          // executable
const uint16_t F_BYTE_ORDER = 0x0300;    // the target's byte order:
const uint16_t F_LITTLE = 0x0100;        //   little endian
const uint16_t F_BIG = 0x0200;           //   big endian; neither: unknown

#pragma pack(push, 1)

// In memory the header always has room for the target ID, also when the
// file's header is the short form, which has none.
struct filehdr {
    uint16_t f_magic;       // version ID (long form) or target ID (short form)
    uint16_t f_nscns;       // number of section headers
    int32_t f_timdat;       // time stamp
    int32_t f_symptr;       // file offset of the symbol table
    int32_t f_nsyms;        // symbol-table entries, aux entries included
    uint16_t f_opthdr;      // size of the optional header that follows
    uint16_t f_flags;
    uint16_t f_target_id;   // long form only
};
static_assert(sizeof(filehdr) == NUCOFF_FILHSZ1, "filehdr is 22 bytes");

struct aouthdr {
    int16_t magic;
    int16_t vstamp;         // version stamp
    int32_t tsize;          // size of executable code
    int32_t dsize;          // size of initialised data
    int32_t bsize;          // size of uninitialised data
    int32_t entry;          // entry point
    int32_t text_start;
    int32_t data_start;
};
static_assert(sizeof(aouthdr) == NUCOFF_AOUTSZ, "aouthdr is 28 bytes");

// Format version 0. The name is always inline; a name of exactly 8
// characters has no terminator.
struct scnhdr0 {
    unsigned char s_name[NUCOFF_NAME_LENGTH];
    int32_t s_paddr;        // physical address
    int32_t s_vaddr;        // virtual address
    int32_t s_size;         // in the family's addressable units
    int32_t s_scnptr;       // file offset of the raw data
    int32_t s_relptr;       // file offset of the relocation entries
    int32_t s_lnnoptr;      // file offset of the line-number entries
    uint16_t s_nreloc;
    uint16_t s_nlnno;
    uint16_t s_flags;
    unsigned char s_reserved;
    unsigned char s_page;   // memory page
};
static_assert(sizeof(scnhdr0) == NUCOFF_SCNHSZ0, "scnhdr0 is 40 bytes");

// Format versions 1 and 2. A name whose first 4 bytes are zero is the
// string-table offset held in the next 4.
struct scnhdr2 {
    unsigned char s_name[NUCOFF_NAME_LENGTH];
    int32_t s_paddr;
    int32_t s_vaddr;
    int32_t s_size;
    int32_t s_scnptr;
    int32_t s_relptr;
    int32_t s_lnnoptr;
    uint32_t s_nreloc;
    uint32_t s_nlnno;
    uint32_t s_flags;
    unsigned char s_reserved[2];   // never swapped
    uint16_t s_page;
};
static_assert(sizeof(scnhdr2) == NUCOFF_SCNHSZ2, "scnhdr2 is 48 bytes");

struct syment {
    unsigned char n_name[NUCOFF_NAME_LENGTH];   // inline, or 0 then a string-table offset
    int32_t n_value;
    int16_t n_scnum;        // 1-based section number; 0, -1 and -2 are special
    uint16_t n_type;        // basic type in the low bits, derived types above
    uint8_t n_sclass;       // storage class
    uint8_t n_numaux;       // aux entries that follow
};
static_assert(sizeof(syment) == NUCOFF_SYMESZ, "syment is 18 bytes");

// The layouts an aux entry takes, chosen by its symbol.
struct aux_scn {
    int32_t x_scnlen;
    uint16_t x_nreloc;
    uint16_t x_nlinno;
    unsigned char x_unused[10];
};
struct aux_file {
    char x_fname[18];       // NUL-padded; never swapped
};
struct aux_sym {
    int32_t x_tagndx;
    int32_t x_size;         // size, or a line/size pair
    unsigned char x_unused[10];
};
struct aux_func {
    int32_t x_tagndx;
    int32_t x_fsize;
    int32_t x_lnnoptr;
    int32_t x_endndx;       // the entry past the function
    unsigned char x_unused[2];
};
struct aux_eos {
    int32_t x_tagndx;
    int32_t x_size;
    unsigned char x_unused[10];
};
struct aux_tag {
    unsigned char x_unused0[4];   // never swapped
    int32_t x_size;
    unsigned char x_unused1[4];
    int32_t x_endndx;       // the entry past the members
    unsigned char x_unused2[2];
};
struct aux_array {
    int32_t x_tagndx;
    int32_t x_size;         // left as stored, see swap_NUCoff_aux_array
    uint16_t x_dimen[4];
    unsigned char x_unused[2];
};
struct aux_block {
    int32_t x_tagndx;
    uint16_t x_lnno;
    uint16_t x_size;
    int32_t x_lnnoptr;
    int32_t x_endndx;       // the entry past the block
    unsigned char x_unused[2];
};

union auxent {
    aux_scn x_scn;
    aux_file x_file;
    aux_sym x_sym;
    aux_func x_func;
    aux_eos x_eos;
    aux_tag x_tag;
    aux_array x_array;
    aux_block x_block;
    unsigned char x_raw[NUCOFF_AUXESZ];
};
static_assert(sizeof(auxent) == NUCOFF_AUXESZ, "auxent is 18 bytes");

// The 4 middle bytes of a relocation entry are a symbol index or two
// 2-byte fields, depending on the relocation type.
union reloc_middle {
    int32_t r_symndx;
    uint16_t r_half[2];
};

struct reloc0 {
    int32_t r_vaddr;
    reloc_middle r_middle;
    uint16_t r_type;
};
static_assert(sizeof(reloc0) == NUCOFF_RELSZ0, "reloc0 is 10 bytes");

struct reloc1 {
    int32_t r_vaddr;
    reloc_middle r_middle;
    uint16_t r_disp;
    uint16_t r_type;
};
static_assert(sizeof(reloc1) == NUCOFF_RELSZ1, "reloc1 is 12 bytes");

struct lineno {
    uint32_t l_addr;        // symbol index or address
    uint16_t l_lnno;
};
static_assert(sizeof(lineno) == NUCOFF_LINESZ, "lineno is 6 bytes");

#pragma pack(pop)

// Word 0 or 1 of an 8-byte name as it stands in memory: word 0 is zero when
// word 1 is a string-table offset.
uint32_t NUCoff_name_word(const unsigned char (&name)[NUCOFF_NAME_LENGTH], unsigned index);

int read_NUCoff_filehdr0(const DATA_MAP& map, filehdr& rec, bool swap);
int read_NUCoff_filehdr1(const DATA_MAP& map, filehdr& rec, bool swap);
void swap_NUCoff_filehdr(filehdr& rec);

int read_NUCoff_aouthdr(const DATA_MAP& map, aouthdr& rec, bool swap);
void swap_NUCoff_aouthdr(aouthdr& rec);

int read_NUCoff_scnhdr0(const DATA_MAP& map, scnhdr0& rec, bool swap);
void swap_NUCoff_scnhdr0(scnhdr0& rec);
int read_NUCoff_scnhdr2(const DATA_MAP& map, scnhdr2& rec, bool swap);
void swap_NUCoff_scnhdr2(scnhdr2& rec);

int read_NUCoff_syment(const DATA_MAP& map, syment& rec, bool swap);
void swap_NUCoff_syment(syment& rec);

// Aux entries: the raw reader keeps all 18 bytes as stored; each kind's
// reader swaps that kind's fields.
int read_NUCoff_auxent(const DATA_MAP& map, auxent& rec);
int read_NUCoff_aux_scn(const DATA_MAP& map, auxent& rec, bool swap);
int read_NUCoff_aux_file(const DATA_MAP& map, auxent& rec, bool swap);
int read_NUCoff_aux_sym(const DATA_MAP& map, auxent& rec, bool swap);
int read_NUCoff_aux_func(const DATA_MAP& map, auxent& rec, bool swap);
int read_NUCoff_aux_eos(const DATA_MAP& map, auxent& rec, bool swap);
int read_NUCoff_aux_tag(const DATA_MAP& map, auxent& rec, bool swap);
int read_NUCoff_aux_array(const DATA_MAP& map, auxent& rec, bool swap);
int read_NUCoff_aux_block(const DATA_MAP& map, auxent& rec, bool swap);
void swap_NUCoff_aux_scn(auxent& rec);
void swap_NUCoff_aux_sym(auxent& rec);
void swap_NUCoff_aux_func(auxent& rec);
void swap_NUCoff_aux_eos(auxent& rec);
void swap_NUCoff_aux_tag(auxent& rec);
void swap_NUCoff_aux_array(auxent& rec);
void swap_NUCoff_aux_block(auxent& rec);

// Relocation readers swap only the type. The relocation code then swaps the
// rest with the flags its type calls for.
const unsigned NUCOFF_RELOC_MIDDLE_WORD = 1;     // the middle bytes as one 4-byte field
const unsigned NUCOFF_RELOC_MIDDLE_HALVES = 2;   // the middle bytes as two 2-byte fields
int read_NUCoff_reloc0(const DATA_MAP& map, reloc0& rec, bool swap);
int read_NUCoff_reloc1(const DATA_MAP& map, reloc1& rec, bool swap);
void swap_NUCoff_reloc0_fields(reloc0& rec, unsigned flags);
void swap_NUCoff_reloc1_fields(reloc1& rec, unsigned flags);

int read_NUCoff_lineno(const DATA_MAP& map, lineno& rec, bool swap);
void swap_NUCoff_lineno(lineno& rec);

}  // namespace OFE

#endif

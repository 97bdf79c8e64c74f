#ifndef ARWREN_TESTS_INTEROP_ELF_SYMBOL_READER_H
#define ARWREN_TESTS_INTEROP_ELF_SYMBOL_READER_H

#include <cstdint>
#include <string>
#include <vector>

// The few fields of an ELF32 symbol that decide whether an archive index
// lists it; read by the tests themselves so that the expected index does
// not depend on the product's object-file library.
struct ELF_SYMBOL_FACTS {
    std::string name;
    unsigned binding;  // high four bits of st_info
    uint16_t shndx;
};

// The entries of the SHT_SYMTAB section of an ELF32 relocatable file of
// either byte order, in table order; false when the bytes are no ELF32 file.
bool read_elf32_symbols(const std::string& bytes, std::vector<ELF_SYMBOL_FACTS>& symbols);

// ELF bindings and section indexes the index rules talk about.
enum : unsigned { kStbGlobal = 1, kStbWeak = 2, kStbGnuUnique = 10 };
enum : uint16_t {
    kShnUndef = 0,
    kShnLoReserve = 0xff00,
    kShnAbs = 0xfff1,
    kShnCommon = 0xfff2,
    kShnXindex = 0xffff,
};

// What arwren must index: a global or weak binding and a definition
// (a real or extended section index, absolute or common).
bool arwren_indexes(const ELF_SYMBOL_FACTS& symbol);

#endif

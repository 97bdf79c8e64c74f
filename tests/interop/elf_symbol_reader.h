#ifndef ARWREN_TESTS_INTEROP_ELF_SYMBOL_READER_H
#define ARWREN_TESTS_INTEROP_ELF_SYMBOL_READER_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

// The few fields of an ELF32 symbol that decide whether an archive index
// lists it; read by the tests themselves so that the expected index does not
// depend on the product's object-file library.
struct ELF_SYMBOL_FACTS {
    std::string name;
    unsigned binding;  // high four bits of st_info
    uint16_t shndx;
};

enum : unsigned { kStbGlobal = 1, kStbWeak = 2, kStbGnuUnique = 10 };
enum : uint16_t { kShnUndef = 0, kShnLoReserve = 0xff00, kShnAbs = 0xfff1, kShnCommon = 0xfff2,
                  kShnXindex = 0xffff };

// The SHT_SYMTAB entries of an ELF32 relocatable file of either byte order,
// in table order; empty when the bytes are no ELF32 file. Fields past the
// end read as zeros.
inline std::vector<ELF_SYMBOL_FACTS> read_elf32_symbols(const std::string& bytes) {
    std::vector<ELF_SYMBOL_FACTS> symbols;
    if (bytes.size() < 52 || bytes.compare(0, 5, "\x7f" "ELF\x01") != 0)
        return symbols;
    const bool big = bytes[5] == 2;
    auto u = [&](uint64_t at, int width) {
        uint32_t value = 0;
        for (int i = 0; i < width; ++i)
            if (at + i < bytes.size())
                value |= uint32_t(static_cast<unsigned char>(bytes[at + i]))
                         << (big ? (width - 1 - i) * 8 : i * 8);
        return value;
    };
    const uint64_t shoff = u(32, 4);
    uint64_t symtab = 0;  // section header of the symbol table
    for (uint32_t i = 0; i < u(48, 2) && symtab == 0; ++i)
        if (u(shoff + i * 40 + 4, 4) == 2)  // SHT_SYMTAB
            symtab = shoff + i * 40;
    if (symtab == 0)
        return symbols;
    const uint64_t strtab = shoff + u(symtab + 24, 4) * 40;
    const uint64_t names = u(strtab + 16, 4), names_end = names + u(strtab + 20, 4);
    for (uint64_t at = u(symtab + 16, 4), n = u(symtab + 20, 4) / 16;
         n > 0 && at + 16 <= bytes.size(); --n, at += 16) {
        const uint64_t name = names + u(at, 4);
        const uint64_t end = std::min<uint64_t>({bytes.find('\0', name), names_end, bytes.size()});
        symbols.push_back({name < end ? bytes.substr(name, end - name) : "", u(at + 12, 1) >> 4,
                           uint16_t(u(at + 14, 2))});
    }
    return symbols;
}

// What arwren must index: a global or weak binding and a definition (a real
// or extended section index, absolute or common).
inline bool arwren_indexes(const ELF_SYMBOL_FACTS& s) {
    if (s.binding != kStbGlobal && s.binding != kStbWeak)
        return false;
    return s.shndx == kShnXindex || s.shndx == kShnAbs || s.shndx == kShnCommon ||
           (s.shndx != kShnUndef && s.shndx < kShnLoReserve);
}

#endif

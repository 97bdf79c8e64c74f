#ifndef ARWREN_TESTS_COMMON_NUCOFF_BUILDER_H
#define ARWREN_TESTS_COMMON_NUCOFF_BUILDER_H

// Builds the bytes of a NU-COFF object of format version 0, 1 or 2 in either
// byte order, written out by hand from the record layouts (not through the
// library under test). Layout: file header, optional header, section
// headers, then per section its data, relocation and line-number entries,
// then the symbol table and the string table. Names longer than 8
// characters go to the string table (section names only from version 1 on).

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class NUCOFF_BUILDER {
public:
    enum ORDER { LITTLE = 1, BIG = 2 };
    static const uint16_t ARM = 0x0097, WREN = 0x009C;   // target IDs

    NUCOFF_BUILDER(int version, ORDER order, uint16_t target = ARM)
        : version_(version), order_(order), target_(target), flags_(order == BIG ? 0x0200 : 0x0100) {}

    // A section with its data and as many relocation and line-number entries
    // (filler bytes) as asked for.
    NUCOFF_BUILDER& section(const std::string& name, const std::string& data, uint32_t nreloc = 0, uint32_t nlnno = 0) {
        return sections_.push_back(SECTION{name, data, nreloc, nlnno}), *this;
    }
    // A symbol with its aux entries, 18 bytes each (see aux()).
    NUCOFF_BUILDER& symbol(const std::string& name, uint32_t value, int16_t scnum, uint16_t type, uint8_t sclass,
                           const std::vector<std::string>& aux = {}) {
        return symbols_.push_back(SYMBOL{name, value, scnum, type, sclass, aux}), *this;
    }
    NUCOFF_BUILDER& optional_header(uint16_t size) { opthdr_ = size; return *this; }
    NUCOFF_BUILDER& flags(uint16_t flags) { flags_ = flags; return *this; }
    // Symbol-table offset 0 and no entries; the string table stays.
    NUCOFF_BUILDER& without_symbol_table() { with_symbols_ = false; return *this; }

    std::string num(uint32_t v, int width) const {
        std::string out;
        for (int i = 0; i < width; ++i)
            out += char(v >> 8 * (order_ == BIG ? width - 1 - i : i));
        return out;
    }
    // An aux entry from (width, value) fields in order, padded to 18 bytes.
    std::string aux(const std::vector<std::pair<int, uint32_t>>& fields) const {
        std::string out;
        for (const auto& f : fields)
            out += num(f.second, f.first);
        return out + std::string(18 - out.size(), '\0');
    }

    uint32_t header_size() const { return version_ == 0 ? 20 : 22; }
    uint32_t section_header_size() const { return version_ == 0 ? 40 : 48; }
    uint32_t symbol_table_offset() const { return bytes(), symptr_; }
    uint32_t string_table_offset() const { return bytes(), strptr_; }

    std::string bytes() const {
        std::string strings = num(0, 4), headers, body, symbols;
        uint32_t at = header_size() + opthdr_ + section_header_size() * uint32_t(sections_.size()), count = 0;
        const int w = version_ == 0 ? 2 : 4;
        for (const SECTION& s : sections_) {
            const std::string relocs(s.nreloc * (version_ == 0 ? 10 : 12), 'R'), lines(6 * s.nlnno, 'L');
            headers += name_field(s.name, version_ > 0, strings) + num(0, 4) + num(0x100, 4) + num(s.data.size(), 4) +
                       num(at, 4) + num(s.nreloc ? at + s.data.size() : 0, 4) +
                       num(s.nlnno ? at + s.data.size() + relocs.size() : 0, 4) + num(s.nreloc, w) +
                       num(s.nlnno, w) + num(0x20, w) + (version_ == 0 ? "\x12\x01" : "\x12\x34" + num(1, 2));
            body += s.data + relocs + lines;
            at += uint32_t(s.data.size() + relocs.size() + lines.size());
        }
        for (const SYMBOL& s : symbols_) {
            symbols += name_field(s.name, true, strings) + num(s.value, 4) + num(uint16_t(s.scnum), 2) +
                       num(s.type, 2) + char(s.sclass) + char(s.aux.size());
            for (const std::string& a : s.aux)
                symbols += a;
            count += 1 + uint32_t(s.aux.size());
        }
        symptr_ = at;
        strptr_ = with_symbols_ ? at + 18 * count : at;
        std::string out = num(version_ == 0 ? target_ : 0xC0 + version_, 2) + num(sections_.size(), 2) +
                          num(0x5F000000, 4) + num(with_symbols_ ? at : 0, 4) + num(with_symbols_ ? count : 0, 4) +
                          num(opthdr_, 2) + num(flags_, 2) + (version_ == 0 ? "" : num(target_, 2));
        if (opthdr_ != 28)   // filler, or a 28-byte header with entry point 0x11223344
            out += std::string(opthdr_, 'O');
        else
            out += num(0x0108, 2) + num(1, 2) + num(0x10, 4) + num(0x20, 4) + num(0, 4) + num(0x11223344, 4) +
                   std::string(8, '\0');
        return out + headers + body + (with_symbols_ ? symbols : "") +
               (strings.size() > 4 ? strings.replace(0, 4, num(strings.size(), 4)) : "");
    }

private:
    struct SECTION { std::string name, data; uint32_t nreloc, nlnno; };
    struct SYMBOL { std::string name; uint32_t value; int16_t scnum; uint16_t type; uint8_t sclass;
                    std::vector<std::string> aux; };

    // Inline (NUL-padded, an 8-character name unterminated), or zero and the
    // offset of the name, which is added to the string table.
    std::string name_field(const std::string& name, bool may_use_table, std::string& strings) const {
        if (!may_use_table || name.size() <= 8)
            return (name.substr(0, 8) + std::string(8, '\0')).substr(0, 8);
        const std::string field = num(0, 4) + num(uint32_t(strings.size()), 4);
        strings += name + '\0';
        return field;
    }

    int version_;
    ORDER order_;
    uint16_t target_, flags_, opthdr_ = 0;
    bool with_symbols_ = true;
    std::vector<SECTION> sections_;
    std::vector<SYMBOL> symbols_;
    mutable uint32_t symptr_ = 0, strptr_ = 0;
};

#endif

#ifndef ARWREN_TESTS_COMMON_ELF_BUILDER_H
#define ARWREN_TESTS_COMMON_ELF_BUILDER_H

// Builds the bytes of a 32-bit ELF relocatable object in either byte order,
// written out by hand from the record layouts (not through the library under
// test). Layout: ELF header, section contents, section header table. The
// section list is: the null section, the caller's sections, ".symtab",
// ".strtab" (unless left out), a SHT_SYMTAB_SHNDX table when a symbol carries
// an extended index, and ".shstrtab".

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

class ELF_BUILDER {
public:
    enum ORDER { LITTLE = 1, BIG = 2 };
    static const uint16_t XINDEX = 0xFFFF;

    explicit ELF_BUILDER(ORDER order = LITTLE, uint16_t machine = 40) : order_(order), machine_(machine) {}

    // A section of the caller's; returns its index.
    unsigned section(const std::string& name, uint32_t type, const std::string& data) {
        return sections_.push_back(SECTION{name, type, data}), unsigned(sections_.size());
    }

    // A symbol; with shndx XINDEX, extended is what the index table holds.
    ELF_BUILDER& symbol(const std::string& name, unsigned bind, unsigned type, uint16_t shndx,
                        uint32_t value = 0, uint32_t size = 0, uint32_t extended = 0) {
        return symbols_.push_back(SYMBOL{name, bind, type, shndx, value, size, extended}), *this;
    }

    ELF_BUILDER& symtab_name(const std::string& name) { symtab_name_ = name; return *this; }
    ELF_BUILDER& strtab_linked(bool linked) { strtab_linked_ = linked; return *this; }
    ELF_BUILDER& without_strtab() { with_strtab_ = false; return *this; }
    ELF_BUILDER& without_sections() { without_sections_ = true; return *this; }
    ELF_BUILDER& without_shndx_table() { with_shndx_table_ = false; return *this; }
    // e_shnum 0 with the count in section 0's sh_size, e_shstrndx XINDEX with
    // the index in its sh_link.
    ELF_BUILDER& extended_numbering() { extended_ = true; return *this; }
    ELF_BUILDER& ident(unsigned index, unsigned char value) { ident_.push_back({index, value}); return *this; }
    // The last symbol stands this many times in the table, every copy
    // pointing at one string of ".strtab".
    ELF_BUILDER& repeated(unsigned copies) { symbols_.back().copies = copies; return *this; }

    std::string bytes() const {
        const std::vector<SECTION> all = layout_sections();
        const uint32_t count = uint32_t(all.size());
        std::string out(52, '\0'), headers;
        for (uint32_t i = 0; i < count; ++i) {
            const SECTION& s = all[i];
            out.resize((out.size() + 3) & ~size_t(3), '\0');
            // Under extended numbering section 0 holds the count and the
            // index of the section-name table.
            put(headers, 4, {s.name_offset, s.type, 0u, 0u, i == 0 ? 0u : uint32_t(out.size()),
                             i == 0 && extended_ ? count : uint32_t(s.data.size()),
                             i == 0 && extended_ ? count - 1 : s.link, s.info, 4u, s.entsize});
            out += s.data;
        }
        out.resize((out.size() + 3) & ~size_t(3), '\0');
        const uint32_t shoff = without_sections_ ? 0 : uint32_t(out.size());
        out.replace(0, 52, elf_header(shoff, count));
        return without_sections_ ? out : out + headers;
    }

private:
    struct SECTION { std::string name; uint32_t type = 0; std::string data;
                     uint32_t link = 0, info = 0, entsize = 0, name_offset = 0; };
    struct SYMBOL { std::string name; unsigned bind, type; uint16_t shndx; uint32_t value, size, extended;
                    unsigned copies = 1; };

    void put(std::string& out, int width, std::initializer_list<uint32_t> values) const {
        for (uint32_t v : values)
            for (int i = 0; i < width; ++i)
                out += char(v >> 8 * (order_ == BIG ? width - 1 - i : i));
    }

    static uint32_t add_string(std::string& table, const std::string& text) {
        table += text + '\0';
        return uint32_t(table.size() - text.size() - 1);
    }

    std::vector<SECTION> layout_sections() const {
        std::vector<SECTION> all(1);
        all.insert(all.end(), sections_.begin(), sections_.end());
        const uint32_t symtab = uint32_t(all.size());
        std::string names(1, '\0'), symbols(16, '\0'), extended(4, '\0'), section_names(1, '\0');
        bool any_extended = false;
        for (const SYMBOL& s : symbols_) {
            const uint32_t name = add_string(names, s.name);
            for (unsigned copy = 0; copy < s.copies; ++copy) {
                put(symbols, 4, {name, s.value, s.size});
                symbols += {char((s.bind << 4) | (s.type & 0xF)), '\0'};
                put(symbols, 2, {s.shndx});
                put(extended, 4, {s.shndx == XINDEX ? s.extended : 0});
            }
            any_extended = any_extended || s.shndx == XINDEX;
        }
        all.push_back(SECTION{symtab_name_, 2, symbols, strtab_linked_ && with_strtab_ ? symtab + 1 : 0, 1, 16});
        if (with_strtab_)
            all.push_back(SECTION{".strtab", 3, names});
        if (any_extended && with_shndx_table_)
            all.push_back(SECTION{".symtab_shndx", 18, extended, symtab, 0, 4});
        all.push_back(SECTION{".shstrtab", 3, ""});
        for (size_t i = 1; i < all.size(); ++i)
            all[i].name_offset = add_string(section_names, all[i].name);
        all.back().data = section_names;
        return all;
    }

    // ELFCLASS32, the byte order, EV_CURRENT; ET_REL; no program headers.
    std::string elf_header(uint32_t shoff, uint32_t count) const {
        std::string out = std::string("\x7f" "ELF\x01", 5) + char(order_) + '\x01' + std::string(9, '\0');
        for (const auto& o : ident_) out[o.first] = char(o.second);
        put(out, 2, {1u, machine_});
        put(out, 4, {1u, 0u, 0u, shoff, 0u});        // version, entry, phoff, shoff, flags
        const bool none = without_sections_;
        // ehsize, phentsize, phnum, shentsize, shnum, shstrndx
        put(out, 2, {52u, 0u, 0u, none ? 0u : 40u, none || extended_ ? 0u : count,
                     none ? 0u : extended_ ? uint32_t(XINDEX) : count - 1});
        return out;
    }

    ORDER order_;
    uint16_t machine_;
    std::vector<SECTION> sections_;
    std::vector<SYMBOL> symbols_;
    std::vector<std::pair<unsigned, unsigned char>> ident_;
    std::string symtab_name_ = ".symtab";
    bool strtab_linked_ = true, with_strtab_ = true, without_sections_ = false, with_shndx_table_ = true,
         extended_ = false;
};

#endif

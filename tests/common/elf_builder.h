#ifndef ARWREN_TESTS_COMMON_ELF_BUILDER_H
#define ARWREN_TESTS_COMMON_ELF_BUILDER_H

// Builds the bytes of a 32-bit ELF relocatable object in either byte order,
// written out by hand from the record layouts (not through the library under
// test). Layout: ELF header, section contents, section header table. The
// section list is: the null section, the caller's sections, then ".symtab",
// ".strtab" and ".shstrtab" (each only when asked for or needed), and a
// SHT_SYMTAB_SHNDX table when a symbol carries an extended index.

#include <cstdint>
#include <string>
#include <vector>

class ELF_BUILDER {
public:
    enum ORDER { LITTLE = 1, BIG = 2 };
    static const uint16_t XINDEX = 0xFFFF;

    explicit ELF_BUILDER(ORDER order = LITTLE, uint16_t machine = 40) : order_(order), machine_(machine) {}

    // A section of the caller's; returns its index.
    unsigned section(const std::string& name, uint32_t type, const std::string& data,
                     uint32_t link = 0, uint32_t entsize = 0) {
        sections_.push_back(SECTION{name, type, data, link, 0, entsize});
        return static_cast<unsigned>(sections_.size());
    }

    // A symbol; with shndx XINDEX, extended is what the index table holds.
    ELF_BUILDER& symbol(const std::string& name, unsigned bind, unsigned type, uint16_t shndx,
                        uint32_t value = 0, uint32_t size = 0, uint32_t extended = 0) {
        symbols_.push_back(SYMBOL{name, bind, type, shndx, value, size, extended});
        return *this;
    }

    ELF_BUILDER& symtab_name(const std::string& name) { symtab_name_ = name; return *this; }
    ELF_BUILDER& strtab_linked(bool linked) { strtab_linked_ = linked; return *this; }
    ELF_BUILDER& without_strtab() { with_strtab_ = false; return *this; }
    ELF_BUILDER& without_symtab() { with_symtab_ = false; return *this; }
    ELF_BUILDER& without_sections() { without_sections_ = true; return *this; }
    ELF_BUILDER& without_shndx_table() { with_shndx_table_ = false; return *this; }
    // e_shnum 0 with the count in section 0's sh_size, e_shstrndx XINDEX with
    // the index in its sh_link.
    ELF_BUILDER& extended_numbering() { extended_ = true; return *this; }
    ELF_BUILDER& ident(unsigned index, unsigned char value) { ident_overrides_.push_back({index, value}); return *this; }

    // Index the library will see for the built-in sections.
    unsigned symtab_index() const { return static_cast<unsigned>(sections_.size()) + 1; }

    std::string bytes() const {
        std::vector<SECTION> all = layout_sections();
        std::string out(52, '\0');
        std::vector<uint32_t> offsets;
        for (const SECTION& s : all) {
            while (out.size() % 4) out += '\0';
            offsets.push_back(static_cast<uint32_t>(out.size()));
            out += s.data;
        }
        while (out.size() % 4) out += '\0';
        const uint32_t shoff = without_sections_ ? 0 : static_cast<uint32_t>(out.size());
        if (!without_sections_)
            for (size_t i = 0; i < all.size(); ++i)
                out += section_header(all, i, i == 0 ? 0 : offsets[i]);
        std::string header = elf_header(shoff, static_cast<uint32_t>(all.size()), shstrndx(all));
        out.replace(0, header.size(), header);
        return out;
    }

private:
    struct SECTION {
        std::string name;
        uint32_t type;
        std::string data;
        uint32_t link;
        uint32_t info;
        uint32_t entsize;
        uint32_t name_offset = 0;
    };
    struct SYMBOL {
        std::string name;
        unsigned bind;
        unsigned type;
        uint16_t shndx;
        uint32_t value;
        uint32_t size;
        uint32_t extended;
    };

    void put16(std::string& out, uint16_t v) const {
        if (order_ == BIG) { out += char(v >> 8); out += char(v); }
        else { out += char(v); out += char(v >> 8); }
    }
    void put32(std::string& out, uint32_t v) const {
        if (order_ == BIG) { put16(out, uint16_t(v >> 16)); put16(out, uint16_t(v)); }
        else { put16(out, uint16_t(v)); put16(out, uint16_t(v >> 16)); }
    }

    static uint32_t add_string(std::string& table, const std::string& text) {
        uint32_t offset = static_cast<uint32_t>(table.size());
        table += text;
        table += '\0';
        return offset;
    }

    bool needs_shndx_table() const {
        if (!with_shndx_table_) return false;
        for (const SYMBOL& s : symbols_)
            if (s.shndx == XINDEX) return true;
        return false;
    }

    std::vector<SECTION> layout_sections() const {
        std::vector<SECTION> all(1, SECTION{"", 0, "", 0, 0, 0});
        for (const SECTION& s : sections_) all.push_back(s);
        const unsigned symtab = static_cast<unsigned>(all.size());
        const unsigned strtab = symtab + (with_symtab_ ? 1 : 0);
        std::string names(1, '\0');
        std::string symbols(16, '\0');
        std::string extended(4, '\0');
        for (const SYMBOL& s : symbols_) {
            put32(symbols, add_string(names, s.name));
            put32(symbols, s.value);
            put32(symbols, s.size);
            symbols += char((s.bind << 4) | (s.type & 0xF));
            symbols += '\0';
            put16(symbols, s.shndx);
            put32(extended, s.shndx == XINDEX ? s.extended : 0);
        }
        if (with_symtab_)
            all.push_back(SECTION{symtab_name_, 2, symbols, strtab_linked_ && with_strtab_ ? strtab : 0,
                                  1, 16});
        if (with_strtab_)
            all.push_back(SECTION{".strtab", 3, names, 0, 0, 0});
        if (needs_shndx_table())
            all.push_back(SECTION{".symtab_shndx", 18, extended, symtab, 0, 4});
        std::string section_names(1, '\0');
        for (SECTION& s : all)
            if (&s != &all[0]) s.name_offset = add_string(section_names, s.name);
        SECTION shstrtab{".shstrtab", 3, "", 0, 0, 0};
        shstrtab.name_offset = add_string(section_names, shstrtab.name);
        shstrtab.data = section_names;
        all.push_back(shstrtab);
        return all;
    }

    uint16_t shstrndx(const std::vector<SECTION>& all) const {
        return without_sections_ ? 0 : static_cast<uint16_t>(extended_ ? XINDEX : all.size() - 1);
    }

    std::string section_header(const std::vector<SECTION>& all, size_t i, uint32_t offset) const {
        const SECTION& s = all[i];
        std::string out;
        const bool first = i == 0;
        put32(out, s.name_offset);
        put32(out, s.type);
        put32(out, 0);                                    // flags
        put32(out, 0);                                    // addr
        put32(out, offset);
        put32(out, first && extended_ ? static_cast<uint32_t>(all.size()) : static_cast<uint32_t>(s.data.size()));
        put32(out, first && extended_ ? static_cast<uint32_t>(all.size() - 1) : s.link);
        put32(out, s.info);
        put32(out, 4);                                    // addralign
        put32(out, s.entsize);
        return out;
    }

    std::string elf_header(uint32_t shoff, uint32_t count, uint16_t names) const {
        std::string out = "\x7f" "ELF";
        out += char(1);                                   // ELFCLASS32
        out += char(order_);                              // EI_DATA
        out += char(1);                                   // EI_VERSION
        out.append(9, '\0');
        for (const auto& o : ident_overrides_) out[o.first] = char(o.second);
        put16(out, 1);                                    // ET_REL
        put16(out, machine_);
        put32(out, 1);                                    // EV_CURRENT
        put32(out, 0);                                    // entry
        put32(out, 0);                                    // phoff
        put32(out, shoff);
        put32(out, 0);                                    // flags
        put16(out, 52);
        put16(out, 0);
        put16(out, 0);
        put16(out, without_sections_ ? 0 : 40);
        put16(out, without_sections_ || extended_ ? 0 : static_cast<uint16_t>(count));
        put16(out, names);
        return out;
    }

    ORDER order_;
    uint16_t machine_;
    std::vector<SECTION> sections_;
    std::vector<SYMBOL> symbols_;
    std::vector<std::pair<unsigned, unsigned char>> ident_overrides_;
    std::string symtab_name_ = ".symtab";
    bool strtab_linked_ = true;
    bool with_strtab_ = true;
    bool with_symtab_ = true;
    bool without_sections_ = false;
    bool with_shndx_table_ = true;
    bool extended_ = false;
};

#endif

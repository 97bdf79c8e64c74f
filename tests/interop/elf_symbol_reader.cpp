#include "elf_symbol_reader.h"

namespace {

const size_t kEhdrSize = 52;
const size_t kShdrSize = 40;
const size_t kSymSize = 16;
const uint32_t kShtSymtab = 2;

// Reads unsigned fields in the file's byte order; every read is bounds
// checked by the caller through fits().
class FIELD_READER {
public:
    FIELD_READER(const std::string& bytes, bool big) : bytes_(bytes), big_(big) {}
    bool fits(uint64_t at, uint64_t length) const {
        return at <= bytes_.size() && bytes_.size() - at >= length;
    }
    uint32_t u32(uint64_t at) const { return read(at, 4); }
    uint16_t u16(uint64_t at) const { return static_cast<uint16_t>(read(at, 2)); }
    uint8_t u8(uint64_t at) const { return static_cast<uint8_t>(bytes_[at]); }
    std::string text(uint64_t at, uint64_t limit) const {
        if (at >= limit || at >= bytes_.size())
            return "";
        size_t end = bytes_.find('\0', at);
        if (end == std::string::npos || end > limit)
            end = limit;
        return bytes_.substr(at, end - at);
    }

private:
    uint32_t read(uint64_t at, int width) const {
        uint32_t value = 0;
        for (int i = 0; i < width; ++i) {
            int shift = big_ ? (width - 1 - i) * 8 : i * 8;
            value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes_[at + i])) << shift;
        }
        return value;
    }

    const std::string& bytes_;
    bool big_;
};

struct SECTION {
    uint32_t type, offset, size, link, entsize;
};

bool read_section(const FIELD_READER& in, uint64_t at, SECTION& s) {
    if (!in.fits(at, kShdrSize))
        return false;
    s = {in.u32(at + 4), in.u32(at + 16), in.u32(at + 20), in.u32(at + 24), in.u32(at + 36)};
    return true;
}

}  // namespace

bool read_elf32_symbols(const std::string& bytes, std::vector<ELF_SYMBOL_FACTS>& symbols) {
    symbols.clear();
    if (bytes.size() < kEhdrSize ||
        bytes.compare(0, 4,
                      "\x7f"
                      "ELF") != 0 ||
        bytes[4] != 1)
        return false;
    FIELD_READER in(bytes, bytes[5] == 2);
    uint64_t shoff = in.u32(32);
    uint16_t shnum = in.u16(48);
    SECTION symtab{};
    bool found = false;
    for (uint16_t i = 0; i < shnum && !found; ++i)
        found =
            read_section(in, shoff + uint64_t(i) * kShdrSize, symtab) && symtab.type == kShtSymtab;
    SECTION strtab{};
    if (!found || !read_section(in, shoff + uint64_t(symtab.link) * kShdrSize, strtab))
        return true;
    uint64_t count = symtab.size / kSymSize;
    for (uint64_t i = 0; i < count; ++i) {
        uint64_t at = uint64_t(symtab.offset) + i * kSymSize;
        if (!in.fits(at, kSymSize))
            break;
        std::string name =
            in.text(uint64_t(strtab.offset) + in.u32(at), uint64_t(strtab.offset) + strtab.size);
        symbols.push_back({name, static_cast<unsigned>(in.u8(at + 12) >> 4), in.u16(at + 14)});
    }
    return true;
}

bool arwren_indexes(const ELF_SYMBOL_FACTS& symbol) {
    if (symbol.binding != kStbGlobal && symbol.binding != kStbWeak)
        return false;
    if (symbol.shndx == kShnXindex || symbol.shndx == kShnAbs || symbol.shndx == kShnCommon)
        return true;
    return symbol.shndx != kShnUndef && symbol.shndx < kShnLoReserve;
}

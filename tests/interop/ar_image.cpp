#include "ar_image.h"

#include <cstdlib>

namespace {

const char kMagic[] = "!<arch>\n";
const size_t kMagicSize = 8;
const size_t kHeaderSize = 60;

std::string trim_right(const std::string& field) {
    size_t end = field.find_last_not_of(' ');
    return end == std::string::npos ? "" : field.substr(0, end + 1);
}

bool parse_decimal(const std::string& field, uint64_t& value) {
    std::string text = trim_right(field);
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    value = std::strtoull(text.c_str(), nullptr, 10);
    return true;
}

uint32_t big_endian_word(const std::string& data, size_t at) {
    return static_cast<uint32_t>(static_cast<unsigned char>(data[at])) << 24 |
           static_cast<uint32_t>(static_cast<unsigned char>(data[at + 1])) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(data[at + 2])) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(data[at + 3]));
}

}  // namespace

bool AR_IMAGE::fail(const std::string& why) {
    error_ = why;
    return false;
}

bool AR_IMAGE::parse(const std::string& bytes) {
    if (bytes.compare(0, kMagicSize, kMagic) != 0)
        return fail("no archive magic");
    uint64_t at = kMagicSize;
    while (at < bytes.size()) {
        if (bytes.size() - at < kHeaderSize)
            return fail("short header at " + std::to_string(at));
        std::string header = bytes.substr(at, kHeaderSize);
        uint64_t size = 0;
        if (header.compare(58, 2, "`\n") != 0 || !parse_decimal(header.substr(48, 10), size))
            return fail("corrupt header at " + std::to_string(at));
        if (bytes.size() - at - kHeaderSize < size)
            return fail("member data past the end at " + std::to_string(at));
        std::string field = trim_right(header.substr(0, 16));
        std::string data = bytes.substr(at + kHeaderSize, size);
        if (field == "/") {
            has_index_ = true;
            index_size_ = size;
            if (!parse_index(data))
                return false;
        } else if (field == "//") {
            long_names_ = data;
        } else {
            MEMBER member{"", at, data};
            if (!resolve_name(field, member.name))
                return false;
            by_offset_[at] = members_.size();
            members_.push_back(member);
        }
        at += kHeaderSize + size + (size & 1);
    }
    return true;
}

bool AR_IMAGE::parse_index(const std::string& data) {
    if (data.size() < 4)
        return fail("index shorter than its count");
    uint64_t count = big_endian_word(data, 0);
    if ((data.size() - 4) / 4 < count)
        return fail("index offsets past its end");
    size_t names_at = 4 + 4 * count;
    for (uint64_t i = 0; i < count; ++i) {
        size_t end = data.find('\0', names_at);
        if (end == std::string::npos)
            return fail("index name " + std::to_string(i) + " not terminated");
        index_.push_back({data.substr(names_at, end - names_at), big_endian_word(data, 4 + 4 * i)});
        names_at = end + 1;
    }
    return true;
}

bool AR_IMAGE::resolve_name(const std::string& field, std::string& name) {
    if (field.size() > 1 && field[0] == '/') {
        uint64_t offset = 0;
        if (!parse_decimal(field.substr(1), offset) || offset >= long_names_.size())
            return fail("bad long-name reference " + field);
        size_t end = long_names_.find("/\n", offset);
        if (end == std::string::npos)
            return fail("unterminated long name at " + field);
        name = long_names_.substr(offset, end - offset);
        return true;
    }
    name = !field.empty() && field.back() == '/' ? field.substr(0, field.size() - 1) : field;
    return true;
}

std::vector<std::string> AR_IMAGE::member_names() const {
    std::vector<std::string> names;
    for (const MEMBER& m : members_)
        names.push_back(m.name);
    return names;
}

std::vector<std::pair<std::string, std::string>> AR_IMAGE::index_by_member() const {
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const INDEX_ENTRY& entry : index_) {
        auto found = by_offset_.find(entry.offset);
        pairs.emplace_back(entry.symbol, found == by_offset_.end()
                                             ? "<bad offset " + std::to_string(entry.offset) + ">"
                                             : members_[found->second].name);
    }
    return pairs;
}

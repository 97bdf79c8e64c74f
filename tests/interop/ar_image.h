#ifndef ARWREN_TESTS_INTEROP_AR_IMAGE_H
#define ARWREN_TESTS_INTEROP_AR_IMAGE_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

using INDEX_PAIRS = std::vector<std::pair<std::string, std::string>>;  // symbol, member

// An archive read independently of the product, as other tools read it: the
// POSIX/GNU layout with a "//" long-name table and a "/" index of big-endian
// offsets and NUL-terminated names.
struct AR_IMAGE {
    struct MEMBER {
        std::string name;
        uint64_t header_offset;
        std::string data;
    };
    std::vector<MEMBER> members;
    std::vector<std::pair<std::string, uint64_t>> index;  // symbol, header offset
    uint64_t index_size = 0;                              // size field of "/", as written
    std::string error;                                    // why parse() failed

    bool parse(const std::string& bytes) {
        if (bytes.compare(0, 8, "!<arch>\n") != 0)
            return fail("no archive magic");
        std::string long_names;
        for (uint64_t at = 8, size = 0; at < bytes.size(); at += 60 + size + (size & 1)) {
            std::string header = bytes.substr(at, 60);
            if (header.size() < 60 || header.compare(58, 2, "`\n") != 0 ||
                !decimal(header.substr(48, 10), size) || bytes.size() - at - 60 < size)
                return fail("bad member header at " + std::to_string(at));
            std::string field = header.substr(0, 16);
            field.erase(field.find_last_not_of(' ') + 1);
            std::string data = bytes.substr(at + 60, size);
            uint64_t offset = 0;
            size_t end = 0;
            if (field == "/") {
                index_size = size;
                if (!parse_index(data))
                    return false;
            } else if (field == "//") {
                long_names = data;
            } else if (field.size() > 1 && field[0] == '/') {
                if (!decimal(field.substr(1), offset) || offset >= long_names.size() ||
                    (end = long_names.find("/\n", offset)) == std::string::npos)
                    return fail("bad long-name reference " + field);
                members.push_back({long_names.substr(offset, end - offset), at, data});
            } else {
                bool slash = !field.empty() && field.back() == '/';
                members.push_back({field.substr(0, field.size() - slash), at, data});
            }
        }
        return true;
    }

    std::vector<std::string> member_names() const {
        std::vector<std::string> names;
        for (const MEMBER& m : members)
            names.push_back(m.name);
        return names;
    }

    // An offset that is no member's header maps to "<bad offset N>".
    INDEX_PAIRS index_by_member() const {
        INDEX_PAIRS pairs;
        for (const auto& entry : index) {
            std::string member = "<bad offset " + std::to_string(entry.second) + ">";
            for (const MEMBER& m : members)
                if (m.header_offset == entry.second)
                    member = m.name;
            pairs.emplace_back(entry.first, member);
        }
        return pairs;
    }

private:
    bool fail(const std::string& why) {
        error = why;
        return false;
    }
    static bool decimal(const std::string& field, uint64_t& value) {
        std::string text = field.substr(0, field.find_last_not_of(' ') + 1);
        value = std::strtoull(text.c_str(), nullptr, 10);
        return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    }
    static uint64_t be32(const std::string& data, size_t at) {
        uint64_t value = 0;
        for (size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(data[at + i]);
        return value;
    }
    bool parse_index(const std::string& data) {
        uint64_t count = data.size() < 4 ? 0 : be32(data, 0);
        if (data.size() < 4 || (data.size() - 4) / 4 < count)
            return fail("index shorter than its count");
        for (size_t i = 0, names_at = 4 + 4 * count; i < count; ++i) {
            size_t end = data.find('\0', names_at);
            if (end == std::string::npos)
                return fail("index name " + std::to_string(i) + " not terminated");
            index.emplace_back(data.substr(names_at, end - names_at), be32(data, 4 + 4 * i));
            names_at = end + 1;
        }
        return true;
    }
};

#endif

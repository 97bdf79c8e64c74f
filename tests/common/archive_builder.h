#ifndef ARWREN_TESTS_COMMON_ARCHIVE_BUILDER_H
#define ARWREN_TESTS_COMMON_ARCHIVE_BUILDER_H

// Builds the bytes of an archive in any of the three name forms, written
// out by hand from the layout rather than through the archive library, so
// that tests can compare the library's output against it and feed it
// corrupt variants.

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

class ARCHIVE_BUILDER {
public:
    enum FORM { ORIGINAL, NU_LONG_NAME, POSIX };
    enum FIELD { NAME, DATE, UID, GID, MODE, SIZE, END, FIELD_COUNT };

    explicit ARCHIVE_BUILDER(FORM form = POSIX) : form_(form) {}

    ARCHIVE_BUILDER& member(const std::string& name, const std::string& data, long date = 0) {
        return members_.push_back(MEMBER{name, data, date, {}}), *this;
    }

    // A symbol index ("/" member): names and the member each one points at.
    // With pad_counted the size includes the index's own padding byte, as
    // the writer does; otherwise the padding follows like any member's.
    ARCHIVE_BUILDER& index(const std::vector<std::pair<std::string, size_t>>& entries, bool pad_counted = true) {
        index_ = entries;
        has_index_ = true;
        pad_counted_ = pad_counted;
        return *this;
    }

    // Replaces one header field of the last member with raw text.
    ARCHIVE_BUILDER& field(FIELD which, const std::string& text) { members_.back().overrides[which] = text; return *this; }

    std::string bytes() const { std::vector<size_t> offsets; return build(offsets); }

    // Offset of member i's header in bytes().
    size_t header_offset(size_t i) const {
        std::vector<size_t> offsets;
        return build(offsets), offsets.at(i);
    }

    // The header fields, each blank-padded (or cut) to its width.
    static std::string header(const std::string& name, const std::string& date, const std::string& uid, size_t size,
                              const std::map<int, std::string>& overrides = {}) {
        static const size_t width[FIELD_COUNT] = {16, 12, 6, 6, 8, 10, 2};
        const std::string text[] = {name, date, uid, "0", "0", std::to_string(size), "`\n"};
        std::string h;
        for (int k = 0; k < FIELD_COUNT; ++k) {
            const std::string f = (overrides.count(k) ? overrides.at(k) : text[k]).substr(0, width[k]);
            h += f + std::string(width[k] - f.size(), ' ');
        }
        return h;
    }

    static std::string padded(const std::string& data, char pad_byte = '\n') {
        return data.size() % 2 ? data + pad_byte : data;
    }

private:
    struct MEMBER { std::string name, data; long date; std::map<int, std::string> overrides; };

    static std::string be32(uint32_t v) { return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)}; }

    // Member headers, with long names in a table; NU tables open with a
    // newline so that their offsets count from 1.
    std::string build(std::vector<size_t>& at) const {
        std::string table = form_ == NU_LONG_NAME ? "\n" : "", body;
        size_t index_size = 4 + 4 * index_.size();
        for (const auto& e : index_)
            index_size += e.first.size() + 1;
        for (const MEMBER& m : members_) {
            std::string name = m.name.substr(0, 15) + "/", uid = "0";
            if (form_ != ORIGINAL && m.name.size() >= 16) {
                std::string& field = form_ == POSIX ? name : uid;
                field = (form_ == POSIX ? "/" : "") + std::to_string(table.size());
                table += m.name + "/\n";
            }
            at.push_back(body.size());
            body += header(name, std::to_string(m.date), uid, m.data.size(), m.overrides) + padded(m.data);
        }
        const std::string names = table.size() < 2 ? "" :
            header(form_ == NU_LONG_NAME ? "<filenames>/" : "//", "0", "0", table.size()) + padded(table);
        for (size_t& offset : at)
            offset += 8 + (has_index_ ? 60 + index_size + index_size % 2 : 0) + names.size();
        std::string out = "!<arch>\n", data = be32(uint32_t(index_.size()));
        for (const auto& e : index_)
            data += be32(uint32_t(at.at(e.second)));
        for (const auto& e : index_)
            data += e.first + '\0';
        if (has_index_)
            out += header("/", "0", "0", pad_counted_ ? data.size() + data.size() % 2 : data.size()) + padded(data, '\0');
        return out + names + body;
    }

    FORM form_;
    std::vector<MEMBER> members_;
    std::vector<std::pair<std::string, size_t>> index_;
    bool has_index_ = false, pad_counted_ = true;
};

#endif

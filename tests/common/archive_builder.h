#ifndef ARWREN_TESTS_COMMON_ARCHIVE_BUILDER_H
#define ARWREN_TESTS_COMMON_ARCHIVE_BUILDER_H

// Builds the bytes of an archive in any of the three name forms, written
// out by hand from the layout rather than through the archive library, so
// that tests can compare the library's output against it and feed it
// corrupt variants.

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

class ARCHIVE_BUILDER {
public:
    enum FORM { ORIGINAL, NU_LONG_NAME, POSIX };

    explicit ARCHIVE_BUILDER(FORM form = POSIX) : form_(form) {}

    ARCHIVE_BUILDER& member(const std::string& name, const std::string& data, long date = 0)
    {
        MEMBER m;
        m.name = name;
        m.data = data;
        m.fields[DATE] = std::to_string(date);
        m.fields[SIZE] = std::to_string(data.size());
        members_.push_back(m);
        return *this;
    }

    // A symbol index ("/" member): names and the member each one points at.
    // With pad_counted the size includes the index's own padding byte, as
    // the writer does; otherwise the padding follows like any member's.
    ARCHIVE_BUILDER& index(const std::vector<std::pair<std::string, size_t>>& entries,
                           bool pad_counted = true)
    {
        index_ = entries;
        has_index_ = true;
        pad_counted_ = pad_counted;
        return *this;
    }

    // Replaces one header field of the last member with raw text (padded
    // with blanks to the field width; longer text is cut).
    enum FIELD { NAME, DATE, UID, GID, MODE, SIZE, END, FIELD_COUNT };
    ARCHIVE_BUILDER& field(FIELD which, const std::string& text)
    {
        members_.back().overrides[which] = text;
        members_.back().overridden[which] = true;
        return *this;
    }

    // Puts a long-name table in the archive even when no name needs it.
    ARCHIVE_BUILDER& force_name_table() { force_table_ = true; return *this; }

    std::string bytes() const
    {
        std::string table = name_table();
        std::string out = "!<arch>\n";
        if (has_index_)
            out += index_member(table);
        if (!table.empty())
            out += header(form_ == NU_LONG_NAME ? "<filenames>/" : "//", "0", "0", table.size()) +
                   padded(table, "\n");
        for (size_t i = 0; i < members_.size(); ++i)
            out += member_bytes(i);
        return out;
    }

    // Offset of member i's header in bytes().
    size_t header_offset(size_t i) const
    {
        size_t offset = 8;
        if (has_index_)
            offset += index_member(name_table()).size();
        std::string table = name_table();
        if (!table.empty())
            offset += 60 + table.size() + table.size() % 2;
        for (size_t k = 0; k < i; ++k)
            offset += member_bytes(k).size();
        return offset;
    }

    static std::string header(const std::string& name, const std::string& date,
                              const std::string& uid, size_t size)
    {
        return pad(name, 16) + pad(date, 12) + pad(uid, 6) + pad("0", 6) + pad("0", 8) +
               pad(std::to_string(size), 10) + "`\n";
    }

    static std::string pad(const std::string& text, size_t width)
    {
        std::string s = text.substr(0, width);
        return s + std::string(width - s.size(), ' ');
    }

    static std::string padded(const std::string& data, const char* pad_byte)
    {
        return data.size() % 2 ? data + pad_byte : data;
    }

private:
    struct MEMBER {
        std::string name;
        std::string data;
        std::string fields[FIELD_COUNT];
        std::string overrides[FIELD_COUNT];
        bool overridden[FIELD_COUNT] = {};
    };

    static bool is_long(const std::string& name) { return name.size() >= 16; }

    std::string name_table() const
    {
        if (form_ == ORIGINAL)
            return "";
        std::string table = form_ == NU_LONG_NAME ? "\n" : "";
        for (const MEMBER& m : members_) {
            if (is_long(m.name))
                table += m.name + "/\n";
        }
        if (table.size() < 2 && !force_table_)
            return "";
        return table;
    }

    // Offset of member i's long name in the table, or -1 for a short name.
    long long_offset(size_t i) const
    {
        if (!is_long(members_[i].name))
            return -1;
        long offset = form_ == NU_LONG_NAME ? 1 : 0;
        for (size_t k = 0; k < i; ++k) {
            if (is_long(members_[k].name))
                offset += long(members_[k].name.size()) + 2;
        }
        return offset;
    }

    std::string member_bytes(size_t i) const
    {
        const MEMBER& m = members_[i];
        long offset = form_ == ORIGINAL ? -1 : long_offset(i);
        std::string name = form_ == POSIX && offset >= 0 ? "/" + std::to_string(offset)
                                                         : m.name.substr(0, 15) + "/";
        std::string uid = form_ == NU_LONG_NAME && offset >= 0 ? std::to_string(offset) : "0";
        std::string f[FIELD_COUNT] = {pad(name, 16),       pad(m.fields[DATE], 12),
                                      pad(uid, 6),         pad("0", 6),
                                      pad("0", 8),         pad(m.fields[SIZE], 10),
                                      "`\n"};
        static const size_t width[FIELD_COUNT] = {16, 12, 6, 6, 8, 10, 2};
        std::string out;
        for (int k = 0; k < FIELD_COUNT; ++k)
            out += m.overridden[k] ? pad(m.overrides[k], width[k]) : f[k];
        return out + padded(m.data, "\n");
    }

    std::string index_member(const std::string& table) const
    {
        size_t data_size = 4 + 4 * index_.size();
        for (const auto& e : index_)
            data_size += e.first.size() + 1;
        size_t index_bytes = 60 + data_size + data_size % 2;
        size_t first = 8 + index_bytes + (table.empty() ? 0 : 60 + table.size() + table.size() % 2);
        std::vector<size_t> offsets;
        size_t at = first;
        for (size_t i = 0; i < members_.size(); ++i) {
            offsets.push_back(at);
            at += member_bytes(i).size();
        }
        std::string data = be32(uint32_t(index_.size()));
        for (const auto& e : index_)
            data += be32(uint32_t(offsets.at(e.second)));
        for (const auto& e : index_)
            data += e.first + std::string(1, '\0');
        size_t size = pad_counted_ ? data.size() + data.size() % 2 : data.size();
        if (data.size() % 2)
            data.push_back('\0');
        return header("/", "0", "0", size) + data;
    }

    static std::string be32(uint32_t v)
    {
        std::string s(4, '\0');
        s[0] = char(v >> 24), s[1] = char(v >> 16), s[2] = char(v >> 8), s[3] = char(v);
        return s;
    }

    FORM form_;
    std::vector<MEMBER> members_;
    std::vector<std::pair<std::string, size_t>> index_;
    bool has_index_ = false;
    bool pad_counted_ = true;
    bool force_table_ = false;
};

#endif

#ifndef ARWREN_TESTS_INTEROP_AR_IMAGE_H
#define ARWREN_TESTS_INTEROP_AR_IMAGE_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

// An archive read independently of the product, as other tools read it:
// the POSIX/GNU layout with a "//" long-name table and a "/" index of
// big-endian offsets and NUL-terminated names.
class AR_IMAGE {
public:
    struct MEMBER {
        std::string name;
        uint64_t header_offset;
        std::string data;
    };
    struct INDEX_ENTRY {
        std::string symbol;
        uint32_t offset;
    };

    // False with a reason in error() when the bytes are not a well-formed
    // archive.
    bool parse(const std::string& bytes);
    const std::string& error() const { return error_; }

    const std::vector<MEMBER>& members() const { return members_; }
    std::vector<std::string> member_names() const;
    bool has_index() const { return has_index_; }
    const std::vector<INDEX_ENTRY>& index() const { return index_; }
    // Size field of the "/" header, as written.
    uint64_t index_size() const { return index_size_; }
    // The index as (symbol, member name) pairs; an offset that is no
    // member's header maps to "<bad offset N>".
    std::vector<std::pair<std::string, std::string>> index_by_member() const;

private:
    bool fail(const std::string& why);
    bool parse_index(const std::string& data);
    bool resolve_name(const std::string& field, std::string& name);

    std::string error_;
    std::vector<MEMBER> members_;
    std::map<uint64_t, size_t> by_offset_;
    std::vector<INDEX_ENTRY> index_;
    bool has_index_ = false;
    uint64_t index_size_ = 0;
    std::string long_names_;
};

#endif

#include "ofe/of_string_table.h"

#include <cstring>

namespace OFE {

const char* OF_STRING_TABLE_MANAGER::get_string(unsigned long offset) {
    raw_.load();
    unsigned long end = raw_.size();
    if (raw_.pool_size() < end)
        end = raw_.pool_size();
    if (offset >= end)
        return nullptr;
    const char* text = reinterpret_cast<const char*>(raw_.data()) + offset;
    // A string running off the end of a corrupt table is not handed out.
    if (!memchr(text, 0, end - offset))
        return nullptr;
    return text;
}

bool OF_STRING_TABLE_MANAGER::string_is(unsigned long offset, const char* text) {
    raw_.load();
    unsigned long end = raw_.size();
    if (raw_.pool_size() < end)
        end = raw_.pool_size();
    const unsigned long length = strlen(text) + 1;  // the NUL must match too
    if (offset >= end || end - offset < length)
        return false;
    return memcmp(raw_.data() + offset, text, length) == 0;
}

void OF_STRING_TABLE_MANAGER::unload() {
    raw_.unload();
    index_.clear();
}

void OF_STRING_TABLE_MANAGER::clear() {
    raw_.clear();
    index_.clear();
}

// Every string of the table with the offset where it starts; the first
// occurrence of a repeated string wins. Tails of longer strings are not
// entered, so adding such a tail appends it.
void OF_STRING_TABLE_MANAGER::build_index() {
    unsigned long offset = 0;
    const unsigned long end = raw_.size();
    while (offset < end) {
        const char* text = get_string(offset);
        if (!text)
            break;
        const unsigned long length = strlen(text);
        index_.emplace(std::string(text, length), static_cast<uint32_t>(offset));
        offset += length + 1;
    }
}

unsigned long OF_STRING_TABLE_MANAGER::add_string(const char* text) {
    if (!text)
        text = "";
    if (raw_.size() > 0 && index_.empty())
        build_index();
    std::string key(text);
    auto found = index_.find(key);
    if (found != index_.end())
        return found->second;
    const uint32_t offset = raw_.size();
    raw_.set_cursor(offset);
    raw_.string_write(text);
    index_.emplace(std::move(key), offset);
    return offset;
}

// Deliberately consults the index only: a table read from a file and never
// added to has no index, and searching its bytes is not this query's job.
int OF_STRING_TABLE_MANAGER::find_string(const char* text, unsigned long& offset) {
    if (!text)
        return 0;
    auto found = index_.find(text);
    if (found == index_.end())
        return 0;
    offset = found->second;
    return 1;
}

unsigned long OF_STRING_TABLE::add_string(const char* text) {
    if (max_state(OF_STATE_OPEN) != 0)
        return kNoOffset;
    return OF_STRING_TABLE_MANAGER::add_string(text);
}

}  // namespace OFE

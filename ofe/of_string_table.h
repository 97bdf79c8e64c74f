#ifndef ARWREN_OFE_OF_STRING_TABLE_H
#define ARWREN_OFE_OF_STRING_TABLE_H

#include <cstdint>
#include <string>
#include <unordered_map>

#include "ofe/of_state_machine.h"
#include "support/data_map.h"

namespace OFE {

// One string table: NUL-terminated strings addressed by byte offset. Reading
// looks strings up in place. The index from string to offset serves adding
// with de-duplication and is built only when the first string is added.
class OF_STRING_TABLE_MANAGER {
public:
    OF_STRING_TABLE_MANAGER() {}
    virtual ~OF_STRING_TABLE_MANAGER() {}
    OF_STRING_TABLE_MANAGER(const OF_STRING_TABLE_MANAGER&) = delete;
    OF_STRING_TABLE_MANAGER& operator=(const OF_STRING_TABLE_MANAGER&) = delete;

    virtual const char* name() { return ""; }
    // The string at offset, or null past the end (or when it is not terminated
    // inside the table); valid as long as the table's bytes.
    virtual const char* get_string(unsigned long offset);
    // True when the string at offset is text. Compares in place and looks at
    // no more of the table than text is long, however long the string there.
    bool string_is(unsigned long offset, const char* text);
    virtual void unload();
    virtual void clear();
    virtual unsigned long add_string(const char* text);
    // 1 with the offset when text is in the index, else 0.
    virtual int find_string(const char* text, unsigned long& offset);
    virtual unsigned long first_offset() { return 0; }

    DATA_MAP& raw_data() { return raw_; }
    unsigned long size() const { return raw_.size(); }

private:
    void build_index();

    std::unordered_map<std::string, uint32_t> index_;
    DATA_MAP raw_;
};

// A string table that belongs to a file and follows its state: adding needs
// the file to be at most "open". add_string then answers kNoOffset.
class OF_STRING_TABLE : public OF_STRING_TABLE_MANAGER, public OF_STATE_MACHINE {
public:
    static constexpr unsigned long kNoOffset = ~0UL;

    explicit OF_STRING_TABLE(OBJECT_FILE* file) : OF_STATE_MACHINE(file) {}

    unsigned long add_string(const char* text) override;
};

}  // namespace OFE

#endif

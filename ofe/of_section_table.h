#ifndef ARWREN_OFE_OF_SECTION_TABLE_H
#define ARWREN_OFE_OF_SECTION_TABLE_H

#include <cstdint>
#include <vector>

#include "ofe/of_section.h"
#include "ofe/of_state_machine.h"
#include "support/data_map.h"

namespace OFE {

// The sections of one object file, indexed by id (stepping by one) and read
// lazily: a header is read the first time its id is asked for.
class OF_SECTION_TABLE : public OF_STATE_MACHINE {
public:
    explicit OF_SECTION_TABLE(OBJECT_FILE* file)
        : OF_STATE_MACHINE(file), scnnum_(0), all_loaded_(false) {}
    ~OF_SECTION_TABLE() override;

    virtual OF_SECTION* section(unsigned long id);             // null for ids out of range
    virtual OF_SECTION* section_name(const char* name, unsigned long start);
    virtual OF_SECTION* new_section(const char* name);         // an in-memory section at the end
    virtual void load_all_sections_into_mem();
    virtual bool all_sections_loaded() const { return all_loaded_; }
    virtual unsigned long scnnum() const { return scnnum_; }
    virtual unsigned long section_header_size() = 0;
    virtual void clear();
    virtual OF_SECTION* alloc_section(unsigned long id) = 0;
    // Binds count raw headers of entry_size bytes at offset of the object.
    virtual int load(unsigned long offset, unsigned long entry_size, unsigned long count) = 0;
    // Reads header id, builds its section and stores it (store_section).
    virtual OF_SECTION* load_section_into_mem(unsigned long id) = 0;

    // A search among the sections already in memory only; reads nothing.
    OF_SECTION* loaded_section_name(const char* name) const;

protected:
    const DATA_MAP& raw_headers() const { return raw_; }
    DATA_MAP& raw_headers() { return raw_; }
    void set_scnnum(unsigned long count) { scnnum_ = static_cast<uint32_t>(count); }
    OF_SECTION* cached_section(unsigned long id) const {
        return id < sections_.size() ? sections_[id] : nullptr;
    }
    void store_section(unsigned long id, OF_SECTION* section);

private:
    DATA_MAP raw_;
    std::vector<OF_SECTION*> sections_;   // per id: the section, null while not in memory
    uint32_t scnnum_;
    bool all_loaded_;
};

}  // namespace OFE

#endif

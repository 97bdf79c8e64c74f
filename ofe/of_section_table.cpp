#include "ofe/of_section_table.h"

#include <cstring>

#include "ofe/object_file.h"

namespace OFE {

OF_SECTION_TABLE::~OF_SECTION_TABLE() {
    for (OF_SECTION* section : sections_)
        delete section;
}

void OF_SECTION_TABLE::store_section(unsigned long id, OF_SECTION* section) {
    if (sections_.size() <= id)
        sections_.resize(id + 1, nullptr);
    if (sections_[id] != section)
        delete sections_[id];
    sections_[id] = section;
}

OF_SECTION* OF_SECTION_TABLE::section(unsigned long id) {
    const unsigned long count = scnnum();
    if (id >= count)
        return nullptr;
    if (sections_.size() < count)
        sections_.resize(count, nullptr);
    if (!sections_[id])
        load_section_into_mem(id);
    return id < sections_.size() ? sections_[id] : nullptr;
}

OF_SECTION* OF_SECTION_TABLE::section_name(const char* name, unsigned long start) {
    if (!name)
        return nullptr;
    for (unsigned long id = start; id < scnnum(); ++id) {
        OF_SECTION* candidate = section(id);
        if (candidate && candidate->name() && strcmp(candidate->name(), name) == 0)
            return candidate;
    }
    return nullptr;
}

OF_SECTION* OF_SECTION_TABLE::loaded_section_name(const char* name) const {
    if (!name)
        return nullptr;
    for (OF_SECTION* candidate : sections_)
        if (candidate && candidate->name() && strcmp(candidate->name(), name) == 0)
            return candidate;
    return nullptr;
}

OF_SECTION* OF_SECTION_TABLE::new_section(const char* name) {
    if (max_state(OF_STATE_OPEN) != 0)
        return nullptr;
    const unsigned long id = scnnum();
    OF_SECTION* section = alloc_section(id);
    section->set_name(name);
    store_section(id, section);
    set_scnnum(id + 1);
    return section;
}

void OF_SECTION_TABLE::load_all_sections_into_mem() {
    if (!owner() || !owner()->has_file())
        return;
    for (unsigned long id = 0; id < scnnum(); ++id)
        section(id);
    all_loaded_ = true;
}

void OF_SECTION_TABLE::clear() {
    for (OF_SECTION* section : sections_)
        delete section;
    sections_.clear();
    scnnum_ = 0;
    all_loaded_ = false;
    raw_.clear();
}

}  // namespace OFE

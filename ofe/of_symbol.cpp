#include "ofe/of_symbol.h"

#include "ofe/object_file.h"
#include "ofe/of_section_table.h"
#include "ofe/of_string_table.h"

namespace OFE {

OF_SECTION* OF_SYMBOL::section() {
    if (!refs_section() || !owner_ || !owner_->owner())
        return nullptr;
    OF_SECTION_TABLE* sections = owner_->owner()->section_table();
    return sections ? sections->section(section_id()) : nullptr;
}

void OF_SYMBOL::set_alias(bool alias) {
    flags_ = alias ? (flags_ | kAlias) : (flags_ & ~kAlias);
}

const char* OF_SYMBOL::name() const {
    if (name_table_) {
        const char* text = name_table_->get_string(name_offset_);
        name_table_ = nullptr;
        name_.set(text);
    }
    return name_.get();
}

int OF_SYMBOL::set_name(const char* name) {
    if (owner_ && owner_->max_state(OF_STATE_OPEN) != 0)
        return -1;
    name_table_ = nullptr;
    name_.set(name);
    return 0;
}

int OF_SYMBOL::set_name_ref(OF_STRING_TABLE_MANAGER* table, unsigned long offset) {
    if (owner_ && owner_->max_state(OF_STATE_OPEN) != 0)
        return -1;
    name_.set(nullptr);
    name_table_ = table;
    name_offset_ = offset;
    return 0;
}

const char* OF_SYMBOL::kind_name(int kind) {
    switch (kind) {
    case OF_SYM_KIND_UNDEFINED: return "undefined";
    case OF_SYM_KIND_DEFINED: return "defined";
    case OF_SYM_KIND_ABSOLUTE: return "absolute";
    case OF_SYM_KIND_COMMON: return "common";
    case OF_SYM_KIND_DEBUG: return "debug";
    default: return "unknown";
    }
}

const char* OF_SYMBOL::binding_name(int binding) {
    switch (binding) {
    case OF_SYM_BINDING_LOCAL: return "local";
    case OF_SYM_BINDING_GLOBAL: return "global";
    case OF_SYM_BINDING_WEAK: return "weak";
    default: return "unknown";
    }
}

const char* OF_SYMBOL::type_name(int type) {
    switch (type) {
    case OF_SYM_TYPE_NONE: return "none";
    case OF_SYM_TYPE_OBJECT: return "object";
    case OF_SYM_TYPE_FUNCTION: return "function";
    case OF_SYM_TYPE_SECTION: return "section";
    case OF_SYM_TYPE_FILE: return "file";
    case OF_SYM_TYPE_COMMON: return "common";
    case OF_SYM_TYPE_TLS: return "tls";
    default: return "unknown";
    }
}

}  // namespace OFE

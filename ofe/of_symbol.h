#ifndef ARWREN_OFE_OF_SYMBOL_H
#define ARWREN_OFE_OF_SYMBOL_H

#include <cstdint>

#include "ofe/of_name.h"

namespace OFE {

class OF_SECTION;
class OF_STATE_MACHINE;
class OF_STRING_TABLE_MANAGER;

enum OF_SYM_KIND {
    OF_SYM_KIND_UNKNOWN = 0,
    OF_SYM_KIND_UNDEFINED = 1,   // referenced, not defined here
    OF_SYM_KIND_DEFINED = 2,     // defined relative to a section
    OF_SYM_KIND_ABSOLUTE = 3,    // defined with an absolute value
    OF_SYM_KIND_COMMON = 4,      // common block, allocated by the linker
    OF_SYM_KIND_DEBUG = 5        // debugging entry
};

enum OF_SYM_BINDING {
    OF_SYM_BINDING_UNKNOWN = 0,
    OF_SYM_BINDING_LOCAL = 1,
    OF_SYM_BINDING_GLOBAL = 2,
    OF_SYM_BINDING_WEAK = 3
};

enum OF_SYM_TYPE {
    OF_SYM_TYPE_NONE = 0,
    OF_SYM_TYPE_OBJECT = 1,
    OF_SYM_TYPE_FUNCTION = 2,
    OF_SYM_TYPE_SECTION = 3,
    OF_SYM_TYPE_FILE = 4,
    OF_SYM_TYPE_COMMON = 5,
    OF_SYM_TYPE_TLS = 6
};

// One symbol of an object file, format-independent. The back end decides how
// its raw record maps to kind, binding and type.
class OF_SYMBOL {
public:
    // owner is the table whose state guards edits of the symbol.
    explicit OF_SYMBOL(OF_STATE_MACHINE* owner)
        : name_table_(nullptr), name_offset_(0), owner_(owner), resolved_by_(nullptr),
          flags_(0) {}
    virtual ~OF_SYMBOL() {}
    OF_SYMBOL(const OF_SYMBOL&) = delete;
    OF_SYMBOL& operator=(const OF_SYMBOL&) = delete;

    virtual unsigned long value() = 0;
    virtual bool refs_section() = 0;          // the value is relative to a section
    virtual OF_SECTION* section();            // that section, from the file's section table
    virtual unsigned long section_id() = 0;
    virtual unsigned long size() = 0;
    virtual OF_SYM_KIND kind() = 0;
    virtual OF_SYM_BINDING binding() = 0;
    virtual OF_SYM_TYPE type() = 0;
    virtual bool is_alias() { return flags_ & kAlias; }
    virtual void set_alias(bool alias);
    virtual OF_SYMBOL* resolved_by() { return resolved_by_; }
    virtual void set_resolved_by(OF_SYMBOL* resolver) { resolved_by_ = resolver; }

    const char* name() const;
    int set_name(const char* name);   // a private copy; null stays null
    // Names the symbol by its offset in a string table. The private copy is
    // made when the name is first asked for, so that a walk that looks only
    // at kinds and bindings copies no names: a member whose many symbols
    // share one long name then costs no copy per symbol.
    int set_name_ref(OF_STRING_TABLE_MANAGER* table, unsigned long offset);

    static const char* kind_name(int kind);
    static const char* binding_name(int binding);
    static const char* type_name(int type);

protected:
    OF_STATE_MACHINE* owner() const { return owner_; }

private:
    static const uint8_t kAlias = 1;

    mutable OF_NAME name_;
    mutable OF_STRING_TABLE_MANAGER* name_table_;   // set while the name is still to be read
    unsigned long name_offset_;
    OF_STATE_MACHINE* owner_;
    OF_SYMBOL* resolved_by_;
    uint8_t flags_;
};

}  // namespace OFE

#endif

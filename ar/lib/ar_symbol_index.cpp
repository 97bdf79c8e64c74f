// The archive's symbol index: one entry per global or weak definition, in
// member order and, within a member, in symbol-table order. It is built
// afresh every time the archive is written and deliberately neither sorted
// nor de-duplicated.
#include <cstring>

#include "ar/lib/ar_file.h"
#include "ar/lib/ar_header.h"
#include "ar/lib/ar_layout.h"
#include "ofe/object_file.h"
#include "ofe/of_symbol.h"
#include "ofe/of_symbol_table.h"

namespace {

bool is_indexed(OFE::OF_SYMBOL* symbol)
{
    OFE::OF_SYM_BINDING binding = symbol->binding();
    OFE::OF_SYM_KIND kind = symbol->kind();
    return (binding == OFE::OF_SYM_BINDING_GLOBAL || binding == OFE::OF_SYM_BINDING_WEAK) &&
           (kind == OFE::OF_SYM_KIND_DEFINED || kind == OFE::OF_SYM_KIND_ABSOLUTE ||
            kind == OFE::OF_SYM_KIND_COMMON);
}

// The member's contents seen as an object file, or null when they are none
// (including an empty member).
OFE::OBJECT_FILE* object_at(FHM_FILE* file, int64_t offset, const AR_MEMBER* member)
{
    if (member->size <= 0)
        return nullptr;
    return OFE::OBJECT_FILE::new_OBJECT_FILE(file, (unsigned long)offset,
                                             (unsigned long)member->size, nullptr, nullptr);
}

}  // namespace

void AR_FILE::build_symbol_table()
{
    first_symbol_ = nullptr;
    last_symbol_ = nullptr;
    symbol_count_ = 0;
    symbol_table_size_ = 0;
    symbol_data_ = nullptr;
    drop_pool();
    size_t count = 0;
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next)
        ++count;
    pool_.reserve(count);
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next)
        find_symbols(m);
    if (symbol_table_size_ == 0)
        return;
    apply_layout(ar_layout(first_member_, first_symbol_, format_), true);
}

// A member that cannot be opened or is no object file adds nothing; opening
// has already reported its own failure. Its contents are read in memory
// first; the bytes of a member file may stay there for the copy.
void AR_FILE::find_symbols(AR_MEMBER* member)
{
    SOURCE source;
    if (!open_source(member, &source))
        return;
    if (read_ahead(member, &source)) {
        if (OFE::OBJECT_FILE* object = object_at(source.file, source.offset, member)) {
            scan_symbols(member, object);
            delete object;
        }
    }
    close_source(source);
}

void AR_FILE::scan_symbols(AR_MEMBER* member, OFE::OBJECT_FILE* object_file)
{
    OFE::OF_SYMBOL_TABLE* table = object_file->symbol_table();
    if (table == nullptr)
        return;
    for (unsigned long id = 0; id < table->symnum(); id = table->next_symbol_id(id)) {
        OFE::OF_SYMBOL* symbol = table->symbol(id);
        if (symbol != nullptr && is_indexed(symbol))
            add_symbol_entry(symbol->name() != nullptr ? symbol->name() : "", member);
    }
}

// Each entry costs its 4-byte offset, its name and the name's NUL.
void AR_FILE::add_symbol_entry(const char* name, AR_MEMBER* member)
{
    size_t len = strlen(name);
    append_symbol(zone_.strdup(name), member, 0);
    symbol_table_size_ += int32_t(len) + 5;
}

void AR_FILE::append_symbol(char* name, AR_MEMBER* member, int32_t offset)
{
    AR_SYMBOL* s = static_cast<AR_SYMBOL*>(zone_.alloc(sizeof(AR_SYMBOL)));
    s->name = name;
    s->member = member;
    s->offset = offset;
    if (last_symbol_ != nullptr)
        last_symbol_->next = s;
    else
        first_symbol_ = s;
    last_symbol_ = s;
    ++symbol_count_;
}

int AR_FILE::member_format(AR_MEMBER* member)
{
    SOURCE source;
    if (!open_source(member, &source))
        return 0;
    int format = 0;
    if (OFE::OBJECT_FILE* object = object_at(source.file, source.offset, member)) {
        format = object->format();
        delete object;
    }
    close_source(source);
    return format;
}

// The archive's symbol index: one entry per global or weak definition, in
// member order and, within a member, in symbol-table order. It is built
// afresh every time the archive is written and deliberately neither sorted
// nor de-duplicated.
#include <algorithm>
#include <cstring>

#include "ar/lib/ar_file.h"
#include "ar/lib/ar_header.h"
#include "ar/lib/ar_layout.h"
#include "ofe/object_file.h"
#include "ofe/of_symbol.h"
#include "ofe/of_symbol_table.h"
#include "support/fhm_file.h"

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
OFE::OBJECT_FILE* object_at(FHM_FILE* file, int64_t offset, int64_t size)
{
    if (size <= 0)
        return nullptr;
    return OFE::OBJECT_FILE::new_OBJECT_FILE(file, (unsigned long)offset, (unsigned long)size,
                                             nullptr, nullptr);
}

}  // namespace

bool AR_FILE::build_symbol_table()
{
    first_symbol_ = nullptr;
    last_symbol_ = nullptr;
    symbol_count_ = 0;
    symbol_table_size_ = 0;
    symbol_data_ = nullptr;   // mutants: skip (nothing reads it back)
    drop_pool();
    size_t count = 0;
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next)
        ++count;
    pool_.reserve(count);
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next) {
        if (!find_symbols(m))
            return false;
    }
    if (symbol_table_size_ == 0)
        return true;
    apply_layout(ar_layout(first_member_, first_symbol_, format_), true);
    return true;
}

// A member that cannot be opened or is no object file adds nothing; opening
// has already reported its own failure. Its contents are read in memory
// first; the bytes of a member file may stay there for the copy. A read
// that failed on the way fails the rewrite: the object-file reader goes on
// with zeros in place of the bytes, and the index would lack the member's
// symbols without a word.
bool AR_FILE::find_symbols(AR_MEMBER* member)
{
    SOURCE source;
    if (!open_source(member, &source))
        return true;   // mutants: skip (the copy fails on the same member all the same)
    bool ok = read_ahead(member, &source);
    if (ok) {
        const int64_t size = readable_size(source, member);
        if (OFE::OBJECT_FILE* object = object_at(source.file, source.offset, size)) {
            ok = scan_symbols(member, object);
            delete object;
        }
    }
    if (ok && source.file->read_failed()) {
        set_error(AR_FILE_READ_ERROR, "Cannot read file: '%s'",
                  member->path != nullptr ? member->path : name_);
        ok = false;
    }
    close_source(source);
    return ok;
}

// Each symbol is dropped from the object file's cache as soon as it has been
// looked at: the index keeps its own copy of a name, and a member whose many
// symbols share one long name would otherwise hold a copy per symbol.
bool AR_FILE::scan_symbols(AR_MEMBER* member, OFE::OBJECT_FILE* object_file)
{
    OFE::OF_SYMBOL_TABLE* table = object_file->symbol_table();
    if (table == nullptr)
        return true;   // mutants: skip (both formats give a table, empty if need be)
    for (unsigned long id = 0; id < table->symnum();) {
        OFE::OF_SYMBOL* symbol = table->symbol(id);
        if (symbol != nullptr && is_indexed(symbol) &&
            !add_symbol_entry(symbol->name() != nullptr ? symbol->name() : "", member))
            return false;
        unsigned long next = table->next_symbol_id(id);
        table->unload_symbol(id);
        if (next <= id)
            break;  // a table whose ids do not move forward ends the walk
        id = next;
    }
    return true;
}

// Each entry costs its 4-byte offset, its name and the name's NUL. The
// index is refused the moment it outgrows the member size limit (with its
// count word and padding), before the name is copied, so that a hostile
// member cannot make it grow any further.
bool AR_FILE::add_symbol_entry(const char* name, AR_MEMBER* member)
{
    int64_t size = symbol_table_size_ + int64_t(strlen(name)) + 5;
    if (ar_padded(size + 4) > AR_MAX_MEMBER_SIZE) {
        set_error(AR_MEMBER_TOO_LARGE, "Member file too large: '%s'", AR_SYMBOL_TABLE_NAME);
        return false;
    }
    // Nameless entries share one empty name.
    append_symbol(name[0] != '\0' ? zone_.strdup(name) : const_cast<char*>(""), member, 0);
    symbol_table_size_ = size;
    return true;
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

// A member of the input archive whose size claims more than the archive
// holds is read only as far as the archive goes: a damaged header must not
// make the object-file library set aside memory for bytes that do not
// exist. (The copy still finds the member short and fails the rewrite.)
int64_t AR_FILE::readable_size(const SOURCE& source, const AR_MEMBER* member)
{
    if (source.file != input_ || input_size_ < 0)
        return member->size;
    return std::min(int64_t(member->size), std::max(input_size_ - source.offset, int64_t(0)));
}

int AR_FILE::member_format(AR_MEMBER* member)
{
    SOURCE source;
    if (!open_source(member, &source))
        return 0;
    int format = 0;
    const int64_t size = readable_size(source, member);
    if (OFE::OBJECT_FILE* object = object_at(source.file, source.offset, size)) {
        format = object->format();
        delete object;
    }
    close_source(source);
    return format;
}

// The archive's symbol index: one entry per global or weak definition, in
// member order, built afresh every time the archive is written.
#include "ar/lib/ar_file.h"

#include <cstring>

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

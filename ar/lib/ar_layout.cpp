#include "ar/lib/ar_layout.h"

#include <cstring>

#include "ar/lib/ar_header.h"

namespace {

// Each entry costs its 4-byte offset, its name and the name's NUL; the count
// word comes once. The size does not count the pad byte that the writer adds.
int64_t index_size(const AR_SYMBOL* first_symbol)
{
    if (first_symbol == nullptr)
        return 0;
    int64_t size = 4;
    for (const AR_SYMBOL* s = first_symbol; s != nullptr; s = s->next)
        size += int64_t(strlen(s->name)) + 5;
    return size;
}

// Long names are numbered by their place in the table: the NU table starts
// with a "\n" so that its first name is at 1 and 0 can mean "no long name";
// the POSIX table starts at 0. The original format keeps no long names.
void place_long_names(const AR_MEMBER* first_member, AR_ABI format, AR_LAYOUT& layout)
{
    int64_t offset = format == AR_ABI_NU_LONG_NAME ? 1 : 0;
    for (const AR_MEMBER* m = first_member; m != nullptr; m = m->next) {
        size_t len = strlen(m->name);
        if (format == AR_ABI_ORIGINAL || len < AR_LONG_NAME_MIN) {
            layout.long_name_offsets.push_back(0);
            continue;
        }
        layout.long_name_offsets.push_back(offset);
        offset += int64_t(len) + 2;  // the name, "/" and "\n"
    }
    // The offset is 0, 1 or at least 18, so "at least 2" means "a long name".
    layout.long_name_size = format != AR_ABI_ORIGINAL && offset >= 2 ? offset : 0;  // mutants: skip
}

void place_members(const AR_MEMBER* first_member, AR_LAYOUT& layout)
{
    int64_t offset = int64_t(AR_MAGIC_SIZE);
    if (layout.index_size != 0)
        offset += int64_t(AR_HEADER_SIZE) + ar_padded(layout.index_size);
    if (layout.long_name_size != 0)
        offset += int64_t(AR_HEADER_SIZE) + ar_padded(layout.long_name_size);
    for (const AR_MEMBER* m = first_member; m != nullptr; m = m->next) {
        layout.header_offsets.push_back(offset);
        offset += int64_t(AR_HEADER_SIZE) + ar_padded(m->size);
    }
}

}  // namespace

AR_LAYOUT ar_layout(const AR_MEMBER* first_member, const AR_SYMBOL* first_symbol, AR_ABI format)
{
    AR_LAYOUT layout;
    layout.index_size = index_size(first_symbol);
    place_long_names(first_member, format, layout);
    place_members(first_member, layout);
    return layout;
}

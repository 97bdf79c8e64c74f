// Which member names each archive format can store so that they read back
// as themselves. The reader takes a name field of "/" for the symbol index
// and "//" or "<filenames>/" for a long-name table, and the writer gives a
// short name a "/" terminator, so a member named "", "/", "//",
// "<filenames>/" or "<filenames>" would come back as a special member (or
// vanish into one). The
// long-name table ends each name with "/\n" and the reader splits it at
// every "/" and "\n", so a long name holding either is cut short. Other
// readers of the POSIX form end a name at its first "/", take a leading "/"
// for a table reference, and end a name that fills the field (15 characters
// and its "/") at its first blank: no POSIX name holds a "/", and none of 15
// characters holds a blank.
#include "ar/lib/ar_member_name.h"

#include <cstring>

#include "ar/lib/ar_header.h"

namespace {

// Names the reader would take for a special member once written: a special
// name is written as it stands, any other short name with "/" after it.
// ("/offset" and a long name's first 15 characters and "/" never match.)
bool reads_as_special(const char* name)
{
    if (ar_is_special_name(name))
        return true;
    size_t length = strlen(name);
    if (length > AR_SHORT_NAME_MAX)  // mutants: skip (special names are far shorter than 15)
        return false;
    char field[AR_NAME_TEXT_SIZE] = {};
    memcpy(field, name, length);
    field[length] = '/';
    return ar_is_special_name(field);
}

bool cut_by_name_table(const char* name)
{
    return AR_FILE::is_long_name(name) && strpbrk(name, "/\n") != nullptr;
}

bool misread_in_posix_form(const char* name)
{
    return strchr(name, '/') != nullptr ||
           (strlen(name) == AR_SHORT_NAME_MAX && strchr(name, ' ') != nullptr);
}

}  // namespace

bool ar_name_storable(const char* name, AR_ABI format)
{
    if (reads_as_special(name))
        return false;
    if (format == AR_ABI_POSIX && misread_in_posix_form(name))
        return false;
    return format == AR_ABI_ORIGINAL || !cut_by_name_table(name);
}

const char* ar_format_name(AR_ABI format)
{
    switch (format) {
    case AR_ABI_ORIGINAL: return "original";
    case AR_ABI_NU_LONG_NAME: return "NU long-name";
    case AR_ABI_POSIX: return "POSIX";
    default: return "chosen";
    }
}

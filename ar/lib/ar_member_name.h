#ifndef ARWREN_AR_LIB_AR_MEMBER_NAME_H
#define ARWREN_AR_LIB_AR_MEMBER_NAME_H

#include "ar/lib/ar_file.h"

// True when a member of this name, written in the given format (1 original,
// 2 NU long-name, 3 POSIX), reads back under the same name: in the original
// format under its first 15 characters, which that format keeps on purpose.
// A name that would be taken for a special member, or cut short by the
// long-name table's separators, is not storable.
bool ar_name_storable(const char* name, AR_ABI format);

// The format's name as messages give it.
const char* ar_format_name(AR_ABI format);

#endif

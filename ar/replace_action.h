#ifndef ARWREN_AR_REPLACE_ACTION_H
#define ARWREN_AR_REPLACE_ACTION_H

#include <cstdint>

// What r (and ru) does with a selected member.
enum REPLACE_ACTION {
    REPLACE_KEEP,            // no such file: the member stays as it is, silently
    REPLACE_SKIP_NOT_NEWER,  // update asked and the file is not strictly newer
    REPLACE_FROM_FILE        // the member takes date, size and contents from the file
};

REPLACE_ACTION replace_action(bool file_exists, int32_t file_date, int32_t member_date,
                              bool update);

#endif

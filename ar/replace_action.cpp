#include "ar/replace_action.h"

REPLACE_ACTION replace_action(bool file_exists, int32_t file_date, int32_t member_date,
                              bool update) {
    if (!file_exists)
        return REPLACE_KEEP;
    // Only a strictly newer file replaces under update; an equal time keeps.
    if (update && file_date <= member_date)
        return REPLACE_SKIP_NOT_NEWER;
    return REPLACE_FROM_FILE;
}

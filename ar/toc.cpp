#include "ar/toc.h"

#include <cstring>
#include <ctime>

#include "ar/ar_options.h"
#include "ar/lib/ar_file.h"
#include "ar/member_selection.h"

namespace {

constexpr char kTocHeading[] =
    "\n      SIZE   DATE                        FILE NAME"
    "\n  --------   ------------------------    -----------------\n";
constexpr char kTocLineFormat[] = "  %8ld   %s    %s\n";

}  // namespace

// The date in the platform's asctime form, without its newline. The time
// zone is read once per run (print_toc calls tzset): localtime() would look
// at the zone file again for every line.
void print_toc_line(FILE* out, int32_t size, int32_t date, const char* name) {
    time_t when = date;
    char text[64] = "";
    struct tm local;
    if (localtime_r(&when, &local) != nullptr && asctime_r(&local, text) != nullptr)
        text[strcspn(text, "\n")] = '\0';
    else
        text[0] = '\0';
    fprintf(out, kTocLineFormat, static_cast<long>(size), text, name);
}

void print_toc(AR_OPTIONS* options, AR_FILE* archive) {
    tzset();
    fputs(kTocHeading, stdout);
    MEMBER_SELECTION selection(options);
    for (AR_MEMBER* member = archive->first_member(); member != nullptr; member = member->next) {
        if (selection.select(member->name) != nullptr)
            print_toc_line(stdout, member->size, member->date, member->name);
    }
}

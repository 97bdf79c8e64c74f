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

void print_toc_line(FILE* out, int32_t size, int32_t date, const char* name) {
    // The date in the platform's asctime form, without its newline.
    time_t when = date;
    char text[64] = "";
    const struct tm* local = localtime(&when);
    if (local != nullptr) {
        strncpy(text, asctime(local), sizeof text - 1);
        text[strcspn(text, "\n")] = '\0';
    }
    fprintf(out, kTocLineFormat, static_cast<long>(size), text, name);
}

void print_toc(AR_OPTIONS* options, AR_FILE* archive) {
    fputs(kTocHeading, stdout);
    MEMBER_SELECTION selection(options);
    for (AR_MEMBER* member = archive->first_member(); member != nullptr; member = member->next) {
        if (selection.select(member->name) != nullptr)
            print_toc_line(stdout, member->size, member->date, member->name);
    }
}

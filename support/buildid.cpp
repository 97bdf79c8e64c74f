#include "support/buildid.h"

#include <cstdlib>
#include <cstring>

namespace {

// The month's number from the three-letter name that __DATE__ uses.
unsigned month_number(const char* date) {
    static const char MONTHS[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    for (unsigned m = 0; m < 12; ++m) {
        if (strncmp(date, MONTHS + 3 * m, 3) == 0)
            return m + 1;
    }
    return 0;
}

}  // namespace

// The build code is the version followed by the compile date and time:
// "major.minor.patch.yymmdd.hhmm", e.g. "1.0.0.261122.0419".
void buildid(FILE* stream, const char* label) {
    static const char DATE[] = __DATE__;  // "Mmm dd yyyy", day blank-padded
    static const char TIME[] = __TIME__;  // "hh:mm:ss"
    if (stream == nullptr)
        stream = stdout;
    unsigned day = static_cast<unsigned>(atoi(DATE + 4));
    unsigned year = static_cast<unsigned>(atoi(DATE + 7)) % 100;
    unsigned hour = static_cast<unsigned>(atoi(TIME));
    unsigned minute = static_cast<unsigned>(atoi(TIME + 3));
    fprintf(stream, "%s%u.%u.%u.%02u%02u%02u.%02u%02u\n", label != nullptr ? label : "",
            static_cast<unsigned>(ARWREN_VERSION_MAJOR), static_cast<unsigned>(ARWREN_VERSION_MINOR),
            static_cast<unsigned>(ARWREN_VERSION_PATCH), year, month_number(DATE), day, hour, minute);
}

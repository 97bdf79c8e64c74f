#include "ar/toc.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

std::string toc_line(int32_t size, int32_t date, const char* name) {
    char* text = nullptr;
    size_t length = 0;
    FILE* out = open_memstream(&text, &length);
    print_toc_line(out, size, date, name);
    fclose(out);
    std::string line(text, length);
    free(text);
    return line;
}

TEST(TocTest, LineHasSizeLocalDateAndName) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(toc_line(1234, 0, "a.o"),
              "      1234   Thu Jan  1 00:00:00 1970    a.o\n");
    EXPECT_EQ(toc_line(99999999, 2147483647, "long_member_name.obj"),
              "  99999999   Tue Jan 19 03:14:07 2038    long_member_name.obj\n");
    EXPECT_EQ(toc_line(0, -86400, ""), "         0   Wed Dec 31 00:00:00 1969    \n");
    setenv("TZ", "UTC-2", 1);  // the listing follows the local time zone
    tzset();
    EXPECT_EQ(toc_line(7, 0, "b"), "         7   Thu Jan  1 02:00:00 1970    b\n");
    setenv("TZ", "UTC", 1);
    tzset();
}

}  // namespace

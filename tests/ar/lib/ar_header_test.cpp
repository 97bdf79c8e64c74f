// Header number fields, read and written: the edges that the archives in
// the other tests do not reach (signs, clamping, white space).

#include "ar/lib/ar_header.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

TEST(ArchiveHeaderFields, NumbersAreWrittenWhereTheyFitOnly)
{
    AR_HEADER h;
    EXPECT_TRUE(ar_put_number(h.date, INT32_MIN));
    EXPECT_EQ(std::string(h.date, sizeof h.date), "-2147483648 ");
    EXPECT_FALSE(ar_put_number(h.uid, -100000));   // the sign takes a place
}

// Blanks, a sign, digits up to the first other character; nothing without
// a digit; clamped to 32 bits.
TEST(ArchiveHeaderFields, NumbersAreReadAsTheFormatWroteThem)
{
    const struct {
        std::string text;   // a 12-character date field
        bool ok;
        int32_t value;
    } cases[] = {
        {"  \t+7       ", true, 7},         {"12ab        ", true, 12},
        {std::string("1\0" "2         ", 12), true, 1},
        {"99999999999 ", true, INT32_MAX},  {"-99999999999", true, INT32_MIN},
        {"- 1         ", false, 0},
    };
    for (const auto& c : cases) {
        AR_HEADER h;
        memcpy(h.date, c.text.data(), sizeof h.date);
        int32_t value = -777;
        EXPECT_EQ(ar_field_number(h.date, &value), c.ok) << c.text;
        EXPECT_EQ(value, c.ok ? c.value : -777) << c.text;
    }
}

}  // namespace

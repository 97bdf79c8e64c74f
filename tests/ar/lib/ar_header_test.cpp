// Header fields as the writer fills them: left-justified, blank-padded, and
// refused rather than cut when they do not fit.

#include "ar/lib/ar_header.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

template <size_t N>
std::string text(const char (&field)[N])
{
    return std::string(field, N);
}

TEST(ArchiveHeaderFields, NumbersAndTextFillTheirWidth)
{
    AR_HEADER h;
    memset(&h, '#', sizeof h);
    EXPECT_TRUE(ar_put_number(h.date, -5));
    EXPECT_EQ(text(h.date), "-5          ");
    EXPECT_TRUE(ar_put_number(h.date, INT32_MIN));
    EXPECT_EQ(text(h.date), "-2147483648 ");
    EXPECT_TRUE(ar_put_number(h.uid, 999999));
    EXPECT_EQ(text(h.uid), "999999");
    EXPECT_TRUE(ar_put_number(h.gid, 0));
    EXPECT_EQ(text(h.gid), "0     ");
    EXPECT_TRUE(ar_put_number<8>(h.mode, 0644));
    EXPECT_EQ(text(h.mode), "644     ");
    EXPECT_TRUE(ar_put_number(h.size, 99999999));
    EXPECT_EQ(text(h.size), "99999999  ");
    EXPECT_TRUE(ar_put_text(h.name, "sixteen_chars_xy", 16));
    EXPECT_EQ(text(h.name), "sixteen_chars_xy");
    EXPECT_TRUE(ar_put_text(h.name, "/", 1));
    EXPECT_EQ(text(h.name), "/               ");
}

TEST(ArchiveHeaderFields, WhatDoesNotFitIsRefused)
{
    AR_HEADER h;
    EXPECT_FALSE(ar_put_number(h.uid, 1000000));
    EXPECT_FALSE(ar_put_number(h.uid, -100000));
    EXPECT_FALSE(ar_put_number(h.size, 10000000000LL));
    EXPECT_FALSE(ar_put_text(h.name, "seventeen_chars_x", 17));
}

// Reading a number field: blanks, a sign, digits up to the first other
// character; nothing without a digit; clamped to 32 bits.
TEST(ArchiveHeaderFields, NumberFieldsReadAsTheFormatWasWritten)
{
    const struct {
        std::string text;   // the 12 characters of a date field
        bool ok;
        int32_t value;
    } cases[] = {
        {"42          ", true, 42},          {"  \t+7       ", true, 7},
        {"-3          ", true, -3},          {"12ab        ", true, 12},
        {std::string("1\0" "2         ", 12), true, 1},
        {"99999999999 ", true, INT32_MAX},   {"-99999999999", true, INT32_MIN},
        {"000000000017", true, 17},          {"            ", false, 0},
        {"-           ", false, 0},          {"x1          ", false, 0},
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

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
    EXPECT_TRUE(ar_put_number(h.mode, 0644, 8));
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

}  // namespace

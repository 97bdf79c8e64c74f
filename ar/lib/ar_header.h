#ifndef ARWREN_AR_LIB_AR_HEADER_H
#define ARWREN_AR_LIB_AR_HEADER_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// The archive's global header.
constexpr char AR_MAGIC[] = "!<arch>\n";
constexpr size_t AR_MAGIC_SIZE = 8;

// Field widths of the member header, in file order.
constexpr size_t AR_NAME_WIDTH = 16;
constexpr size_t AR_DATE_WIDTH = 12;
constexpr size_t AR_UID_WIDTH = 6;
constexpr size_t AR_GID_WIDTH = 6;
constexpr size_t AR_MODE_WIDTH = 8;
constexpr size_t AR_SIZE_WIDTH = 10;
constexpr size_t AR_END_WIDTH = 2;

// The 60-byte text header in front of every member. Numbers are decimal
// (mode octal), left-justified and blank-padded; nothing is terminated. The
// writer fills the fields with ar_put_text and ar_put_number.
struct AR_HEADER {
    char name[AR_NAME_WIDTH];  // member name, "/" terminated, or a special or "/offset" name
    char date[AR_DATE_WIDTH];  // modification time, seconds since 1970 UTC
    char uid[AR_UID_WIDTH];    // 0, or the long-name offset in the NU long-name format
    char gid[AR_GID_WIDTH];    // always 0
    char mode[AR_MODE_WIDTH];  // always 0
    char size[AR_SIZE_WIDTH];  // data size, padding byte not counted
    char end[AR_END_WIDTH];    // "`\n"
};
static_assert(sizeof(AR_HEADER) == 60, "archive member header must be 60 bytes");
constexpr size_t AR_HEADER_SIZE = sizeof(AR_HEADER);

constexpr char AR_HEADER_END[] = "`\n";

// Special member names.
constexpr char AR_SYMBOL_TABLE_NAME[] = "/";
constexpr char AR_POSIX_NAME_TABLE[] = "//";
constexpr char AR_NU_NAME_TABLE[] = "<filenames>/";

inline bool ar_is_special_name(const char* name)
{
    return strcmp(name, AR_SYMBOL_TABLE_NAME) == 0 || strcmp(name, AR_POSIX_NAME_TABLE) == 0 ||
           strcmp(name, AR_NU_NAME_TABLE) == 0;
}

// Room for any text the writer puts in the name field, with its NUL:
// 15 characters and "/", a special name, or "/" and a 32-bit offset.
constexpr size_t AR_NAME_TEXT_SIZE = AR_NAME_WIDTH + 8;

// Names of this many characters or more go to the long-name table.
constexpr size_t AR_LONG_NAME_MIN = 16;
// Characters of a long name kept in the header's name field.
constexpr size_t AR_SHORT_NAME_MAX = 15;

// The size field holds 10 digits, but sizes are deliberately limited to 8.
constexpr int32_t AR_MAX_MEMBER_SIZE = 99999999;
// The largest long-name offset the 6-character uid field holds.
constexpr int32_t AR_MAX_UID_OFFSET = 999999;

// Copies a header field into a terminated buffer; the width comes from the
// field's own type, so no field can be overrun.
template <size_t N>
inline void ar_field_text(const char (&field)[N], char (&text)[N + 1])
{
    memcpy(text, field, N);
    text[N] = '\0';
}

// Parses a decimal header field the way "%ld" would on the 32-bit host the
// format was designed on: leading white space skipped, a sign allowed, at
// least one digit required, the number ending at the first other character
// (a NUL included), values clamped to the 32-bit range. A field holds at
// most 16 digits, which no 64-bit sum overflows.
template <size_t N>
inline bool ar_field_number(const char (&field)[N], int32_t* value)
{
    static_assert(N <= 16, "the digits must fit 64 bits");
    size_t i = 0;
    while (i < N && field[i] != '\0' && strchr(" \t\n\v\f\r", field[i]) != nullptr)
        ++i;
    bool negative = i < N && field[i] == '-';
    if (i < N && (field[i] == '-' || field[i] == '+'))
        ++i;
    size_t first_digit = i;
    int64_t parsed = 0;
    for (; i < N && field[i] >= '0' && field[i] <= '9'; ++i)
        parsed = parsed * 10 + (field[i] - '0');
    if (i == first_digit)
        return false;
    if (negative)
        parsed = -parsed;
    if (parsed > INT32_MAX)
        parsed = INT32_MAX;
    if (parsed < INT32_MIN)
        parsed = INT32_MIN;
    *value = static_cast<int32_t>(parsed);
    return true;
}

// Puts len characters of text into a header field, left-justified and
// blank-padded; false when they do not fit.
template <size_t N>
inline bool ar_put_text(char (&field)[N], const char* text, size_t len)
{
    if (len > N)
        return false;
    memcpy(field, text, len);
    memset(field + len, ' ', N - len);
    return true;
}

// Puts a number into a header field in the given base, with a "-" when it
// is negative, left-justified and blank-padded; false when it does not fit.
template <unsigned BASE = 10, size_t N>
inline bool ar_put_number(char (&field)[N], int64_t value)
{
    char digits[24];
    size_t start = sizeof digits;
    uint64_t rest = value < 0 ? 0 - uint64_t(value) : uint64_t(value);
    do {
        digits[--start] = char('0' + rest % BASE);
        rest /= BASE;
    } while (rest != 0);
    if (value < 0)
        digits[--start] = '-';
    return ar_put_text(field, digits + start, sizeof digits - start);
}

// Data is padded to an even length.
inline int64_t ar_padded(int64_t size)
{
    return size + (size & 1);
}

#endif

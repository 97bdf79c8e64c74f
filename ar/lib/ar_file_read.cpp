// Reading an existing archive: member headers, names, the long-name table,
// the stored symbol index and the table of contents.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ar/lib/ar_file.h"
#include "ar/lib/ar_header.h"
#include "support/fhm_file.h"

namespace {

int32_t read_be32(const unsigned char* p)
{
    uint32_t v = (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
    return static_cast<int32_t>(v);
}

size_t trim_trailing_blanks(char* text)
{
    size_t len = strlen(text);
    while (len > 0 && text[len - 1] == ' ')
        text[--len] = '\0';
    return len;
}

// A POSIX "/digits" name: the digits are an offset in the "//" table.
bool posix_name_offset(const char* name, int64_t* offset)
{
    if (name[0] != '/' || name[1] == '\0')
        return false;
    int64_t value = 0;
    for (const char* p = name + 1; *p != '\0'; ++p) {
        if (*p < '0' || *p > '9')
            return false;
        value = value * 10 + (*p - '0');  // at most 15 digits: no overflow
    }
    *offset = value;
    return true;
}

}  // namespace

bool AR_FILE::is_archive()
{
    char magic[AR_MAGIC_SIZE];
    return input_ != nullptr && read_input(0, magic, sizeof magic) &&
           memcmp(magic, AR_MAGIC, AR_MAGIC_SIZE) == 0;
}

// True when the input file has size bytes at offset: checked before any
// allocation sized by a header, so a corrupt size cannot exhaust memory.
bool AR_FILE::input_holds(int64_t offset, int64_t size)
{
    FILE* fp = input_ != nullptr ? input_->fp() : nullptr;
    struct stat st;
    if (fp == nullptr || fstat(fileno(fp), &st) != 0)
        return false;
    return offset >= 0 && size >= 0 && offset <= st.st_size && st.st_size - offset >= size;
}

// The input is read in blocks with positioned reads, never through the
// stream's position.
bool AR_FILE::read_input(int32_t offset, void* data, int64_t size)
{
    unsigned char* out = static_cast<unsigned char*>(data);
    for (int64_t done = 0; done < size;) {
        const unsigned char* bytes = nullptr;
        long n = input_blocks_.fetch(int64_t(offset) + done, size_t(size - done), &bytes);
        if (n <= 0)   // mutants: skip (after a short read the next one reads nothing)
            return false;
        memcpy(out + done, bytes, size_t(n));
        done += n;
    }
    return true;
}

bool AR_FILE::read_headers(bool read_symbols)
{
    if (input_ == nullptr)
        return true;
    int before = errors_;
    AR_MEMBER* m = read_member_header(AR_MAGIC_SIZE);
    if (m == nullptr)
        return errors_ == before;  // no header at all: an empty archive
    int32_t next = AR_MAGIC_SIZE;
    if (is_symbol_table(m->name)) {
        if (read_symbols && !read_symbol_table(m))
            return false;
        next = skip_contents(m);
        m = read_member_header(next);
    }
    if (m != nullptr && is_name_table(m->name)) {
        if (!read_name_table(m))
            return false;
        next = skip_contents(m);
    }
    if (errors_ != before)
        return false;
    first_member_offset_ = next;
    return true;
}

void AR_FILE::create_toc()
{
    if (input_ == nullptr)
        return;
    if (first_member_offset_ == 0)
        read_headers(false);
    if (first_member_offset_ == 0)
        return;
    int32_t offset = first_member_offset_;
    while (AR_MEMBER* m = read_member_header(offset)) {
        add_member(m);
        offset = skip_contents(m);
    }
}

AR_MEMBER* AR_FILE::read_member_header(int32_t offset)
{
    AR_HEADER header;
    const unsigned char* bytes = nullptr;
    long got = input_blocks_.fetch(offset, sizeof header, &bytes);
    if (got == 0)
        return nullptr;  // the end of the archive
    if (got < long(sizeof header)) {
        set_error(AR_READ_ERROR, "Cannot read member header: '%s'", name_);
        return nullptr;
    }
    memcpy(&header, bytes, sizeof header);
    char name[AR_NAME_WIDTH + 1];
    ar_field_text(header.name, name);
    trim_trailing_blanks(name);
    int32_t size = 0, date = 0, uid = 0;
    bool ok = memcmp(header.end, AR_HEADER_END, AR_END_WIDTH) == 0 &&
              ar_field_number(header.size, &size);
    if (ok && !ar_is_special_name(name))
        ok = ar_field_number(header.date, &date) && ar_field_number(header.uid, &uid);
    // Negative sizes and data reaching past the 32-bit offset range cannot
    // be laid out; they are corrupt here rather than misread later.
    int64_t data_offset = int64_t(offset) + int64_t(AR_HEADER_SIZE);
    if (!ok || size < 0 || INT32_MAX - data_offset < ar_padded(size)) {
        set_error(AR_READ_ERROR, "Corrupt member header: '%s'", name_);
        return nullptr;
    }
    AR_MEMBER* m = make_member(nullptr, date, size, int32_t(data_offset));
    return fix_member_name(name, uid, m) ? m : nullptr;
}

bool AR_FILE::fix_member_name(const char* field, int32_t uid, AR_MEMBER* member)
{
    char name[AR_NAME_WIDTH + 1];   // mutants: skip (a larger buffer reads the same)
    size_t len = strnlen(field, AR_NAME_WIDTH);
    memcpy(name, field, len);
    name[len] = '\0';
    len = trim_trailing_blanks(name);
    // The special members keep their names whole, so that they are still
    // recognised by name after reading.
    if (is_name_table(name)) {
        const char* table =
            format_ == AR_ABI_NU_LONG_NAME ? AR_NU_NAME_TABLE : AR_POSIX_NAME_TABLE;
        member->name = zone_.strdup(table);
        return true;
    }
    if (is_symbol_table(name)) {
        member->name = zone_.strdup(name);
        return true;
    }
    int64_t offset = uid;
    bool has_offset = format_ == AR_ABI_POSIX ? posix_name_offset(name, &offset) : uid != 0;
    if (len > 0 && name[len - 1] == '/')
        name[--len] = '\0';
    member->name = zone_.strdup(name);
    if (!has_name_table_ || !has_offset)
        return true;
    return resolve_long_name(offset, member);
}

// Replaces the member's short name by the long one at the table offset.
bool AR_FILE::resolve_long_name(int64_t offset, AR_MEMBER* member)
{
    const char* long_name = offset >= 0 && offset < name_table_size_ ? name_table_ + offset
                                                                     : nullptr;
    // The NU format keeps the first 15 characters in the header as well;
    // they must agree with the table.
    if (long_name != nullptr && format_ == AR_ABI_NU_LONG_NAME &&
        strncmp(member->name, long_name, AR_SHORT_NAME_MAX) != 0)
        long_name = nullptr;
    if (long_name == nullptr) {
        set_error(AR_READ_ERROR, "Corrupt member name: '%s'", name_);
        return false;
    }
    member->name = const_cast<char*>(long_name);
    return true;
}

// The table's names end in "/\n"; both become NULs, so that every offset
// points at a terminated name. The data itself lives in the zone.
bool AR_FILE::read_name_table(AR_MEMBER* member)
{
    int64_t size = ar_padded(member->size);
    char* data = nullptr;
    if (input_holds(member->data_offset, size)) {
        data = static_cast<char*>(zone_.alloc(size_t(size) + 1));
        if (!read_input(member->data_offset, data, size))
            data = nullptr;
    }
    if (data == nullptr) {
        set_error(AR_READ_ERROR, "Cannot read name table: '%s'", name_);
        return false;
    }
    for (int64_t i = 0; i < size; ++i) {   // mutants: skip (the next byte is 0)
        if (data[i] == '\n' || data[i] == '/')
            data[i] = '\0';
    }
    name_table_ = data;
    name_table_size_ = member->size;
    has_name_table_ = true;
    return true;
}

// The stored index: a big-endian count, as many big-endian header offsets,
// then the names, each ending in a NUL.
bool AR_FILE::read_symbol_table(AR_MEMBER* member)
{
    int64_t size = ar_padded(member->size);
    unsigned char* data = nullptr;
    if (size >= 4 && input_holds(member->data_offset, size)) {
        // One byte more than the data, zeroed: the last name always ends.
        data = static_cast<unsigned char*>(zone_.alloc(size_t(size) + 1));
        if (!read_input(member->data_offset, data, size))
            data = nullptr;
    }
    int64_t count = data != nullptr ? read_be32(data) : 0;
    if (data == nullptr || (count > 0 && (size - 4) / 4 < count)) {
        set_error(AR_READ_ERROR, "Cannot read symbol table: '%s'", name_);
        return false;
    }
    symbol_data_ = data;   // mutants: skip (nothing reads it back; the zone owns the data)
    symbol_table_size_ = member->size;
    char* names = reinterpret_cast<char*>(data);
    int64_t at = 4 + 4 * (count > 0 ? count : 0);
    for (int64_t i = 0; i < count; ++i) {
        append_symbol(names + at, nullptr, read_be32(data + 4 + 4 * i));
        // A name list cut short leaves the remaining entries on the
        // terminating NUL past the data, never beyond it.
        if (at < size)
            at = std::min(at + int64_t(strlen(names + at)) + 1, size);
    }
    return true;
}

int32_t AR_FILE::skip_contents(AR_MEMBER* member)
{
    return int32_t(int64_t(member->data_offset) + ar_padded(member->size));
}

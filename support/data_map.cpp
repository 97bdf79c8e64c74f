#include "support/data_map.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "support/fhm_file.h"
#include "support/pfile.h"
#include "support/safe_alloc.h"
#include "support/user_msg.h"

namespace {

const char EMPTY_STRING[] = "";

// Source of the zero bytes that save_data writes past the end of the map.
const unsigned char ZERO_BLOCK[4096] = {};

const char SHORT_POOL_MSG[] = "buffer of size %lu not big enough on const DATA_MAP %p of size %lu";
const char UNPACK_CONTAINER_MSG[] =
    "unpack does not support container sizes larger than 8 bytes; returning 0";
const char UNPACK_FIELD_MSG[] =
    "DATA_MAP::unpack:  field size + lsb offset is greater than container size; returning 0";
// pack reports under unpack's name; the texts are kept as they have always been.
const char PACK_CONTAINER_MSG[] = "DATA_MAP::unpack:  container sizes larger than 8 bytes are not supported";
const char PACK_FIELD_MSG[] = "DATA_MAP::unpack:  field size + lsb offset is greater than container size";

// Widest integer that the sequential reads and writes assemble.
const unsigned MAX_WIDTH = 8;

int order_of(uint32_t flags)
{
    return (flags & DATA_MAP::BIG_ENDIAN_DATA) ? DATA_MAP::BIG : DATA_MAP::LITTLE;
}

uint64_t low_mask(unsigned width)
{
    return width < 64 ? (uint64_t(1) << width) - 1 : ~uint64_t(0);
}

// Arithmetic shift right by 7 without relying on how the compiler shifts
// negative numbers.
int32_t shift_right_7(int32_t v)
{
    return v < 0 ? ~(~v >> 7) : v >> 7;
}

// Sets every bit above the highest set bit, which makes that bit the sign.
uint32_t extend_from_top_bit(uint32_t v)
{
    if (v == 0)
        return 0;
    uint32_t top = 0x80000000u;
    while (!(v & top))
        top >>= 1;
    return v | ~(top - 1);
}

bool write_zeros(FILE* f, unsigned long n)
{
    while (n > 0) {
        const unsigned long chunk = std::min<unsigned long>(n, sizeof ZERO_BLOCK);
        if (pfwrite(ZERO_BLOCK, 1, chunk, f) != chunk)
            return false;
        n -= chunk;
    }
    return true;
}

}  // namespace

// ---------------------------------------------------------------------------
// Byte-order routines

const char* DATA_MAP::endian_name(ENDIAN e)
{
    const int value = e;
    if (value == LITTLE)
        return "little endian";
    if (value == BIG)
        return "big endian";
    return "unknown endianness";
}

void DATA_MAP::toggle_endian(uint16_t& x)
{
    x = static_cast<uint16_t>((x >> 8) | (x << 8));
}

void DATA_MAP::toggle_endian(uint32_t& x)
{
    x = (x >> 24) | ((x >> 8) & 0x0000FF00u) | ((x << 8) & 0x00FF0000u) | (x << 24);
}

// A 64-bit value swaps its 32-bit halves and reverses the bytes of each.
void DATA_MAP::toggle_endian(uint64_t& x)
{
    uint32_t low = static_cast<uint32_t>(x);
    uint32_t high = static_cast<uint32_t>(x >> 32);
    toggle_endian(low);
    toggle_endian(high);
    x = (uint64_t(low) << 32) | high;
}

void DATA_MAP::toggle_endian(int16_t& x)
{
    uint16_t u = static_cast<uint16_t>(x);
    toggle_endian(u);
    x = static_cast<int16_t>(u);
}

void DATA_MAP::toggle_endian(int32_t& x)
{
    uint32_t u = static_cast<uint32_t>(x);
    toggle_endian(u);
    x = static_cast<int32_t>(u);
}

void DATA_MAP::toggle_endian(int64_t& x)
{
    uint64_t u = static_cast<uint64_t>(x);
    toggle_endian(u);
    x = static_cast<int64_t>(u);
}

// ---------------------------------------------------------------------------
// Raw-pointer codecs. Only BIG selects big-endian order: LITTLE, 0 and any
// unknown value all mean little endian.

unsigned char* DATA_MAP::UINT8_write(unsigned char* p, uint8_t v)
{
    *p = v;
    return p + 1;
}

const unsigned char* DATA_MAP::UINT8_read(const unsigned char* p, uint8_t* v)
{
    if (v)
        *v = *p;
    return p + 1;
}

unsigned char* DATA_MAP::UINT16_write(unsigned char* p, uint16_t v, int endian)
{
    return UINT_write(p, v, endian, 2);
}

const unsigned char* DATA_MAP::UINT16_read(const unsigned char* p, uint16_t* v, int endian)
{
    uint64_t value;
    p = UINT_read(p, &value, endian, 2);
    if (v)
        *v = static_cast<uint16_t>(value);
    return p;
}

unsigned char* DATA_MAP::UINT32_write(unsigned char* p, uint32_t v, int endian)
{
    return UINT_write(p, v, endian, 4);
}

const unsigned char* DATA_MAP::UINT32_read(const unsigned char* p, uint32_t* v, int endian)
{
    uint64_t value;
    p = UINT_read(p, &value, endian, 4);
    if (v)
        *v = static_cast<uint32_t>(value);
    return p;
}

// Byte i holds bits 8(n-1-i) upward in big-endian order, bits 8i upward
// otherwise; bytes beyond the 64 bits of the value are zero.
unsigned char* DATA_MAP::UINT_write(unsigned char* p, uint64_t value, int endian, unsigned n)
{
    for (unsigned i = 0; i < n; ++i) {
        const unsigned shift = 8 * (endian == BIG ? n - 1 - i : i);
        p[i] = shift < 64 ? static_cast<unsigned char>(value >> shift) : 0;
    }
    return p + n;
}

const unsigned char* DATA_MAP::UINT_read(const unsigned char* p, uint64_t* value, int endian, unsigned n)
{
    uint64_t v = 0;
    for (unsigned i = 0; i < n; ++i) {
        const unsigned shift = 8 * (endian == BIG ? n - 1 - i : i);
        if (shift < 64)
            v |= uint64_t(p[i]) << shift;
    }
    if (value)
        *value = v;
    return p + n;
}

unsigned char* DATA_MAP::ULEB128_write(unsigned char* p, uint32_t v)
{
    do {
        const unsigned char group = v & 0x7F;
        v >>= 7;
        *p++ = v ? (group | 0x80) : group;
    } while (v);
    return p;
}

// Groups beyond the 32 bits of the result are skipped, not shifted in.
const unsigned char* DATA_MAP::ULEB128_read(const unsigned char* p, uint32_t* v)
{
    uint32_t result = 0;
    unsigned shift = 0;
    unsigned char byte;
    do {
        byte = *p++;
        if (shift < 32)
            result |= uint32_t(byte & 0x7F) << shift;
        shift += 7;
    } while (byte & 0x80);
    if (v)
        *v = result;
    return p;
}

// Stops after a group once the rest of the value is all sign: 0 with bit 6
// of the group clear, or -1 with it set.
unsigned char* DATA_MAP::SLEB128_write(unsigned char* p, int32_t v)
{
    bool more = true;
    while (more) {
        const unsigned char group = static_cast<unsigned char>(v & 0x7F);
        v = shift_right_7(v);
        const bool sign_bit = group & 0x40;
        more = !((v == 0 && !sign_bit) || (v == -1 && sign_bit));
        *p++ = more ? (group | 0x80) : group;
    }
    return p;
}

// Decodes as unsigned, then sign-extends from the highest set bit when bit 6
// of the last byte is set; for a well-formed encoding that bit is the sign
// of the last group.
const unsigned char* DATA_MAP::SLEB128_read(const unsigned char* p, int32_t* v)
{
    uint32_t result = 0;
    unsigned shift = 0;
    unsigned char byte;
    do {
        byte = *p++;
        if (shift < 32)
            result |= uint32_t(byte & 0x7F) << shift;
        shift += 7;
    } while (byte & 0x80);
    if (byte & 0x40)
        result = extend_from_top_bit(result);
    if (v)
        *v = static_cast<int32_t>(result);
    return p;
}

unsigned DATA_MAP::ULEB128_size(uint32_t v)
{
    unsigned n = 1;
    while (v >>= 7)
        ++n;
    return n;
}

unsigned DATA_MAP::SLEB128_size(int32_t v)
{
    unsigned char scratch[8];
    return static_cast<unsigned>(SLEB128_write(scratch, v) - scratch);
}

bool DATA_MAP::contains_all_zeroes(const unsigned char* p, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i)
        if (p[i])
            return false;
    return true;
}

// ---------------------------------------------------------------------------
// Construction and filling

DATA_MAP::DATA_MAP()
    : size_(0), cursor_(0), file_(nullptr), file_offset_(0), file_length_(0), flags_(LOADED)
{
}

DATA_MAP::DATA_MAP(unsigned long n) : DATA_MAP()
{
    set_min_bufsize(n);
}

DATA_MAP::DATA_MAP(const DATA_MAP& other) : DATA_MAP()
{
    copy_from(other);
}

DATA_MAP& DATA_MAP::operator=(const DATA_MAP& other)
{
    if (this != &other)
        copy_from(other);
    return *this;
}

DATA_MAP::~DATA_MAP()
{
    free_mempool();
}

// An unmodified file-bound source is shared by binding to the same stretch,
// so the copy reads nothing until it is used.
void DATA_MAP::copy_from(const DATA_MAP& src)
{
    if (src.file_ && !(src.flags_ & MODIFIED)) {
        set_data(src.file_, src.file_offset_, src.size_);
    } else if ((src.flags_ & LOADED) && src.pool_.length > 0) {
        take_copy(src.pool_.bytes, src.pool_.length, src.size_);
        size_ = src.size_;
        flags_ |= DATA_SET;
    } else {
        reset();
        size_ = src.size_;
    }
    set_endian(src.endian());
}

// Replaces the pool by n bytes: the first `avail` copied from p, the rest
// zero. The copy is made before the old pool is freed, so p may point into it.
void DATA_MAP::take_copy(const unsigned char* p, unsigned long avail, unsigned long n) const
{
    unsigned char* fresh = n ? static_cast<unsigned char*>(safecalloc(n, 1)) : nullptr;
    if (p && fresh)
        std::memcpy(fresh, p, std::min(avail, n));
    reset();
    pool_.bytes = fresh;
    pool_.length = n;
    pool_.capacity = n;
}

void DATA_MAP::set_data(FHM_FILE* f, unsigned long offset, unsigned long length) const
{
    reset();
    file_ = f;
    file_offset_ = static_cast<uint32_t>(offset);
    file_length_ = static_cast<uint32_t>(length);
    size_ = static_cast<uint32_t>(length);
    flags_ = (flags_ | DATA_SET) & ~LOADED;
}

void DATA_MAP::set_data(const unsigned char* p, unsigned long n) const
{
    take_copy(p, n, n);
    size_ = static_cast<uint32_t>(n);
    flags_ |= DATA_SET;
}

void DATA_MAP::set_data(const DATA_MAP& src, unsigned long offset, unsigned long n) const
{
    if (offset >= src.size_) {
        reset();
        return;
    }
    n = std::min<unsigned long>(n, src.size_ - offset);
    src.load_buffer_into_mem();
    src.grow_mempool(offset + n);
    const bool big = src.flags_ & BIG_ENDIAN_DATA;
    set_data(src.pool_.bytes + offset, n);
    set_endian(big ? BIG : LITTLE);
}

void DATA_MAP::clear() const
{
    reset();
}

// Only the byte order survives.
void DATA_MAP::reset() const
{
    free_mempool();
    size_ = 0;
    file_ = nullptr;
    file_offset_ = 0;
    file_length_ = 0;
    cursor_ = 0;
    flags_ = (flags_ & BIG_ENDIAN_DATA) | LOADED;
}

// A file-bound map reads its bytes again on next use; an owning map loses them.
void DATA_MAP::unload() const
{
    free_mempool();
    if (file_)
        flags_ &= ~LOADED;
}

int DATA_MAP::load() const
{
    load_buffer_into_mem();
    return 0;
}

void DATA_MAP::set_min_bufsize(unsigned long n) const
{
    if (n == 0)
        return;
    load_buffer_into_mem();
    grow_mempool(n);
}

void DATA_MAP::set_endian(ENDIAN e) const
{
    if (e == BIG)
        flags_ |= BIG_ENDIAN_DATA;
    else
        flags_ &= ~BIG_ENDIAN_DATA;
}

// Removing a tail only shortens the size; the pool keeps its length.
void DATA_MAP::remove_data(unsigned long offset, unsigned long n)
{
    if (offset > size_)
        return;
    n = std::min<unsigned long>(n, size_ - offset);
    if (offset + n == size_) {
        size_ = static_cast<uint32_t>(offset);
        return;
    }
    load_buffer_into_mem();
    const unsigned long end = valid_end();
    if (offset + n < end)
        std::memmove(pool_.bytes + offset, pool_.bytes + offset + n, end - offset - n);
    flags_ |= MODIFIED;
    size_ -= static_cast<uint32_t>(n);
}

void DATA_MAP::copy_data(unsigned long to, unsigned long from, unsigned long n)
{
    if (from > size_)
        return;
    n = std::min<unsigned long>(n, size_ - from);
    // The size is 32 bits wide; a target beyond that cannot be represented.
    if (to > UINT32_MAX - n)
        return;
    load_buffer_into_mem();
    const unsigned long end = to + n;
    if (end > size_)
        size_ = static_cast<uint32_t>(end);
    grow_mempool(std::max(end, from + n), true);
    if (n)
        std::memmove(pool_.bytes + to, pool_.bytes + from, n);
    flags_ |= MODIFIED;
}

// ---------------------------------------------------------------------------
// Pool and lazy loading

// Reads the file stretch in one piece on first need. The file's position is
// the same afterwards: archive members share one open file, and the archive
// reader goes on from where it was. Bytes that could not be read stay zero.
void DATA_MAP::load_buffer_into_mem() const
{
    if (flags_ & LOADED)
        return;
    const unsigned long n = std::min(size_, file_length_);
    if (n > 0) {
        grow_mempool(n);
        if (file_)
            read_from_file(pool_.bytes, file_offset_, n);
    }
    flags_ |= LOADED;
}

// A positioned read leaves the stream's position alone and costs one system
// call, or none when the file lends the bytes from memory. A stream that
// cannot be read that way (one open for writing, or one that cannot be
// reopened) is read through the checked wrappers, which report each failed
// step: its position is saved, moved and put back. The stream is fetched
// from the manager at every step, because the manager may close and reopen
// it between any two uses.
unsigned long DATA_MAP::read_from_file(unsigned char* dest, uint64_t position, unsigned long n) const
{
    const long direct = file_->read_at(dest, n, position);
    if (direct >= 0)
        return static_cast<unsigned long>(direct);
    const long saved = pftell(file_->fp());
    pfseek(file_->fp(), static_cast<long>(position), SEEK_SET);
    const size_t got = pfread(dest, 1, n, file_->fp());
    pfseek(file_->fp(), saved, SEEK_SET);
    return got;
}

// The pool's length becomes exactly n. Loads and explicit requests reserve
// exactly n; sequential writes (amortize) reserve ahead so that writing a
// map byte by byte stays linear.
void DATA_MAP::grow_mempool(unsigned long n, bool amortize) const
{
    if (pool_.length >= n)
        return;
    if (n > pool_.capacity)
        reserve_mempool(amortize ? std::max(n, pool_.capacity + pool_.capacity / 2) : n);
    pool_.length = n;
}

// Fresh storage comes zeroed from calloc, which keeps the tail beyond the
// length zero without touching it.
void DATA_MAP::reserve_mempool(unsigned long capacity) const
{
    unsigned char* fresh = static_cast<unsigned char*>(safecalloc(capacity, 1));
    if (pool_.length)
        std::memcpy(fresh, pool_.bytes, pool_.length);
    std::free(pool_.bytes);
    pool_.bytes = fresh;
    pool_.capacity = capacity;
}

void DATA_MAP::free_mempool() const
{
    std::free(pool_.bytes);
    pool_ = POOL();
}

// End of the bytes that are both valid and in memory.
unsigned long DATA_MAP::valid_end() const
{
    return std::min<unsigned long>(size_, pool_.length);
}

unsigned char DATA_MAP::byte_at(uint64_t position) const
{
    return position < valid_end() ? pool_.bytes[position] : 0;
}

const unsigned char* DATA_MAP::dptr() const
{
    load_buffer_into_mem();
    return cursor_ < pool_.length ? pool_.bytes + cursor_ : nullptr;
}

unsigned char* DATA_MAP::data() const
{
    load_buffer_into_mem();
    return pool_.length ? pool_.bytes : nullptr;
}

// ---------------------------------------------------------------------------
// Sequential reads

// Finds the w bytes at the cursor and advances the cursor by w whatever
// happens, so that a record read field by field stays in step. Returns null
// when the read yields zeros. When the size promises bytes that the pool does
// not hold, reports it and returns `scratch` holding the bytes present and
// zeros after them (null without a scratch buffer).
const unsigned char* DATA_MAP::take(unsigned long w, unsigned char* scratch, unsigned long* got) const
{
    load_buffer_into_mem();
    const uint32_t at = cursor_;
    cursor_ = static_cast<uint32_t>(at + w);
    if (got)
        *got = 0;
    // A start exactly at the end gets through only with w == 0, which every
    // caller treats like a null result, so > and >= agree here.
    const bool starts_past_end = at > size_;   // mutants: skip (see above)
    if (starts_past_end || w > size_ - at || at >= pool_.length)
        return nullptr;
    const unsigned long have = pool_.length - at;
    if (w <= have) {
        if (got)
            *got = w;
        return pool_.bytes + at;
    }
    USER_MSG::get_umsg_obj()->apperror(SHORT_POOL_MSG, static_cast<unsigned long>(at + w),
                                       static_cast<const void*>(this), static_cast<unsigned long>(size_));
    if (!scratch)
        return nullptr;
    std::memmove(scratch, pool_.bytes + at, have);
    std::memset(scratch + have, 0, w - have);
    if (got)
        *got = have;
    return scratch;
}

uint64_t DATA_MAP::read_uint(unsigned n) const
{
    n = std::min(n, MAX_WIDTH);
    unsigned char scratch[MAX_WIDTH];
    const unsigned char* p = take(n, scratch, nullptr);
    if (!p)
        return 0;
    uint64_t value;
    UINT_read(p, &value, order_of(flags_), n);
    return value;
}

uint8_t DATA_MAP::UINT8_read() const
{
    return static_cast<uint8_t>(read_uint(1));
}

int8_t DATA_MAP::INT8_read() const
{
    return static_cast<int8_t>(read_uint(1));
}

uint16_t DATA_MAP::UINT16_read() const
{
    return static_cast<uint16_t>(read_uint(2));
}

int16_t DATA_MAP::INT16_read() const
{
    return static_cast<int16_t>(read_uint(2));
}

uint32_t DATA_MAP::UINT32_read() const
{
    return static_cast<uint32_t>(read_uint(4));
}

int32_t DATA_MAP::INT32_read() const
{
    return static_cast<int32_t>(read_uint(4));
}

uint64_t DATA_MAP::UINT64_read() const
{
    return read_uint(8);
}

int64_t DATA_MAP::INT64_read() const
{
    return static_cast<int64_t>(read_uint(8));
}

uint64_t DATA_MAP::UINT_read(unsigned n) const
{
    return read_uint(n);
}

// Deliberately no sign extension from bit 8n-1: a 3-byte field read with it
// is never negative.
int64_t DATA_MAP::INT_read(unsigned n) const
{
    return static_cast<int64_t>(read_uint(n));
}

// Length of the item at the cursor: the bytes up to and including the first
// with none of stop_mask's bits set, or, when the valid bytes end first, the
// rest of the map plus one, which makes the read fall past the end.
unsigned long DATA_MAP::scan_length(unsigned char stop_mask) const
{
    load_buffer_into_mem();
    const unsigned long end = valid_end();
    for (unsigned long i = cursor_; i < end; ++i)
        if (!(pool_.bytes[i] & stop_mask))
            return i - cursor_ + 1;
    return (size_ > cursor_ ? size_ - cursor_ : 0) + 1;
}

uint32_t DATA_MAP::ULEB128_read() const
{
    const unsigned char* p = take(scan_length(0x80), nullptr, nullptr);
    uint32_t value = 0;
    if (p)
        ULEB128_read(p, &value);
    return value;
}

int32_t DATA_MAP::SLEB128_read() const
{
    const unsigned char* p = take(scan_length(0x80), nullptr, nullptr);
    int32_t value = 0;
    if (p)
        SLEB128_read(p, &value);
    return value;
}

unsigned long DATA_MAP::read(void* buffer, unsigned long n) const
{
    unsigned char* out = static_cast<unsigned char*>(buffer);
    if (!out) {
        cursor_ = static_cast<uint32_t>(cursor_ + n);
        return 0;
    }
    unsigned long got;
    const unsigned char* p = take(n, out, &got);
    if (!p)
        std::memset(out, 0, n);
    else if (p != out)
        std::memmove(out, p, n);
    return got;
}

// Reads straight from the file when the map is file-bound and not loaded, so
// that a few bytes of a large stretch do not load all of it.
unsigned long DATA_MAP::read_bypass(void* buffer, unsigned long n) const
{
    if (!file_ || (flags_ & LOADED))
        return read(buffer, n);
    unsigned char* out = static_cast<unsigned char*>(buffer);
    unsigned long got = 0;
    if (out) {
        const unsigned long count =
            cursor_ < file_length_ ? std::min<unsigned long>(n, file_length_ - cursor_) : 0;
        if (count > 0)
            got = read_from_file(out, uint64_t(file_offset_) + cursor_, count);
        std::memset(out + got, 0, n - got);
    }
    cursor_ = static_cast<uint32_t>(cursor_ + n);
    return got;
}

// The result points into the pool and stays valid until the pool changes.
const char* DATA_MAP::string_read() const
{
    const unsigned char* p = take(scan_length(0xFF), nullptr, nullptr);
    return p ? reinterpret_cast<const char*>(p) : EMPTY_STRING;
}

uint8_t DATA_MAP::UINT8_read(unsigned long i) const
{
    load_buffer_into_mem();
    const uint64_t position = uint64_t(cursor_) + i;
    return position < pool_.length ? pool_.bytes[position] : 0;
}

unsigned char DATA_MAP::operator[](unsigned long i) const
{
    load_buffer_into_mem();
    return i < pool_.length ? pool_.bytes[i] : 0;
}

// ---------------------------------------------------------------------------
// Sequential writes

void DATA_MAP::make_room(unsigned long w)
{
    const uint64_t end = uint64_t(cursor_) + w;
    if (end > pool_.length) {
        load_buffer_into_mem();
        grow_mempool(end, true);
    }
}

void DATA_MAP::finish_write(unsigned long w)
{
    cursor_ = static_cast<uint32_t>(cursor_ + w);
    flags_ |= MODIFIED;
    if (cursor_ > size_)
        size_ = cursor_;
}

void DATA_MAP::write_uint(uint64_t value, unsigned n)
{
    n = std::min(n, MAX_WIDTH);
    make_room(n);
    UINT_write(pool_.bytes + cursor_, value, order_of(flags_), n);
    finish_write(n);
}

void DATA_MAP::UINT8_write(uint8_t v) { write_uint(v, 1); }
void DATA_MAP::INT8_write(int8_t v) { write_uint(static_cast<uint8_t>(v), 1); }
void DATA_MAP::UINT16_write(uint16_t v) { write_uint(v, 2); }
void DATA_MAP::INT16_write(int16_t v) { write_uint(static_cast<uint16_t>(v), 2); }
void DATA_MAP::UINT32_write(uint32_t v) { write_uint(v, 4); }
void DATA_MAP::INT32_write(int32_t v) { write_uint(static_cast<uint32_t>(v), 4); }
void DATA_MAP::UINT64_write(uint64_t v) { write_uint(v, 8); }
void DATA_MAP::INT64_write(int64_t v) { write_uint(static_cast<uint64_t>(v), 8); }
void DATA_MAP::UINT_write(uint64_t value, unsigned n) { write_uint(value, n); }
void DATA_MAP::INT_write(int64_t value, unsigned n) { write_uint(static_cast<uint64_t>(value), n); }

void DATA_MAP::ULEB128_write(uint32_t v)
{
    unsigned char encoded[8];
    write(encoded, static_cast<unsigned long>(ULEB128_write(encoded, v) - encoded));
}

void DATA_MAP::SLEB128_write(int32_t v)
{
    unsigned char encoded[8];
    write(encoded, static_cast<unsigned long>(SLEB128_write(encoded, v) - encoded));
}

// A null buffer writes zeros. The source may lie in this map's own pool,
// which making room can move.
void DATA_MAP::write(const void* buffer, unsigned long n)
{
    if (n == 0)
        return;
    const unsigned char* src = static_cast<const unsigned char*>(buffer);
    const std::less<const unsigned char*> before;
    const bool own = src && pool_.bytes && !before(src, pool_.bytes) &&
                     before(src, pool_.bytes + pool_.capacity);
    const unsigned long own_offset = own ? static_cast<unsigned long>(src - pool_.bytes) : 0;
    make_room(n);
    if (own)
        src = pool_.bytes + own_offset;
    if (src)
        std::memmove(pool_.bytes + cursor_, src, n);
    else
        std::memset(pool_.bytes + cursor_, 0, n);
    finish_write(n);
}

void DATA_MAP::string_write(const char* text)
{
    if (!text)
        text = EMPTY_STRING;
    write(text, std::strlen(text) + 1);
}

// Takes n bytes at other's cursor as a read of other (zeros past its end,
// its cursor advances).
void DATA_MAP::write(const DATA_MAP& other, unsigned long n)
{
    if (n == 0)
        return;
    if (&other == this) {
        DATA_MAP part;
        part.set_min_bufsize(n);
        other.read(part.pool_.bytes, n);
        write(part.pool_.bytes, n);
        return;
    }
    make_room(n);
    other.read(pool_.bytes + cursor_, n);
    finish_write(n);
}

unsigned long DATA_MAP::write(FHM_FILE* f, unsigned long n)
{
    make_room(n);
    // With n = 0 there may be no pool; pass a real address so that the
    // wrapper reports the empty request rather than a null buffer.
    unsigned char nothing;
    unsigned char* dest = n ? pool_.bytes + cursor_ : &nothing;
    const size_t got = pfread(dest, 1, n, f ? f->fp() : nullptr);
    finish_write(n);
    return got;
}

// ---------------------------------------------------------------------------
// Bit fields. A field is read and written in place: the cursor stays on the
// container so that several fields of it can be taken in turn.

uint64_t DATA_MAP::unpack(unsigned container, unsigned lsb, unsigned width) const
{
    if (width == 0)
        return 0;
    if (container > MAX_WIDTH) {
        USER_MSG::get_umsg_obj()->apperror(UNPACK_CONTAINER_MSG);
        return 0;
    }
    if (uint64_t(lsb) + width > 8ull * container) {
        USER_MSG::get_umsg_obj()->apperror(UNPACK_FIELD_MSG);
        return 0;
    }
    if (uint64_t(cursor_) + container > size_)
        return 0;
    const uint32_t at = cursor_;
    const uint64_t word = read_uint(container);
    cursor_ = at;
    return (word >> lsb) & low_mask(width);
}

void DATA_MAP::pack(uint64_t value, unsigned container, unsigned lsb, unsigned width)
{
    const uint64_t mask = low_mask(width);
    if (container > MAX_WIDTH) {
        USER_MSG::get_umsg_obj()->apperror(PACK_CONTAINER_MSG);
        return;
    }
    if (uint64_t(lsb) + width > 8ull * container) {
        USER_MSG::get_umsg_obj()->apperror(PACK_FIELD_MSG);
        return;
    }
    if (width == 0)
        return;
    const uint32_t at = cursor_;
    make_room(container);
    uint64_t word = read_uint(container);
    word = (word & ~(mask << lsb)) | ((value & mask) << lsb);
    cursor_ = at;
    write_uint(word, container);
    cursor_ = at;
}

// ---------------------------------------------------------------------------
// Output

int DATA_MAP::save_data(FHM_FILE* f, unsigned long n) const
{
    if (n == 0)
        return 0;
    return save_data(f ? f->fp() : nullptr, n);
}

// The map's bytes go out in one write; whatever part of n lies beyond the
// valid bytes in memory is written as zeros.
int DATA_MAP::save_data(FILE* f, unsigned long n) const
{
    if (n == 0)
        return 0;
    load_buffer_into_mem();
    const unsigned long end = valid_end();
    const unsigned long have = cursor_ < end ? std::min<unsigned long>(n, end - cursor_) : 0;
    bool complete = true;
    if (have > 0)
        complete = pfwrite(pool_.bytes + cursor_, 1, have, f) == have;
    if (!write_zeros(f, n - have))
        complete = false;
    return complete ? 0 : -1;
}

// One dump line: offset, up to 16 bytes in hex, three blanks for each byte
// missing from a short last line, then the bytes as characters.
void DATA_MAP::write_hex_line(FILE* f, uint64_t first, unsigned count) const
{
    static const char HEX[] = "0123456789abcdef";
    char line[96];
    int len = std::snprintf(line, sizeof line, "%08x:  ", static_cast<unsigned>(first));
    char shown[16];
    for (unsigned i = 0; i < 16; ++i) {
        if (i >= count) {
            std::memcpy(line + len, "   ", 3);
            len += 3;
            continue;
        }
        const unsigned char b = byte_at(uint64_t(cursor_) + first + i);
        line[len++] = HEX[b >> 4];
        line[len++] = HEX[b & 0xF];
        line[len++] = ' ';
        shown[i] = (b >= 0x20 && b < 0x7F) ? static_cast<char>(b) : '.';
    }
    std::memcpy(line + len, shown, count);
    len += count;
    line[len++] = '\n';
    std::fwrite(line, 1, len, f);
}

void DATA_MAP::save_text(FILE* f, unsigned long n) const
{
    if (n == 0 || !f)
        return;
    load_buffer_into_mem();
    for (unsigned long first = 0; first < n; first += 16)
        write_hex_line(f, first, static_cast<unsigned>(std::min<unsigned long>(16, n - first)));
}

void DATA_MAP::dump(unsigned long n) const
{
    const uint32_t at = cursor_;
    cursor_ = 0;
    save_text(stdout, n ? n : size_);
    cursor_ = at;
}

// ---------------------------------------------------------------------------
// Comparison

bool DATA_MAP::operator==(const DATA_MAP& other) const
{
    if (this == &other)
        return true;
    if (size_ != other.size_)
        return false;
    if (size_ == 0)
        return true;
    load_buffer_into_mem();
    other.load_buffer_into_mem();
    if (pool_.length >= size_ && other.pool_.length >= size_)
        return std::memcmp(pool_.bytes, other.pool_.bytes, size_) == 0;
    for (uint32_t i = 0; i < size_; ++i)
        if (byte_at(i) != other.byte_at(i))
            return false;
    return true;
}

bool DATA_MAP::contains_all_zeroes() const
{
    if (size_ == 0)
        return true;
    load_buffer_into_mem();
    const unsigned long end = valid_end();
    return cursor_ >= end || contains_all_zeroes(pool_.bytes + cursor_, end - cursor_);
}

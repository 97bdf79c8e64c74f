#ifndef ARWREN_SUPPORT_DATA_MAP_H
#define ARWREN_SUPPORT_DATA_MAP_H

#include <cstdint>
#include <cstdio>

class FHM_FILE;

// One stretch of bytes with a cursor and a byte order. The bytes are owned or
// bound to a stretch of a managed file and read in one piece on first use.
// Reads past the end yield zeros and still advance the cursor.
class DATA_MAP {
public:
    enum ENDIAN { LITTLE = 1, BIG = 2 };

    // Flag bits of the flags word.
    static const uint32_t LOADED = 1;
    static const uint32_t MODIFIED = 2;
    static const uint32_t DATA_SET = 4;
    static const uint32_t BIG_ENDIAN_DATA = 8;

    // Byte-order routines.
    // The host's own order, so that "swap when the file's order differs from
    // the host's" holds on a big-endian host as well.
    static ENDIAN host_endian() {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        return BIG;
#else
        return LITTLE;
#endif
    }
    static const char* endian_name(ENDIAN e);
    static void toggle_endian(uint16_t& x);
    static void toggle_endian(int16_t& x);
    static void toggle_endian(uint32_t& x);
    static void toggle_endian(int32_t& x);
    static void toggle_endian(uint64_t& x);
    static void toggle_endian(int64_t& x);

    // Raw-pointer codecs: only BIG (2) selects big-endian order.
    static unsigned char* UINT8_write(unsigned char* p, uint8_t v);
    static const unsigned char* UINT8_read(const unsigned char* p, uint8_t* v);
    static unsigned char* UINT16_write(unsigned char* p, uint16_t v, int endian);
    static const unsigned char* UINT16_read(const unsigned char* p, uint16_t* v, int endian);
    static unsigned char* UINT32_write(unsigned char* p, uint32_t v, int endian);
    static const unsigned char* UINT32_read(const unsigned char* p, uint32_t* v, int endian);
    static unsigned char* UINT_write(unsigned char* p, uint64_t value, int endian, unsigned n);
    static const unsigned char* UINT_read(const unsigned char* p, uint64_t* value, int endian, unsigned n);
    static unsigned char* ULEB128_write(unsigned char* p, uint32_t v);
    static const unsigned char* ULEB128_read(const unsigned char* p, uint32_t* v);
    static unsigned char* SLEB128_write(unsigned char* p, int32_t v);
    static const unsigned char* SLEB128_read(const unsigned char* p, int32_t* v);
    static unsigned ULEB128_size(uint32_t v);
    static unsigned SLEB128_size(int32_t v);
    static bool contains_all_zeroes(const unsigned char* p, unsigned long n);

    DATA_MAP();
    explicit DATA_MAP(unsigned long n);
    DATA_MAP(const DATA_MAP& other);
    DATA_MAP& operator=(const DATA_MAP& other);
    ~DATA_MAP();

    void set_data(FHM_FILE* f, unsigned long offset, unsigned long length) const;
    void set_data(const unsigned char* p, unsigned long n) const;
    void set_data(const DATA_MAP& src, unsigned long offset, unsigned long n) const;
    void clear() const;
    void reset() const;
    void unload() const;
    int load() const;
    void set_min_bufsize(unsigned long n) const;
    void remove_data(unsigned long offset, unsigned long n);
    void copy_data(unsigned long to, unsigned long from, unsigned long n);

    // State.
    uint32_t size() const { return size_; }
    uint32_t cursor() const { return cursor_; }
    void set_cursor(uint32_t c) const { cursor_ = c; }
    uint32_t flags() const { return flags_; }
    ENDIAN endian() const { return (flags_ & BIG_ENDIAN_DATA) ? BIG : LITTLE; }
    void set_endian(ENDIAN e) const;
    bool is_loaded() const { return flags_ & LOADED; }
    bool is_modified() const { return flags_ & MODIFIED; }
    FHM_FILE* file() const { return file_; }
    uint32_t file_offset() const { return file_offset_; }
    uint32_t file_length() const { return file_length_; }
    const unsigned char* dptr() const;     // byte at the cursor; null when none
    unsigned char* data() const;           // first byte (loaded); null when the pool is empty
    unsigned long pool_size() const { return pool_.length; }

    // Sequential reads at the cursor.
    uint8_t UINT8_read() const;
    int8_t INT8_read() const;
    uint16_t UINT16_read() const;
    int16_t INT16_read() const;
    uint32_t UINT32_read() const;
    int32_t INT32_read() const;
    uint64_t UINT64_read() const;
    int64_t INT64_read() const;
    uint64_t UINT_read(unsigned n) const;    // n bytes; n above 8 counts as 8
    int64_t INT_read(unsigned n) const;      // no sign extension
    uint32_t ULEB128_read() const;
    int32_t SLEB128_read() const;
    // Both fill all n bytes of the buffer (zeros where the map has none) and
    // return how many of them came from the map or its file.
    unsigned long read(void* buffer, unsigned long n) const;
    unsigned long read_bypass(void* buffer, unsigned long n) const;
    const char* string_read() const;
    uint8_t UINT8_read(unsigned long i) const;   // peek at cursor + i
    unsigned char operator[](unsigned long i) const;

    // Sequential writes at the cursor.
    void UINT8_write(uint8_t v);
    void INT8_write(int8_t v);
    void UINT16_write(uint16_t v);
    void INT16_write(int16_t v);
    void UINT32_write(uint32_t v);
    void INT32_write(int32_t v);
    void UINT64_write(uint64_t v);
    void INT64_write(int64_t v);
    void UINT_write(uint64_t value, unsigned n);  // n above 8 counts as 8
    void INT_write(int64_t value, unsigned n);
    void ULEB128_write(uint32_t v);
    void SLEB128_write(int32_t v);
    void write(const void* buffer, unsigned long n);
    void string_write(const char* text);
    void write(const DATA_MAP& other, unsigned long n);   // reads n bytes at other's cursor
    unsigned long write(FHM_FILE* f, unsigned long n);

    // Bit fields of a container at the cursor; the cursor does not move.
    uint64_t unpack(unsigned container, unsigned lsb, unsigned width) const;
    void pack(uint64_t value, unsigned container, unsigned lsb, unsigned width);

    // Output.
    int save_data(FHM_FILE* f, unsigned long n) const;
    int save_data(FILE* f, unsigned long n) const;
    void save_text(FILE* f, unsigned long n) const;
    void dump(unsigned long n) const;

    bool operator==(const DATA_MAP& other) const;
    bool operator!=(const DATA_MAP& other) const { return !(*this == other); }
    bool contains_all_zeroes() const;

private:
    // Owned bytes. [0, length) is the pool proper; [length, capacity) is kept
    // zero, so lengthening within the capacity needs no clearing and fresh
    // storage comes zeroed from the allocator.
    struct POOL {
        unsigned char* bytes = nullptr;
        unsigned long length = 0;
        unsigned long capacity = 0;
    };

    void copy_from(const DATA_MAP& src);
    void take_copy(const unsigned char* p, unsigned long avail, unsigned long n) const;
    void load_buffer_into_mem() const;
    unsigned long read_from_file(unsigned char* dest, uint64_t position, unsigned long n) const;
    void grow_mempool(unsigned long n, bool amortize = false) const;
    void reserve_mempool(unsigned long capacity) const;
    void free_mempool() const;
    unsigned long valid_end() const;
    unsigned char byte_at(uint64_t position) const;
    unsigned long scan_length(unsigned char stop_mask) const;
    const unsigned char* take(unsigned long w, unsigned char* scratch, unsigned long* got) const;
    uint64_t read_uint(unsigned n) const;
    void write_uint(uint64_t value, unsigned n);
    void make_room(unsigned long w);
    void finish_write(unsigned long w);
    void write_hex_line(FILE* f, uint64_t first, unsigned count) const;

    mutable POOL pool_;
    mutable uint32_t size_;
    mutable uint32_t cursor_;
    mutable FHM_FILE* file_;
    mutable uint32_t file_offset_;
    mutable uint32_t file_length_;
    mutable uint32_t flags_;
};

#endif

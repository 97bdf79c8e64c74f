#include "support/data_map.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "common/scratch_dir.h"
#include "support/fhm_file.h"
#include "support/text_capture.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes bytes_of(const DATA_MAP& map) {
    Bytes out(map.size());
    map.set_cursor(0);
    map.read(out.data(), out.size());
    return out;
}

void fill(DATA_MAP& map, const Bytes& bytes, DATA_MAP::ENDIAN order = DATA_MAP::LITTLE) {
    map.set_data(bytes.data(), bytes.size());
    map.set_endian(order);
}

// Multi-byte reads follow the map's byte order; INT8 and INT16 extend the
// sign, INT_read does not. Reads off the end are silent: they yield zero and
// move the cursor as if the bytes were there; peeks never move it.
TEST(DataMapTest, SequentialReadsFollowTheByteOrderAndTheEnd) {
    DATA_MAP be, ones;
    fill(be, {1, 2, 3, 4, 5, 6, 7, 8}, DATA_MAP::BIG);
    fill(ones, Bytes(8, 0xFF), DATA_MAP::BIG);
    typedef std::function<int64_t(const DATA_MAP&)> READ;
    const READ u24 = [](const DATA_MAP& m) { return m.UINT_read(3); };
    const READ peek = [](const DATA_MAP& m) { return m.UINT8_read(1); };
    const struct { const DATA_MAP* map; uint32_t at; READ read; int64_t value; uint32_t after; } cases[] = {
        {&be, 0, u24, 0x010203, 3},
        {&be, 0, [](const DATA_MAP& m) { return m.UINT64_read(); }, 0x0102030405060708, 8},
        {&ones, 0, [](const DATA_MAP& m) { return m.INT16_read(); }, -1, 2},
        {&ones, 0, [](const DATA_MAP& m) { return m.INT_read(3); }, 0xFFFFFF, 3},
        {&ones, 6, u24, 0, 9},
        {&ones, 7, peek, 0, 7},
        {&ones, 6, peek, 0xFF, 6},
        {&ones, 0, [](const DATA_MAP& m) { return m[8]; }, 0, 0},
    };
    EXPECT_EQ(stderr_of([&] {
                  for (const auto& c : cases) {
                      c.map->set_cursor(c.at);
                      EXPECT_EQ(c.read(*c.map), c.value) << &c - cases;
                      EXPECT_EQ(c.map->cursor(), c.after) << &c - cases;
                  }
              }),
              "");
}

TEST(DataMapTest, WritesGrowTheMapInItsByteOrder) {
    DATA_MAP map;
    map.set_endian(DATA_MAP::BIG);
    map.UINT32_write(0xA1B2C3D4u);
    map.INT_write(-2, 3);
    map.string_write("hi");
    map.set_cursor(1);
    map.set_endian(DATA_MAP::LITTLE);
    map.UINT16_write(0xBEEF);   // overwrites inside the map
    map.set_cursor(12);
    map.UINT8_write(7);         // the gap before it reads as zeros
    EXPECT_EQ(bytes_of(map), (Bytes{0xA1, 0xEF, 0xBE, 0xD4, 0xFF, 0xFF, 0xFE, 'h', 'i', 0, 0, 0, 7}));
    int64_t wide = 0x0102030405060708;
    DATA_MAP::toggle_endian(wide);
    EXPECT_EQ(wide, 0x0807060504030201);
    EXPECT_STREQ(DATA_MAP::endian_name(DATA_MAP::BIG), "big endian");
    EXPECT_STREQ(DATA_MAP::endian_name(DATA_MAP::ENDIAN(0)), "unknown endianness");
}

TEST(DataMapTest, Leb128EncodingsRoundTrip) {
    const struct { bool is_signed; int64_t value; Bytes encoded; } cases[] = {
        {false, 0, {0x00}}, {false, 128, {0x80, 0x01}}, {false, 0xFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
        {true, 63, {0x3F}}, {true, 64, {0xC0, 0x00}}, {true, -64, {0x40}}, {true, -65, {0xBF, 0x7F}},
        {true, INT32_MIN, {0x80, 0x80, 0x80, 0x80, 0x78}},
    };
    for (const auto& c : cases) {
        const int32_t s = static_cast<int32_t>(c.value);
        const uint32_t u = static_cast<uint32_t>(c.value);
        unsigned char buf[8];
        const unsigned n = (c.is_signed ? DATA_MAP::SLEB128_write(buf, s) : DATA_MAP::ULEB128_write(buf, u)) - buf;
        EXPECT_EQ(Bytes(buf, buf + n), c.encoded) << c.value;
        EXPECT_EQ(c.is_signed ? DATA_MAP::SLEB128_size(s) : DATA_MAP::ULEB128_size(u), n) << c.value;
        DATA_MAP map;
        c.is_signed ? map.SLEB128_write(s) : map.ULEB128_write(u);
        map.set_cursor(0);
        EXPECT_EQ(c.is_signed ? int64_t(map.SLEB128_read()) : int64_t(map.ULEB128_read()), c.value);
        EXPECT_EQ(map.cursor(), n);
    }
}

// Bit fields are read and written in place at the cursor; a misplaced field
// is reported and changes nothing. Whole-map edits
// grow the map where they reach past its end and clamp what they read.
TEST(DataMapTest, RemoveAndCopyDataWithinTheMap) {
    const std::string misplaced = ">> application error: DATA_MAP::unpack:  field size + lsb offset is greater than "
                                  "container size";
    const struct { std::function<uint64_t(DATA_MAP&)> edit; uint64_t result; Bytes after; std::string message = ""; } cases[] = {
        {[](DATA_MAP& m) { m.pack(0xA5, 4, 12, 8); return m.unpack(2, 12, 4); }, 5, {0, 0x01, 0x52, 0x0A, 0x04, 5, 6, 7}},
        {[](DATA_MAP& m) { m.pack(0, 1, 0, 1); return m.unpack(4, 9, 8); }, 0x81, {0, 0, 2, 3, 4, 5, 6, 7}},
        {[](DATA_MAP& m) { m.pack(1, 4, 28, 8); return m.unpack(4, 28, 8); }, 0, {0, 1, 2, 3, 4, 5, 6, 7},
         misplaced + "\n" + misplaced + "; returning 0\n"},
        {[](DATA_MAP& m) { m.remove_data(2, 3); return 0; }, 0, {0, 1, 5, 6, 7}},
        {[](DATA_MAP& m) { m.remove_data(6, 9); return 0; }, 0, {0, 1, 2, 3, 4, 5}},
        {[](DATA_MAP& m) { m.copy_data(6, 2, 4); return 0; }, 0, {0, 1, 2, 3, 4, 5, 2, 3, 4, 5}},
        {[](DATA_MAP& m) { m.copy_data(0, 5, 9); return 0; }, 0, {5, 6, 7, 3, 4, 5, 6, 7}},
        {[](DATA_MAP& m) { m.copy_data(2, 0, 4); return 0; }, 0, {0, 1, 0, 1, 2, 3, 6, 7}},
        {[](DATA_MAP& m) { m.set_data(DATA_MAP(m), 5, 9); return 0; }, 0, {5, 6, 7}},
        {[](DATA_MAP& m) { m.set_data(DATA_MAP(m), 8, 1); return 0; }, 0, {}},
    };
    for (const auto& c : cases) {
        DATA_MAP map;
        fill(map, {0, 1, 2, 3, 4, 5, 6, 7});
        map.set_cursor(1);
        EXPECT_EQ(stderr_of([&] { EXPECT_EQ(c.edit(map), c.result) << &c - cases; }), c.message);
        EXPECT_EQ(bytes_of(map), c.after) << &c - cases;
    }
    DATA_MAP wide;   // a whole 64-bit container, made room for
    wide.pack(0x8877665544332211u, 8, 0, 64);
    EXPECT_EQ(wide.unpack(8, 0, 64), 0x8877665544332211u);
}

// Byte order and cursor take no part in a comparison; a map that owns its
// bytes loses them when unloaded and then reads as zeros.
TEST(DataMapTest, ResetUnloadAndCompare) {
    DATA_MAP a, zeros, sized(1);
    EXPECT_EQ(sized.pool_size(), 1u);
    fill(a, {1, 2, 3}, DATA_MAP::BIG);
    EXPECT_EQ(a.flags(), 1u | 4u | 8u);   // loaded, data set, big endian
    a.set_cursor(2);
    a.clear();
    EXPECT_EQ(a.flags(), 1u | 8u);
    EXPECT_EQ(a.size() + a.cursor(), 0u);
    fill(a, {1, 2, 0, 0});
    fill(zeros, Bytes(4, 0));
    DATA_MAP b(a);
    b.set_cursor(1);
    b.set_endian(DATA_MAP::BIG);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(b.contains_all_zeroes());
    b.set_cursor(2);
    EXPECT_TRUE(b.contains_all_zeroes());
    const unsigned char two_zeros[] = {0, 0, 1};
    EXPECT_TRUE(DATA_MAP::contains_all_zeroes(two_zeros, 2));
    a.unload();
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a == zeros);
    DATA_MAP part;   // of a map whose pool is shorter than its size
    part.set_data(a, 1, 2);
    EXPECT_EQ(bytes_of(part), (Bytes{0, 0}));
}

// Maps bound to a part of a 64-byte file whose byte i is i load on first use
// and leave the stream where it was (at 5).
TEST(FileBoundMapTest, LoadsOnFirstUseAndKeepsTheFilePosition) {
    SCRATCH_DIR scratch;
    std::string content;
    for (int i = 0; i < 64; ++i)
        content += static_cast<char>(i);
    FHM_FILE* file = fhm_open(scratch.write("bound.bin", content).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::fseek(file->fp(), 5, SEEK_SET);
    DATA_MAP map, filled;
    map.set_data(file, 16, 8);
    unsigned char bytes[8];
    map.set_cursor(6);
    EXPECT_EQ(map.read_bypass(bytes, 4), 2u);   // two bytes left in the stretch
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{22, 23, 0, 0}));
    EXPECT_FALSE(map.is_loaded());
    map.set_min_bufsize(4);
    EXPECT_TRUE(map.is_loaded());
    map.set_cursor(0);
    EXPECT_EQ(map.UINT32_read(), 0x13121110u);
    EXPECT_EQ(DATA_MAP(map).file(), file);      // unmodified: still bound
    map.UINT8_write(0xEE);
    EXPECT_EQ(DATA_MAP(map).file(), nullptr);   // modified: the bytes are copied
    map.unload();
    EXPECT_EQ(map[0], 16);                      // read again from the file

    map.set_data(file, 60, 8);   // stretches past the end of the file
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(map.read(bytes, 8), 8u); }), "");
    EXPECT_EQ(Bytes(bytes, bytes + 8), (Bytes{60, 61, 62, 63, 0, 0, 0, 0}));
    EXPECT_EQ(std::ftell(file->fp()), 5);
    filled.set_cursor(1);   // reads at the file's own position, which moves
    EXPECT_EQ(filled.write(file, 3), 3u);
    EXPECT_EQ(bytes_of(filled), (Bytes{0, 5, 6, 7}));
    EXPECT_EQ(std::ftell(file->fp()), 8);
    fhm_close(file);
}

}  // namespace

#include "support/data_map.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "common/scratch_dir.h"
#include "support/fhm_file.h"
#include "support/text_capture.h"
#include "support/user_msg.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes bytes_of(const DATA_MAP& map) {
    Bytes out(map.size());
    map.set_cursor(0);
    map.read(out.data(), out.size());
    return out;
}

class DataMapTest : public testing::Test {
protected:
    void SetUp() override {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        USER_MSG::get_umsg_obj()->set_sev_level(USER_MSG::REMARK);
    }

    static void fill(DATA_MAP& map, const Bytes& bytes, DATA_MAP::ENDIAN order = DATA_MAP::LITTLE) {
        map.set_data(bytes.data(), bytes.size());
        map.set_endian(order);
    }
};

// Multi-byte reads follow the map's byte order; INT8 and INT16 extend the
// sign, INT_read does not. Reads off the end are silent: they yield zero and
// move the cursor as if the bytes were there; peeks never move it.
TEST_F(DataMapTest, SequentialReadsFollowTheByteOrderAndTheEnd) {
    DATA_MAP le, be, ones;
    fill(le, {1, 2, 3, 4, 5, 6, 7, 8});
    fill(be, {1, 2, 3, 4, 5, 6, 7, 8}, DATA_MAP::BIG);
    fill(ones, Bytes(8, 0xFF), DATA_MAP::BIG);
    typedef std::function<int64_t(const DATA_MAP&)> READ;
    const READ u16 = [](const DATA_MAP& m) { return m.UINT16_read(); };
    const READ u24 = [](const DATA_MAP& m) { return m.UINT_read(3); };
    const READ i16 = [](const DATA_MAP& m) { return m.INT16_read(); };
    const struct { const DATA_MAP* map; uint32_t at; READ read; int64_t value; uint32_t after; } cases[] = {
        {&le, 0, u16, 0x0201, 2},
        {&le, 2, [](const DATA_MAP& m) { return m.UINT32_read(); }, 0x06050403, 6},
        {&be, 0, u24, 0x010203, 3},
        {&be, 3, [](const DATA_MAP& m) { return m.UINT32_read(); }, 0x04050607, 7},
        {&be, 0, [](const DATA_MAP& m) { return m.UINT64_read(); }, 0x0102030405060708, 8},
        {&ones, 0, [](const DATA_MAP& m) { return m.INT8_read(); }, -1, 1},
        {&ones, 0, i16, -1, 2},
        {&ones, 0, [](const DATA_MAP& m) { return m.INT_read(3); }, 0xFFFFFF, 3},
        {&ones, 0, [](const DATA_MAP& m) { return m.INT64_read(); }, -1, 8},
        {&ones, 7, u16, 0, 9},
        {&ones, 6, u24, 0, 9},
        {&ones, 9, i16, 0, 11},
        {&ones, 7, [](const DATA_MAP& m) { return m.UINT8_read(1); }, 0, 7},
        {&ones, 6, [](const DATA_MAP& m) { return m.UINT8_read(1); }, 0xFF, 6},
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
    unsigned char buffer[10] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    ones.set_cursor(0);
    EXPECT_EQ(ones.read(buffer, 10), 0u);
    EXPECT_EQ(Bytes(buffer, buffer + 10), Bytes(10, 0));
    EXPECT_EQ(ones.cursor(), 10u);

    fill(le, {'a', 'b', 0, 'c', 'd'});
    EXPECT_STREQ(le.string_read(), "ab");
    EXPECT_STREQ(le.string_read(), "");   // no terminator before the end
    EXPECT_EQ(le.cursor(), 6u);
}

TEST_F(DataMapTest, WritesGrowTheMapInItsByteOrder) {
    DATA_MAP map;
    map.set_endian(DATA_MAP::BIG);
    map.UINT16_write(0x1234);
    map.UINT32_write(0xA1B2C3D4u);
    map.INT_write(-2, 3);
    map.string_write("hi");
    EXPECT_EQ(bytes_of(map), (Bytes{0x12, 0x34, 0xA1, 0xB2, 0xC3, 0xD4, 0xFF, 0xFF, 0xFE, 'h', 'i', 0}));
    map.set_cursor(1);
    map.set_endian(DATA_MAP::LITTLE);
    map.UINT16_write(0xBEEF);   // overwrites inside the map
    EXPECT_EQ(map.size(), 12u);
    map.set_cursor(14);
    map.UINT8_write(7);         // the gap before it reads as zeros
    EXPECT_EQ(bytes_of(map), (Bytes{0x12, 0xEF, 0xBE, 0xB2, 0xC3, 0xD4, 0xFF, 0xFF, 0xFE, 'h', 'i', 0, 0, 0, 7}));

    // Only 2 is big endian for the raw codecs.
    for (int endian : {1, 0, 7, 2}) {
        unsigned char buf[4];
        EXPECT_EQ(DATA_MAP::UINT_write(buf, 0x123456, endian, 3), buf + 3);
        EXPECT_EQ(Bytes(buf, buf + 3), (endian == 2 ? Bytes{0x12, 0x34, 0x56} : Bytes{0x56, 0x34, 0x12})) << endian;
    }
    // The host's order is what the machine itself stores.
    const uint16_t one = 1;
    EXPECT_EQ(DATA_MAP::host_endian(), *reinterpret_cast<const unsigned char*>(&one) == 1 ? DATA_MAP::LITTLE
                                                                                          : DATA_MAP::BIG);
}

TEST_F(DataMapTest, Leb128EncodingsRoundTrip) {
    const struct { bool is_signed; int64_t value; Bytes encoded; } cases[] = {
        {false, 0, {0x00}}, {false, 127, {0x7F}}, {false, 128, {0x80, 0x01}},
        {false, 16384, {0x80, 0x80, 0x01}}, {false, 0xFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
        {true, 63, {0x3F}}, {true, 64, {0xC0, 0x00}}, {true, -1, {0x7F}}, {true, -64, {0x40}},
        {true, -65, {0xBF, 0x7F}}, {true, INT32_MAX, {0xFF, 0xFF, 0xFF, 0xFF, 0x07}},
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
    // An encoding cut off by the end of the map reads as 0, one byte past it.
    DATA_MAP map;
    fill(map, {0x80, 0x80});
    EXPECT_EQ(map.ULEB128_read(), 0u);
    EXPECT_EQ(map.cursor(), 3u);
}

// A field is read and written in place; misuse is reported and changes nothing.
TEST_F(DataMapTest, BitFieldsStayInTheirContainer) {
    const std::string unpack_prefix = ">> application error: DATA_MAP::unpack:  ";
    const struct {
        std::function<uint64_t(DATA_MAP&)> call;
        uint64_t result;
        Bytes after;
        std::string message;
    } cases[] = {
        {[](DATA_MAP& m) { m.pack(0xA5, 4, 12, 8); return m.unpack(2, 12, 4); }, 5, {0, 0xFF, 0x5F, 0xFA, 0xFF}, ""},
        {[](DATA_MAP& m) { m.pack(0, 1, 0, 1); return m.unpack(4, 12, 8); }, 0xFF, {0, 0xFE, 0xFF, 0xFF, 0xFF}, ""},
        {[](DATA_MAP& m) { return m.unpack(4, 28, 8); }, 0, {0, 0xFF, 0xFF, 0xFF, 0xFF},
         unpack_prefix + "field size + lsb offset is greater than container size; returning 0\n"},
        {[](DATA_MAP& m) { return m.unpack(9, 0, 1); }, 0, {0, 0xFF, 0xFF, 0xFF, 0xFF},
         ">> application error: unpack does not support container sizes larger than 8 bytes; returning 0\n"},
        {[](DATA_MAP& m) { return m.unpack(8, 0, 8) + m.unpack(2, 0, 0); }, 0, {0, 0xFF, 0xFF, 0xFF, 0xFF}, ""},
        {[](DATA_MAP& m) { m.pack(1, 9, 0, 1); return 0; }, 0, {0, 0xFF, 0xFF, 0xFF, 0xFF},
         unpack_prefix + "container sizes larger than 8 bytes are not supported\n"},
        {[](DATA_MAP& m) { m.pack(1, 4, 28, 8); return 0; }, 0, {0, 0xFF, 0xFF, 0xFF, 0xFF},
         unpack_prefix + "field size + lsb offset is greater than container size\n"},
    };
    for (const auto& c : cases) {
        DATA_MAP map;
        fill(map, {0, 0xFF, 0xFF, 0xFF, 0xFF});
        map.set_cursor(1);
        EXPECT_EQ(stderr_of([&] { EXPECT_EQ(c.call(map), c.result); }), c.message);
        EXPECT_EQ(map.cursor(), 1u);
        EXPECT_EQ(bytes_of(map), c.after);
    }
    DATA_MAP wide;   // a whole 64-bit container, made room for
    wide.pack(0x8877665544332211u, 8, 0, 64);
    EXPECT_EQ(wide.unpack(8, 0, 64), 0x8877665544332211u);
    EXPECT_EQ(wide.size(), 8u);
}

TEST_F(DataMapTest, RemoveAndCopyDataWithinTheMap) {
    const struct { std::function<void(DATA_MAP&)> edit; Bytes after; } cases[] = {
        {[](DATA_MAP& m) { m.remove_data(2, 3); }, {0, 1, 5, 6, 7}},
        {[](DATA_MAP& m) { m.remove_data(6, 9); }, {0, 1, 2, 3, 4, 5}},
        {[](DATA_MAP& m) { m.remove_data(9, 1); }, {0, 1, 2, 3, 4, 5, 6, 7}},
        {[](DATA_MAP& m) { m.copy_data(6, 2, 4); }, {0, 1, 2, 3, 4, 5, 2, 3, 4, 5}},
        {[](DATA_MAP& m) { m.copy_data(0, 5, 9); }, {5, 6, 7, 3, 4, 5, 6, 7}},
        {[](DATA_MAP& m) { m.copy_data(2, 0, 4); }, {0, 1, 0, 1, 2, 3, 6, 7}},
        {[](DATA_MAP& m) { m.copy_data(1, 9, 2); }, {0, 1, 2, 3, 4, 5, 6, 7}},
        {[](DATA_MAP& m) { m.set_data(DATA_MAP(m), 5, 9); }, {5, 6, 7}},
        {[](DATA_MAP& m) { m.set_data(DATA_MAP(m), 8, 1); }, {}},
    };
    for (const auto& c : cases) {
        DATA_MAP map;
        fill(map, {0, 1, 2, 3, 4, 5, 6, 7});
        c.edit(map);
        EXPECT_EQ(bytes_of(map), c.after) << &c - cases;
    }
}

// Byte order and cursor take no part in a comparison; a map that owns its
// bytes loses them when unloaded and then reads as zeros.
TEST_F(DataMapTest, ResetUnloadAndCompare) {
    DATA_MAP a, zeros;
    fill(a, {1, 2, 3}, DATA_MAP::BIG);
    a.set_cursor(2);
    a.clear();
    EXPECT_EQ(a.flags(), DATA_MAP::LOADED | DATA_MAP::BIG_ENDIAN_DATA);
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
    a.unload();
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a == zeros);
    DATA_MAP part;   // of a map whose pool is shorter than its size
    part.set_data(a, 1, 2);
    EXPECT_EQ(bytes_of(part), (Bytes{0, 0}));
}

TEST_F(DataMapTest, TextAndDataOutputPadTheLastLine) {
    DATA_MAP map;
    map.set_data(reinterpret_cast<const unsigned char*>("ABCDEFGHIJKLMNOP\x00\x01qr"), 20);
    EXPECT_EQ(written_by([&](FILE* f) {
                  map.save_text(f, 20);
                  map.set_cursor(16);   // offsets count from the cursor
                  map.save_text(f, 2);
              }),
              "00000000:  41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50 ABCDEFGHIJKLMNOP\n"
              "00000010:  00 01 71 72 " + std::string(12 * 3, ' ') + "..qr\n"
              "00000000:  00 01 " + std::string(14 * 3, ' ') + "..\n");
    map.set_cursor(17);
    EXPECT_EQ(written_by([&](FILE* f) { EXPECT_EQ(map.save_data(f, 6), 0); }), std::string("\x01qr\0\0\0", 6));
}

// A 64-byte file whose byte i is i, its stream left at position 5; maps bound
// to a part of it must not move that position.
class FileBoundMapTest : public DataMapTest {
protected:
    void SetUp() override {
        DataMapTest::SetUp();
        std::string bytes;
        for (int i = 0; i < 64; ++i)
            bytes += static_cast<char>(i);
        path_ = scratch_.write("bound.bin", bytes);
        file_ = fhm_open(path_.c_str(), "rb");
        ASSERT_NE(file_, nullptr);
        std::fseek(file_->fp(), 5, SEEK_SET);
    }
    void TearDown() override { fhm_close(file_); }
    long position() { return std::ftell(file_->fp()); }

    SCRATCH_DIR scratch_;
    std::string path_;
    FHM_FILE* file_ = nullptr;
};

TEST_F(FileBoundMapTest, LoadsOnFirstUseAndKeepsTheFilePosition) {
    DATA_MAP map;
    map.set_data(file_, 16, 8);
    unsigned char bytes[8];
    map.set_cursor(6);
    EXPECT_EQ(map.read_bypass(bytes, 4), 2u);   // two bytes left in the stretch
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{22, 23, 0, 0}));
    EXPECT_EQ(map.cursor(), 10u);
    EXPECT_FALSE(map.is_loaded());
    map.set_cursor(0);
    EXPECT_EQ(map.UINT32_read(), 0x13121110u);
    EXPECT_TRUE(map.is_loaded());
    EXPECT_EQ(position(), 5);

    DATA_MAP copy(map);          // unmodified: bound, not loaded
    EXPECT_EQ(copy.file(), file_);
    DATA_MAP part;
    part.set_data(copy, 2, 3);
    EXPECT_EQ(bytes_of(part), (Bytes{18, 19, 20}));
    EXPECT_TRUE(copy == map);
    map.set_cursor(0);
    map.UINT8_write(0xEE);
    DATA_MAP owned(map);         // modified: the bytes are copied
    EXPECT_EQ(owned.file(), nullptr);
    EXPECT_EQ(owned[0], 0xEE);

    map.set_data(file_, 60, 8);  // stretches past the end of the file
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(map.read(bytes, 8), 8u); }), "");
    EXPECT_EQ(Bytes(bytes, bytes + 8), (Bytes{60, 61, 62, 63, 0, 0, 0, 0}));
    EXPECT_EQ(position(), 5);

    DATA_MAP filled;             // reads at the file's own position, which moves
    filled.set_cursor(1);
    EXPECT_EQ(filled.write(file_, 3), 3u);
    EXPECT_EQ(bytes_of(filled), (Bytes{0, 5, 6, 7}));
    EXPECT_EQ(position(), 8);
}

}  // namespace

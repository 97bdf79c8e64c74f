#include "support/data_map.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/fhm_file.h"
#include "support/user_msg.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Application errors are wrapped to 78 columns with later lines indented
// under the 22-character prefix; joining the lines gives back the text.
std::string unwrap(std::string text)
{
    const std::string indent = "\n" + std::string(22, ' ');
    for (size_t at; (at = text.find(indent)) != std::string::npos;)
        text.replace(at, indent.size(), " ");
    return text;
}

std::string stderr_of(const std::function<void()>& action)
{
    testing::internal::CaptureStderr();
    action();
    return unwrap(testing::internal::GetCapturedStderr());
}

std::string app_error(const std::string& text)
{
    return ">> application error: " + text + "\n";
}

Bytes bytes_of(const DATA_MAP& map)
{
    Bytes out(map.size());
    map.set_cursor(0);
    map.read(out.data(), out.size());
    return out;
}

std::string read_all(FILE* f)
{
    std::string text;
    std::rewind(f);
    for (int c; (c = std::fgetc(f)) != EOF;)
        text += static_cast<char>(c);
    return text;
}

class DataMapTest : public testing::Test {
protected:
    void SetUp() override
    {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        USER_MSG::get_umsg_obj()->set_sev_level(USER_MSG::REMARK);
    }

    static void fill(DATA_MAP& map, const Bytes& bytes, DATA_MAP::ENDIAN order = DATA_MAP::LITTLE)
    {
        map.set_data(bytes.data(), bytes.size());
        map.set_endian(order);
    }
};

TEST_F(DataMapTest, ReadsPastTheEndYieldZeroAndStillAdvance)
{
    struct Case {
        uint32_t cursor;
        unsigned width;
        std::function<uint64_t(const DATA_MAP&)> read;
    };
    const Case cases[] = {
        {4, 1, [](const DATA_MAP& m) { return m.UINT8_read(); }},
        {3, 2, [](const DATA_MAP& m) { return m.UINT16_read(); }},
        {1, 4, [](const DATA_MAP& m) { return m.UINT32_read(); }},
        {0, 8, [](const DATA_MAP& m) { return m.UINT64_read(); }},
        {2, 3, [](const DATA_MAP& m) { return m.UINT_read(3); }},
        {9, 2, [](const DATA_MAP& m) { return uint64_t(m.INT16_read()); }},
    };
    DATA_MAP map;
    fill(map, {0xFF, 0xFF, 0xFF, 0xFF});
    for (const Case& c : cases) {
        map.set_cursor(c.cursor);
        std::string out = stderr_of([&] { EXPECT_EQ(c.read(map), 0u) << c.cursor; });
        EXPECT_EQ(map.cursor(), c.cursor + c.width);
        EXPECT_EQ(out, "");
    }
    unsigned char buffer[6];
    std::memset(buffer, 0x55, sizeof buffer);
    map.set_cursor(0);
    EXPECT_EQ(map.read(buffer, 6), 0u);
    EXPECT_EQ(Bytes(buffer, buffer + 6), Bytes(6, 0));
    EXPECT_EQ(map.cursor(), 6u);
}

TEST_F(DataMapTest, ReadsFollowTheByteOrderAndSignRules)
{
    DATA_MAP map;
    fill(map, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(map.UINT16_read(), 0x0201u);
    EXPECT_EQ(map.UINT32_read(), 0x06050403u);
    map.set_cursor(0);
    EXPECT_EQ(map.UINT64_read(), 0x0807060504030201u);
    map.set_endian(DATA_MAP::BIG);
    map.set_cursor(0);
    EXPECT_EQ(map.UINT_read(3), 0x010203u);
    EXPECT_EQ(map.UINT32_read(), 0x04050607u);
    map.set_cursor(0);
    EXPECT_EQ(map.UINT64_read(), 0x0102030405060708u);
    EXPECT_EQ(map.UINT_read(0), 0u);
    EXPECT_EQ(map.cursor(), 8u);

    fill(map, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, DATA_MAP::BIG);
    EXPECT_EQ(map.INT8_read(), -1);
    EXPECT_EQ(map.INT16_read(), -1);
    map.set_cursor(0);
    EXPECT_EQ(map.INT_read(3), 0xFFFFFF);   // never sign-extended
    map.set_cursor(0);
    EXPECT_EQ(map.INT32_read(), -1);
    map.set_cursor(0);
    EXPECT_EQ(map.INT64_read(), -1);
}

TEST_F(DataMapTest, WritesGrowTheMapInItsByteOrder)
{
    DATA_MAP map;
    map.set_endian(DATA_MAP::BIG);
    map.UINT16_write(0x1234);
    map.UINT32_write(0xA1B2C3D4u);
    map.INT_write(-2, 3);
    map.string_write("hi");
    EXPECT_EQ(bytes_of(map), (Bytes{0x12, 0x34, 0xA1, 0xB2, 0xC3, 0xD4, 0xFF, 0xFF, 0xFE, 'h', 'i', 0}));
    EXPECT_TRUE(map.is_modified());
    EXPECT_EQ(map.pool_size(), 12u);

    map.set_cursor(1);
    map.set_endian(DATA_MAP::LITTLE);
    map.UINT16_write(0xBEEF);                 // overwrites inside the map
    EXPECT_EQ(map.size(), 12u);
    map.set_cursor(14);
    map.UINT8_write(7);                       // a gap before it reads as zeros
    EXPECT_EQ(map.size(), 15u);
    EXPECT_EQ(bytes_of(map), (Bytes{0x12, 0xEF, 0xBE, 0xB2, 0xC3, 0xD4, 0xFF, 0xFF, 0xFE, 'h', 'i', 0, 0, 0, 7}));
}

TEST_F(DataMapTest, ExplicitOrderCodecsTreatOnlyTwoAsBigEndian)
{
    const struct {
        int endian;
        Bytes u16, u32, u24;
    } cases[] = {
        {1, {0x34, 0x12}, {0x78, 0x56, 0x34, 0x12}, {0x56, 0x34, 0x12}},
        {0, {0x34, 0x12}, {0x78, 0x56, 0x34, 0x12}, {0x56, 0x34, 0x12}},
        {7, {0x34, 0x12}, {0x78, 0x56, 0x34, 0x12}, {0x56, 0x34, 0x12}},
        {2, {0x12, 0x34}, {0x12, 0x34, 0x56, 0x78}, {0x12, 0x34, 0x56}},
    };
    for (const auto& c : cases) {
        unsigned char buf[8];
        EXPECT_EQ(DATA_MAP::UINT16_write(buf, 0x1234, c.endian), buf + 2);
        EXPECT_EQ(Bytes(buf, buf + 2), c.u16) << c.endian;
        uint16_t v16;
        DATA_MAP::UINT16_read(buf, &v16, c.endian);
        EXPECT_EQ(v16, 0x1234);
        DATA_MAP::UINT32_write(buf, 0x12345678, c.endian);
        EXPECT_EQ(Bytes(buf, buf + 4), c.u32) << c.endian;
        uint32_t v32;
        DATA_MAP::UINT32_read(buf, &v32, c.endian);
        EXPECT_EQ(v32, 0x12345678u);
        EXPECT_EQ(DATA_MAP::UINT_write(buf, 0x123456, c.endian, 3), buf + 3);
        EXPECT_EQ(Bytes(buf, buf + 3), c.u24) << c.endian;
    }
    unsigned char untouched = 0xAA;
    uint64_t value = 99;
    EXPECT_EQ(DATA_MAP::UINT_write(&untouched, 5, 1, 0), &untouched);
    EXPECT_EQ(untouched, 0xAA);
    DATA_MAP::UINT_read(&untouched, &value, 1, 0);
    EXPECT_EQ(value, 0u);
}

TEST_F(DataMapTest, Leb128EncodingsRoundTrip)
{
    const struct {
        uint32_t value;
        Bytes encoded;
    } unsigned_cases[] = {
        {0, {0x00}}, {127, {0x7F}}, {128, {0x80, 0x01}}, {16383, {0xFF, 0x7F}},
        {16384, {0x80, 0x80, 0x01}}, {0xFFFFFFFFu, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
    };
    const struct {
        int32_t value;
        Bytes encoded;
    } signed_cases[] = {
        {0, {0x00}}, {63, {0x3F}}, {64, {0xC0, 0x00}}, {-1, {0x7F}}, {-64, {0x40}},
        {-65, {0xBF, 0x7F}}, {INT32_MAX, {0xFF, 0xFF, 0xFF, 0xFF, 0x07}},
        {INT32_MIN, {0x80, 0x80, 0x80, 0x80, 0x78}},
    };
    for (const auto& c : unsigned_cases) {
        unsigned char buf[8];
        const unsigned n = DATA_MAP::ULEB128_write(buf, c.value) - buf;
        EXPECT_EQ(Bytes(buf, buf + n), c.encoded) << c.value;
        EXPECT_EQ(DATA_MAP::ULEB128_size(c.value), n);
        uint32_t back = 0;
        EXPECT_EQ(DATA_MAP::ULEB128_read(buf, &back), buf + n);
        EXPECT_EQ(back, c.value);
        EXPECT_EQ(DATA_MAP::ULEB128_read(buf, nullptr), buf + n);
        DATA_MAP map;
        map.ULEB128_write(c.value);
        map.set_cursor(0);
        EXPECT_EQ(map.ULEB128_read(), c.value);
        EXPECT_EQ(map.cursor(), n);
    }
    for (const auto& c : signed_cases) {
        unsigned char buf[8];
        const unsigned n = DATA_MAP::SLEB128_write(buf, c.value) - buf;
        EXPECT_EQ(Bytes(buf, buf + n), c.encoded) << c.value;
        EXPECT_EQ(DATA_MAP::SLEB128_size(c.value), n);
        int32_t back = 0;
        EXPECT_EQ(DATA_MAP::SLEB128_read(buf, &back), buf + n);
        EXPECT_EQ(back, c.value);
        EXPECT_EQ(DATA_MAP::SLEB128_read(buf, nullptr), buf + n);
        DATA_MAP map;
        map.SLEB128_write(c.value);
        map.set_cursor(0);
        EXPECT_EQ(map.SLEB128_read(), c.value);
        EXPECT_EQ(map.cursor(), n);
    }
    // An encoding cut off by the end of the map reads as 0, one byte past it.
    DATA_MAP map;
    fill(map, {0x80, 0x80});
    EXPECT_EQ(map.ULEB128_read(), 0u);
    EXPECT_EQ(map.cursor(), 3u);
}

TEST_F(DataMapTest, StringReadStopsAtTheTerminatorOrFallsPastTheEnd)
{
    DATA_MAP map;
    fill(map, {'a', 'b', 0, 'c', 'd'});
    EXPECT_STREQ(map.string_read(), "ab");
    EXPECT_EQ(map.cursor(), 3u);
    EXPECT_STREQ(map.string_read(), "");
    EXPECT_EQ(map.cursor(), 6u);
}

TEST_F(DataMapTest, BitFieldMisuseIsReportedAndLeavesTheCursor)
{
    const struct {
        std::function<uint64_t(DATA_MAP&)> call;
        std::string message;
    } cases[] = {
        {[](DATA_MAP& m) { return m.unpack(4, 28, 8); },
         "DATA_MAP::unpack:  field size + lsb offset is greater than container size; returning 0"},
        {[](DATA_MAP& m) { return m.unpack(9, 0, 1); },
         "unpack does not support container sizes larger than 8 bytes; returning 0"},
        {[](DATA_MAP& m) { return m.unpack(2, 0, 0); }, ""},
        {[](DATA_MAP& m) { return m.unpack(8, 0, 8); }, ""},   // container runs past the end
        {[](DATA_MAP& m) { m.pack(1, 9, 0, 1); return 0; },
         "DATA_MAP::unpack:  container sizes larger than 8 bytes are not supported"},
        {[](DATA_MAP& m) { m.pack(1, 4, 28, 8); return 0; },
         "DATA_MAP::unpack:  field size + lsb offset is greater than container size"},
    };
    for (const auto& c : cases) {
        DATA_MAP map;
        fill(map, {0, 0xFF, 0xFF, 0xFF, 0xFF});
        map.set_cursor(1);
        std::string out = stderr_of([&] { EXPECT_EQ(c.call(map), 0u); });
        EXPECT_EQ(out, c.message.empty() ? "" : app_error(c.message));
        EXPECT_EQ(map.cursor(), 1u);
        EXPECT_EQ(bytes_of(map), (Bytes{0, 0xFF, 0xFF, 0xFF, 0xFF}));
    }
}

TEST_F(DataMapTest, PackAndUnpackWorkInPlace)
{
    DATA_MAP map;
    map.set_endian(DATA_MAP::BIG);
    map.pack(0x5, 4, 28, 4);                  // makes room for the container
    map.pack(0xFFFF, 4, 0, 3);                // value is masked to the field
    map.pack(0xAB, 4, 8, 8);
    EXPECT_EQ(map.cursor(), 0u);
    EXPECT_EQ(bytes_of(map), (Bytes{0x50, 0x00, 0xAB, 0x07}));
    map.set_cursor(0);
    EXPECT_EQ(map.unpack(4, 28, 4), 0x5u);
    EXPECT_EQ(map.unpack(4, 8, 8), 0xABu);
    EXPECT_EQ(map.unpack(4, 0, 32), 0x5000AB07u);
    EXPECT_EQ(map.cursor(), 0u);
    map.pack(0x2, 4, 9, 2);                   // replaces bits 9-10 only
    EXPECT_EQ(map.unpack(4, 0, 32), 0x5000AD07u);
}

TEST_F(DataMapTest, ShortPoolIsReportedAndReadAsFarAsItGoes)
{
    DATA_MAP owner;
    fill(owner, Bytes(10, 0x99));
    owner.unload();                           // an owning map loses its bytes
    DATA_MAP map(owner);                      // takes only the size
    EXPECT_EQ(map.size(), 10u);
    EXPECT_EQ(map.pool_size(), 0u);
    map.write("\x11\x22\x33\x44", 4);
    map.set_cursor(2);
    std::string out = stderr_of([&] { EXPECT_EQ(map.UINT32_read(), 0x4433u); });
    char expected[128];
    std::snprintf(expected, sizeof expected, "buffer of size 6 not big enough on const DATA_MAP %p of size 10",
                  static_cast<const void*>(&map));
    EXPECT_EQ(out, app_error(expected));
    EXPECT_EQ(map.cursor(), 6u);
}

TEST_F(DataMapTest, ResetKeepsOnlyTheByteOrder)
{
    for (bool use_clear : {false, true}) {
        DATA_MAP map;
        fill(map, {1, 2, 3}, DATA_MAP::BIG);
        map.set_cursor(2);
        use_clear ? map.clear() : map.reset();
        EXPECT_EQ(map.flags(), DATA_MAP::LOADED | DATA_MAP::BIG_ENDIAN_DATA);
        EXPECT_EQ(map.size(), 0u);
        EXPECT_EQ(map.cursor(), 0u);
        EXPECT_EQ(map.pool_size(), 0u);
        map.set_data(reinterpret_cast<const unsigned char*>("\x01\x02"), 2);
        EXPECT_EQ(map.UINT16_read(), 0x0102);
    }
}

TEST_F(DataMapTest, RemoveAndCopyDataEditInPlace)
{
    const struct {
        std::function<void(DATA_MAP&)> edit;
        std::string result;
    } cases[] = {
        {[](DATA_MAP& m) { m.remove_data(1, 2); }, "adef"},
        {[](DATA_MAP& m) { m.remove_data(4, 10); }, "abcd"},
        {[](DATA_MAP& m) { m.remove_data(7, 1); }, "abcdef"},
        {[](DATA_MAP& m) { m.copy_data(0, 3, 3); }, "defdef"},
        {[](DATA_MAP& m) { m.copy_data(4, 0, 4); }, "abcdabcd"},
        {[](DATA_MAP& m) { m.copy_data(1, 0, 5); }, "aabcde"},
        {[](DATA_MAP& m) { m.copy_data(1, 0, 9); }, "aabcdef"},
        {[](DATA_MAP& m) { m.copy_data(1, 9, 1); }, "abcdef"},
    };
    for (const auto& c : cases) {
        DATA_MAP map;
        fill(map, Bytes{'a', 'b', 'c', 'd', 'e', 'f'});
        c.edit(map);
        const Bytes got = bytes_of(map);
        EXPECT_EQ(std::string(got.begin(), got.end()), c.result);
    }
}

TEST_F(DataMapTest, EqualityComparesBytesOnly)
{
    DATA_MAP a, b, c;
    fill(a, {1, 2, 3});
    fill(b, {1, 2, 3}, DATA_MAP::BIG);
    b.set_cursor(2);
    fill(c, {1, 2, 4});
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a != c);
    c.remove_data(2, 1);
    EXPECT_TRUE(a != c);

    DATA_MAP zeros;
    EXPECT_TRUE(zeros.contains_all_zeroes());
    fill(zeros, {1, 0, 0});
    EXPECT_FALSE(zeros.contains_all_zeroes());
    zeros.set_cursor(1);
    EXPECT_TRUE(zeros.contains_all_zeroes());
    EXPECT_TRUE(DATA_MAP::contains_all_zeroes(nullptr, 0));
}

TEST_F(DataMapTest, HexDumpPadsTheLastLine)
{
    DATA_MAP map;
    const char text[] = "ABCDEFGHIJKLMNOP\x00\x01qr";
    map.set_data(reinterpret_cast<const unsigned char*>(text), 20);
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    map.save_text(f, 20);
    map.set_cursor(16);                       // offsets count from the cursor
    map.save_text(f, 2);
    map.save_text(f, 0);
    const std::string pad(12 * 3, ' ');
    EXPECT_EQ(read_all(f),
              "00000000:  41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50 ABCDEFGHIJKLMNOP\n"
              "00000010:  00 01 71 72 " + pad + "..qr\n"
              "00000000:  00 01 " + std::string(14 * 3, ' ') + "..\n");
    std::fclose(f);
}

TEST_F(DataMapTest, SaveDataPadsWithZeros)
{
    DATA_MAP map;
    fill(map, {1, 2, 3, 4});
    map.set_cursor(1);
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(map.save_data(f, 6), 0);
    EXPECT_EQ(read_all(f), std::string("\x02\x03\x04\x00\x00\x00", 6));
    std::fclose(f);

    FILE* read_only = std::fopen("/dev/null", "r");
    ASSERT_NE(read_only, nullptr);
    std::string out = stderr_of([&] { EXPECT_EQ(map.save_data(read_only, 3), -1); });
    EXPECT_EQ(out, app_error("pfwrite only wrote 0 elements; 3 were requested"));
    std::fclose(read_only);
}

class FileBoundMapTest : public DataMapTest {
protected:
    void SetUp() override
    {
        DataMapTest::SetUp();
        path_ = testing::TempDir() + "data_map_bound.bin";
        FILE* out = std::fopen(path_.c_str(), "wb");
        ASSERT_NE(out, nullptr);
        for (int i = 0; i < 64; ++i)
            std::fputc(i, out);
        std::fclose(out);
        file_ = fhm_open(path_.c_str(), "rb");
        ASSERT_NE(file_, nullptr);
        std::fseek(file_->fp(), 5, SEEK_SET);
    }

    void TearDown() override
    {
        fhm_close(file_);
        std::remove(path_.c_str());
    }

    long position() { return std::ftell(file_->fp()); }

    std::string path_;
    FHM_FILE* file_ = nullptr;
};

TEST_F(FileBoundMapTest, LoadsOnFirstUseAndKeepsTheFilePosition)
{
    DATA_MAP map;
    map.set_data(file_, 16, 8);
    EXPECT_FALSE(map.is_loaded());
    unsigned char head[3];
    EXPECT_EQ(map.read_bypass(head, 3), 3u);
    EXPECT_EQ(Bytes(head, head + 3), (Bytes{16, 17, 18}));
    EXPECT_FALSE(map.is_loaded());
    EXPECT_EQ(position(), 5);

    EXPECT_EQ(map.UINT32_read(), 0x16151413u);
    EXPECT_TRUE(map.is_loaded());
    EXPECT_EQ(map.pool_size(), 8u);
    EXPECT_EQ(position(), 5);

    DATA_MAP copy(map);                       // unmodified: bound, not loaded
    EXPECT_FALSE(copy.is_loaded());
    EXPECT_EQ(copy.file(), file_);
    EXPECT_TRUE(copy == map);
    map.set_cursor(0);
    map.UINT8_write(0xEE);
    DATA_MAP owned(map);                      // modified: the bytes are copied
    EXPECT_EQ(owned.file(), nullptr);
    EXPECT_EQ(owned[0], 0xEE);
}

TEST_F(FileBoundMapTest, StretchBeyondTheFileReadsAsZeros)
{
    DATA_MAP map;
    map.set_data(file_, 60, 8);
    unsigned char bytes[8];
    std::string out = stderr_of([&] {
        map.set_cursor(2);
        EXPECT_EQ(map.read_bypass(bytes, 8), 2u);
        EXPECT_EQ(Bytes(bytes, bytes + 8), (Bytes{62, 63, 0, 0, 0, 0, 0, 0}));
        map.set_cursor(0);
        EXPECT_EQ(map.read(bytes, 8), 8u);
    });
    EXPECT_EQ(out, "");
    EXPECT_EQ(Bytes(bytes, bytes + 8), (Bytes{60, 61, 62, 63, 0, 0, 0, 0}));
    EXPECT_EQ(position(), 5);
}

// The manager closes the least recently used stream when too many are open;
// the map must fetch the stream anew instead of keeping an old one.
TEST_F(FileBoundMapTest, ReloadsAfterTheStreamWasEvicted)
{
    DATA_MAP map;
    map.set_data(file_, 32, 4);
    EXPECT_EQ(map.UINT32_read(), 0x23222120u);
    map.unload();
    std::vector<FHM_FILE*> others;
    for (int i = 0; i < 12; ++i)
        others.push_back(fhm_open(path_.c_str(), "rb"));
    EXPECT_FALSE(file_->is_open());
    map.set_cursor(0);
    EXPECT_EQ(map.UINT32_read(), 0x23222120u);
    EXPECT_EQ(position(), 5);
    for (FHM_FILE* other : others)
        fhm_close(other);
}

}  // namespace

#include "ofe/of_string_table.h"

#include <gtest/gtest.h>

#include <string>

#include "ofe/test_object_file.h"

using namespace OFE;

namespace {

// A table read from a file: its bytes as they stand, no index yet.
void fill(OF_STRING_TABLE_MANAGER& table, const std::string& bytes) {
    table.raw_data().set_data(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

TEST(StringTableTest, LookupByOffset) {
    OF_STRING_TABLE_MANAGER table;
    fill(table, std::string("\0abc\0de\0unterminated", 20));
    EXPECT_STREQ(table.get_string(0), "");
    EXPECT_STREQ(table.get_string(1), "abc");
    EXPECT_STREQ(table.get_string(3), "c");
    EXPECT_STREQ(table.get_string(5), "de");
    EXPECT_EQ(table.get_string(8), nullptr);     // runs off the end
    EXPECT_EQ(table.get_string(20), nullptr);    // offset equal to the size
    EXPECT_EQ(table.get_string(~0UL), nullptr);
}

// find_string consults the index only, and the index is built by the first
// add_string; tails of longer strings are not in it.
TEST(StringTableTest, AddDeduplicatesAndFindUsesTheIndexOnly) {
    OF_STRING_TABLE_MANAGER table;
    fill(table, std::string("\0abc\0de\0", 8));
    unsigned long offset = 99;
    EXPECT_EQ(table.find_string("abc", offset), 0);
    EXPECT_EQ(offset, 99u);

    EXPECT_EQ(table.add_string("de"), 5u);
    EXPECT_EQ(table.size(), 8u);
    EXPECT_EQ(table.find_string("abc", offset), 1);
    EXPECT_EQ(offset, 1u);

    EXPECT_EQ(table.add_string("bc"), 8u);
    EXPECT_EQ(table.size(), 11u);
    EXPECT_EQ(table.add_string("bc"), 8u);
    EXPECT_EQ(table.size(), 11u);
    EXPECT_STREQ(table.get_string(8), "bc");
    EXPECT_EQ(table.add_string(""), 0u);

    table.unload();
    EXPECT_EQ(table.find_string("bc", offset), 0);
}

TEST(StringTableTest, EmptyTableGrowsFromOffsetZero) {
    OF_STRING_TABLE_MANAGER table;
    EXPECT_EQ(table.get_string(0), nullptr);
    EXPECT_EQ(table.add_string("x"), 0u);
    EXPECT_EQ(table.add_string("yz"), 2u);
    EXPECT_STREQ(table.get_string(2), "yz");
    table.clear();
    EXPECT_EQ(table.size(), 0u);
    unsigned long offset = 0;
    EXPECT_EQ(table.find_string("x", offset), 0);
}

TEST(StringTableTest, AddingNeedsAnOpenFile) {
    struct FILE_TABLE : OF_STRING_TABLE {
        explicit FILE_TABLE(OBJECT_FILE* file) : OF_STRING_TABLE(file) {}
        int progress_to_state(OF_STATE) override { return 0; }
        int revert_to_state(OF_STATE) override { return 0; }
    };
    TEST_FILE file;
    FILE_TABLE table(&file);
    EXPECT_EQ(table.add_string("a"), 0u);
    file.set_state(OF_STATE_LOCKED);
    EXPECT_EQ(table.add_string("b"), OF_STRING_TABLE::kNoOffset);
    EXPECT_EQ(table.size(), 2u);
    EXPECT_EQ(file.error_code(), OF_ERR_ILLEGAL_OP);
}

}  // namespace

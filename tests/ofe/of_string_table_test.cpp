#include "ofe/of_string_table.h"

#include <gtest/gtest.h>

#include <string>


using namespace OFE;

namespace {

// Lookups by offset and comparisons in place take whole strings only and
// never run past the table; find_string consults only the index, which the
// first add_string builds from the bytes read, so tails of longer strings
// are not in it.
TEST(StringTableTest, LookupAddAndFind) {
    OF_STRING_TABLE_MANAGER table;
    const std::string bytes("\0abc\0de\0unterminated", 20);
    table.raw_data().set_data(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    EXPECT_STREQ(table.get_string(3), "c");
    EXPECT_EQ(table.get_string(8), nullptr);   // runs off the end
    EXPECT_TRUE(table.string_is(1, "abc"));
    EXPECT_FALSE(table.string_is(1, "ab"));
    EXPECT_FALSE(table.string_is(1, "abcd"));
    EXPECT_FALSE(table.string_is(8, "unterminated"));
    EXPECT_FALSE(table.string_is(20, ""));

    table.raw_data().set_data(reinterpret_cast<const unsigned char*>(bytes.data()), 8);
    EXPECT_TRUE(table.string_is(5, "de"));   // ends with the table
    unsigned long offset = 99;
    EXPECT_EQ(table.find_string("abc", offset), 0);
    EXPECT_EQ(table.add_string("de"), 5u);
    EXPECT_EQ(table.find_string("abc", offset), 1);
    EXPECT_EQ(offset, 1u);
    EXPECT_EQ(table.add_string("bc"), 8u);
    EXPECT_EQ(table.add_string("bc"), 8u);
    EXPECT_STREQ(table.get_string(8), "bc");
    table.unload();
    EXPECT_EQ(table.find_string("bc", offset), 0);
    OF_STRING_TABLE_MANAGER empty;   // grows from offset 0
    EXPECT_EQ(empty.add_string("x"), 0u);
}


}  // namespace

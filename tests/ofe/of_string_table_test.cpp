#include "ofe/of_string_table.h"

#include <gtest/gtest.h>

#include <string>

#include "ofe/of_name.h"

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

// Name copies on either side of the length kept inside the record, a name
// set from itself, and a name taken away.
TEST(OfName, CopiesNamesOfEveryLengthAndNone) {
    OF_NAME name;
    for (size_t length : {31, 32, 200}) {
        std::string text(length, 'n');
        name.set(text.c_str());
        text.assign(length, 'x');   // the copy is the name's own
        name.set(name.get());
        EXPECT_EQ(std::string(name.get()), std::string(length, 'n')) << length;
        name.set(nullptr);
        EXPECT_EQ(name.get(), nullptr);
    }
}

}  // namespace

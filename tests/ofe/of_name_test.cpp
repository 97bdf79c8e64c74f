// Name copies on either side of the length kept inside the record, and a
// name set from itself.

#include "ofe/of_name.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(OfName, CopiesNamesOfEveryLength)
{
    for (size_t length : {0, 1, 30, 31, 32, 33, 200}) {
        std::string text(length, 'n');
        OFE::OF_NAME name;
        EXPECT_EQ(name.get(), nullptr);
        name.set(text.c_str());
        text.assign(length, 'x');   // the copy is the name's own
        EXPECT_EQ(std::string(name.get()), std::string(length, 'n')) << length;
        name.set(name.get());
        EXPECT_EQ(std::string(name.get()), std::string(length, 'n')) << length;
        name.set("short");
        EXPECT_STREQ(name.get(), "short");
        name.set(std::string(40, 'l').c_str());
        EXPECT_EQ(std::string(name.get()), std::string(40, 'l'));
        name.set(nullptr);
        EXPECT_EQ(name.get(), nullptr);
    }
}

}  // namespace

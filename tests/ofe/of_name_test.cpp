// Name copies on either side of the length kept inside the record, a name
// set from itself, and a name taken away.

#include "ofe/of_name.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(OfName, CopiesNamesOfEveryLengthAndNone)
{
    OFE::OF_NAME name;
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

#include "support/buildid.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

TEST(BuildidTest, LabelThenCodeThenNewline) {
    char* text = nullptr;
    size_t size = 0;
    FILE* out = open_memstream(&text, &size);
    buildid(out, "Build Number ");
    fclose(out);
    std::string line(text, size);
    free(text);
    EXPECT_TRUE(testing::internal::RE::FullMatch(
        line, testing::internal::RE("Build Number [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]{6}\\.[0-9]{4}\n")))
        << line;
}

}  // namespace

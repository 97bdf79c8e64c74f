#include "support/buildid.h"

#include <gtest/gtest.h>

#include <string>

#include "support/text_capture.h"

namespace {

TEST(BuildidTest, LabelThenCodeThenNewline) {
    const std::string line = written_by([](FILE* f) { buildid(f, "Build Number "); });
    EXPECT_TRUE(testing::internal::RE::FullMatch(
        line, testing::internal::RE("Build Number [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]{6}\\.[0-9]{4}\n")))
        << line;
}

}  // namespace

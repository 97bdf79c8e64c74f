#include "support/buildid.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(BuildidTest, LabelThenCodeThenNewline) {
    testing::internal::CaptureStdout();
    buildid(stdout, "Build Number ");
    const std::string line = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(testing::internal::RE::FullMatch(
        line, testing::internal::RE("Build Number [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]{6}\\.[0-9]{4}\n")))
        << line;
}

}  // namespace

#ifndef ARWREN_TESTS_SUPPORT_TEXT_CAPTURE_H
#define ARWREN_TESTS_SUPPORT_TEXT_CAPTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <string>

// Standard error written by action, with the lines that the message channel
// wrapped joined again, so that a message can be compared as one line.
inline std::string stderr_of(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return std::regex_replace(testing::internal::GetCapturedStderr(), std::regex("\n +"), " ");
}

#endif

#ifndef ARWREN_TESTS_SUPPORT_TEXT_CAPTURE_H
#define ARWREN_TESTS_SUPPORT_TEXT_CAPTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <string>

// Joins the lines that the message channel wrapped, so that a message can be
// compared as one line.
inline std::string unwrap(const std::string& text) {
    return std::regex_replace(text, std::regex("\n +"), " ");
}

// Standard error written by action, with wrapped messages joined.
inline std::string stderr_of(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return unwrap(testing::internal::GetCapturedStderr());
}

#endif

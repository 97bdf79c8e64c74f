#ifndef ARWREN_TESTS_SUPPORT_TEXT_CAPTURE_H
#define ARWREN_TESTS_SUPPORT_TEXT_CAPTURE_H

#include <gtest/gtest.h>

#include <cstdio>
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

// Everything write(stream) puts into a temporary stream.
inline std::string written_by(const std::function<void(FILE*)>& write) {
    FILE* f = std::tmpfile();
    if (!f)
        return "(no temporary file)";
    write(f);
    std::string text;
    std::rewind(f);
    for (int c; (c = std::fgetc(f)) != EOF;)
        text += static_cast<char>(c);
    std::fclose(f);
    return text;
}

#endif

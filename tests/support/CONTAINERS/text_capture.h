#ifndef ARWREN_TESTS_SUPPORT_CONTAINERS_TEXT_CAPTURE_H
#define ARWREN_TESTS_SUPPORT_CONTAINERS_TEXT_CAPTURE_H

#include <cstdio>
#include <regex>
#include <string>

// Joins message lines that the message channel wrapped, so that a message
// can be compared as one line.
inline std::string unwrap(const std::string& text) {
    return std::regex_replace(text, std::regex("\n +"), " ");
}

// Everything a dump wrote to a temporary file.
inline std::string read_all(FILE* f) {
    std::string text;
    std::rewind(f);
    for (int c; (c = std::fgetc(f)) != EOF;)
        text += static_cast<char>(c);
    return text;
}

// Runs dump(FILE*) of a container and returns its text.
template <typename CONTAINER>
std::string dump_text(const CONTAINER& container) {
    FILE* out = std::tmpfile();
    if (!out)
        return "(no temporary file)";
    container.dump(out);
    std::string text = read_all(out);
    std::fclose(out);
    return text;
}

#endif

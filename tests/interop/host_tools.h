#ifndef ARWREN_TESTS_INTEROP_HOST_TOOLS_H
#define ARWREN_TESTS_INTEROP_HOST_TOOLS_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "ar_image.h"
#include "common/process_run.h"
#include "common/scratch_dir.h"

// Where the ARM cross toolchain's C library archives live.
const std::string kNewlibDir = "/usr/lib/arm-none-eabi/newlib";

// Success when the program is on PATH (or the file exists); otherwise a
// failure naming the Debian package that provides it. The tests never skip
// for a missing tool.
inline ::testing::AssertionResult have_tool(const std::string& program, const std::string& package) {
    std::stringstream dirs(std::getenv("PATH") ? std::getenv("PATH") : "/usr/bin:/bin");
    for (std::string dir; std::getline(dirs, dir, ':');)
        if (access((dir + "/" + program).c_str(), X_OK) == 0)
            return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << program << " is not installed (Debian package "
                                         << package << ")";
}
inline ::testing::AssertionResult have_file(const std::string& path, const std::string& package) {
    if (std::filesystem::exists(path))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << path << " is missing (Debian package " << package << ")";
}

// Runs a program in cwd and succeeds when it exits 0; the failure shows the
// command and its output.
inline ::testing::AssertionResult run_ok(const std::vector<std::string>& argv,
                                         const std::string& cwd, RUN_RESULT* result = nullptr) {
    RUN_OPTIONS options;
    options.cwd = cwd;
    RUN_RESULT r = run_process(argv, options);
    if (result != nullptr)
        *result = r;
    if (r.status == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << describe(argv, r);
}

inline std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// Member names of an archive in archive order as GNU ar lists them; with a
// directory, GNU ar also extracts every member into it.
inline ::testing::AssertionResult gnu_ar_members(const std::string& archive,
                                                 std::vector<std::string>& names,
                                                 const std::string& extract_into = "") {
    RUN_RESULT listing;
    ::testing::AssertionResult ok = run_ok({"ar", "t", archive}, "", &listing);
    names = lines_of(listing.out);
    if (ok && !listing.err.empty())
        return ::testing::AssertionFailure() << describe({"ar", "t", archive}, listing);
    if (ok && !extract_into.empty())
        return run_ok({"ar", "x", archive}, extract_into);
    return ok;
}

// The index block of nm --print-armap as (symbol, member) pairs.
inline INDEX_PAIRS nm_armap(const std::string& out) {
    INDEX_PAIRS pairs;
    std::vector<std::string> lines = lines_of(out);
    auto line = std::find(lines.begin(), lines.end(), "Archive index:");
    if (line == lines.end())
        return pairs;
    for (++line; line < lines.end() && !line->empty(); ++line) {
        size_t in = line->rfind(" in ");
        pairs.emplace_back(line->substr(0, in), in == std::string::npos ? "" : line->substr(in + 4));
    }
    return pairs;
}

// Member names from arwren's table of contents: after the three heading
// lines, each name follows the size (2 + 8), three blanks, the 24
// characters of the date and four blanks.
inline std::vector<std::string> toc_member_names(const std::string& listing) {
    std::vector<std::string> names;
    std::vector<std::string> lines = lines_of(listing);
    for (size_t i = 3; i < lines.size(); ++i)
        names.push_back(lines[i].size() > 41 ? lines[i].substr(41) : "<bad line: " + lines[i] + ">");
    return names;
}

// Deterministic filler bytes of the given length, different per seed.
inline std::string pattern_bytes(size_t length, unsigned seed) {
    std::string bytes(length, '\0');
    unsigned state = seed * 2654435761u + 12345u;
    for (char& byte : bytes) {
        state = state * 1103515245u + 12345u;
        byte = static_cast<char>(state >> 16);
    }
    return bytes;
}

#endif

#ifndef ARWREN_TESTS_INTEROP_HOST_TOOLS_H
#define ARWREN_TESTS_INTEROP_HOST_TOOLS_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "common/process_run.h"
#include "common/scratch_dir.h"

// Where the ARM cross toolchain's C library archives live.
const std::string kNewlibDir = "/usr/lib/arm-none-eabi/newlib";

// Success when the programs are on PATH; otherwise a failure naming the
// Debian package that provides the first one missing. The tests never skip
// for a missing tool.
inline ::testing::AssertionResult have_tools(const std::vector<std::pair<std::string, std::string>>& tools) {
    for (const auto& [program, package] : tools)
        if (system(("command -v '" + program + "' >/dev/null").c_str()) != 0)
            return ::testing::AssertionFailure() << program << " is not installed (Debian package " << package << ")";
    return ::testing::AssertionSuccess();
}

// Runs a program in cwd and succeeds when it exits 0 with nothing on its
// standard error; the failure shows the command and its output.
inline ::testing::AssertionResult run_ok(const std::vector<std::string>& argv, const std::string& cwd,
                                         RUN_RESULT* result = nullptr) {
    RUN_RESULT r = run_process(argv, RUN_OPTIONS{cwd});
    if (result != nullptr)
        *result = r;
    return r.status == 0 && r.err.empty() ? ::testing::AssertionSuccess()
                                          : ::testing::AssertionFailure() << describe(argv, r);
}

inline std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The archive's index as GNU nm --print-armap reads it: "symbol in member"
// lines. (nm also complains of members that are no objects.)
inline std::vector<std::string> nm_armap(const std::string& archive) {
    const RUN_RESULT nm = run_process({"nm", "--print-armap", archive});
    std::vector<std::string> lines = lines_of(nm.out);
    auto first = std::find(lines.begin(), lines.end(), "Archive index:");
    if (nm.status != 0 || first == lines.end())
        return {"nm found no index: " + describe({"nm", "--print-armap", archive}, nm)};
    return std::vector<std::string>(first + 1, std::find(first, lines.end(), ""));
}

// Deterministic filler bytes of the given length, different per seed.
inline std::string pattern_bytes(size_t length, unsigned seed) {
    std::string bytes(length, '\0');
    unsigned state = seed * 2654435761u + 12345u;
    for (char& byte : bytes)
        byte = char((state = state * 1103515245u + 12345u) >> 16);
    return bytes;
}

#endif

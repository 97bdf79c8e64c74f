#include "host_tools.h"

#include <sstream>

#include "process_run.h"
#include "scratch_dir.h"

const char* const kNewlibDir = "/usr/lib/arm-none-eabi/newlib";

::testing::AssertionResult have_tool(const std::string& program, const std::string& package) {
    if (!find_program(program).empty())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << program << " is not installed (Debian package " << package << ")";
}

::testing::AssertionResult have_file(const std::string& path, const std::string& package) {
    if (file_exists(path))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << path << " is missing (Debian package " << package << ")";
}

::testing::AssertionResult run_ok(const std::vector<std::string>& argv, const std::string& cwd) {
    RUN_OPTIONS options;
    options.cwd = cwd;
    RUN_RESULT result = run_process(argv, options);
    if (result.status == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << describe(argv, result);
}

::testing::AssertionResult gnu_ar_list(const std::string& archive,
                                       std::vector<std::string>& names) {
    std::vector<std::string> argv{"ar", "t", archive};
    RUN_RESULT result = run_process(argv);
    if (result.status != 0 || !result.err.empty())
        return ::testing::AssertionFailure() << describe(argv, result);
    names.clear();
    std::istringstream lines(result.out);
    std::string line;
    while (std::getline(lines, line))
        names.push_back(line);
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult gnu_ar_extract(const std::string& archive, const std::string& dir,
                                          std::vector<std::string>& names) {
    ::testing::AssertionResult listed = gnu_ar_list(archive, names);
    if (!listed)
        return listed;
    return run_ok({"ar", "x", archive}, dir);
}

std::vector<std::string> toc_member_names(const std::string& listing) {
    // Two heading lines, then the size (2 + 8), three blanks, the 24
    // characters of the date, four blanks, and the name.
    const size_t name_column = 2 + 8 + 3 + 24 + 4;
    std::vector<std::string> names;
    std::istringstream lines(listing);
    std::string line;
    int headings = 3;  // the empty first line and the two heading lines
    while (std::getline(lines, line)) {
        if (headings > 0) {
            --headings;
            continue;
        }
        names.push_back(line.size() > name_column ? line.substr(name_column)
                                                  : "<bad line: " + line + ">");
    }
    return names;
}

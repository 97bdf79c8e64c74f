#ifndef ARWREN_TESTS_INTEROP_HOST_TOOLS_H
#define ARWREN_TESTS_INTEROP_HOST_TOOLS_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Where the ARM cross toolchain's C library archives live.
extern const char* const kNewlibDir;

// Success when the program is on PATH; otherwise a failure naming the
// Debian package that provides it. The tests never skip for a missing tool.
::testing::AssertionResult have_tool(const std::string& program, const std::string& package);
::testing::AssertionResult have_file(const std::string& path, const std::string& package);

// Member names of an archive in archive order, as GNU ar lists them.
::testing::AssertionResult gnu_ar_list(const std::string& archive, std::vector<std::string>& names);

// Extracts every member of an archive into dir with GNU ar and returns the
// member names in archive order.
::testing::AssertionResult gnu_ar_extract(const std::string& archive, const std::string& dir,
                                          std::vector<std::string>& names);

// Runs a program and succeeds when it exits 0; the failure shows its
// command line and output.
::testing::AssertionResult run_ok(const std::vector<std::string>& argv, const std::string& cwd);

// Member names from arwren's table of contents ("  %8ld   %s    %s").
std::vector<std::string> toc_member_names(const std::string& listing);

#endif

#ifndef ARWREN_TESTS_AR_E2E_RUN_H
#define ARWREN_TESTS_AR_E2E_RUN_H

// End-to-end cases: files written into a fresh directory, one run of the
// binary there, and its exact standard output, standard error, exit status
// and the exact bytes of the files afterwards.

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/archive_builder.h"
#include "common/process_run.h"
#include "common/scratch_dir.h"

const long kOld = 1000000000;   // Sun Sep  9 01:46:40 2001
const long kNew = 1100000000;

const std::string kShortUsage =
    "WREN Archiver                           v1.0.0 release\n"
    "(c) Copyright 2026 arwren developers    MIT License\n"
    "\n Syntax : arwren [arxdt][quvsh][012] archive files ...\n"
    "          arwren @command_file\n";

const std::string kGone = "\x01(no such file)";

struct E2E_FILE {
    std::string name;
    std::string bytes;   // kGone: the file must not exist afterwards
    long mtime = kOld;
};

struct E2E_CASE {
    std::string what;
    std::vector<E2E_FILE> files;   // written before the run
    std::vector<std::string> args;
    std::string out, err;
    int status;
    // What the named files hold afterwards; every other file is left as it
    // was, and no other file appears.
    std::vector<E2E_FILE> after;
};

// The listing heading followed by the given lines.
inline std::string toc_text(const std::string& lines) {
    return "\n      SIZE   DATE                        FILE NAME"
           "\n  --------   ------------------------    -----------------\n" + lines;
}

inline void expect_run(const SCRATCH_DIR& dir, const std::vector<std::string>& args, const std::string& out,
                       const std::string& err, int status) {
    const RUN_RESULT result = run_arwren(args, dir.dir());
    const std::string what = describe(arwren_argv(args), result);
    EXPECT_EQ(result.out, out) << what;
    EXPECT_EQ(result.err, err) << what;
    EXPECT_EQ(result.status, status) << what;
}

inline void run_case(const E2E_CASE& c) {
    SCOPED_TRACE(c.what);
    SCRATCH_DIR dir;
    std::map<std::string, std::string> expected;   // file -> bytes
    for (const E2E_FILE& f : c.files) {
        dir.write(f.name, f.bytes, f.mtime);
        expected[f.name] = f.bytes;
    }
    expect_run(dir, c.args, c.out, c.err, c.status);
    for (const E2E_FILE& f : c.after)
        expected[f.name] = f.bytes;
    std::set<std::string> names;
    for (const auto& f : expected) {
        if (f.second == kGone)
            continue;
        names.insert(f.first.substr(0, f.first.find('/')));
        EXPECT_TRUE(dir.read(f.first) == f.second) << f.first << " differs";
    }
    const std::vector<std::string> found = dir.names();
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()), names);
}

#endif

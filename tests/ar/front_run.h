#ifndef ARWREN_TESTS_AR_FRONT_RUN_H
#define ARWREN_TESTS_AR_FRONT_RUN_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/archive_builder.h"
#include "common/process_run.h"
#include "common/scratch_dir.h"

const std::string kShortUsage =
    "WREN Archiver                           v1.0.0 release\n"
    "(c) Copyright 2026 arwren developers    MIT License\n"
    "\n Syntax : arwren [arxdt][quvsh][012] archive files ...\n"
    "          arwren @command_file\n";

// The listing heading followed by the given lines.
inline std::string toc_text(const std::string& lines) {
    return "\n      SIZE   DATE                        FILE NAME"
           "\n  --------   ------------------------    -----------------\n" +
           lines;
}

// Runs the archiver in dir and checks standard output, standard error and
// exit status exactly.
inline void expect_run(const SCRATCH_DIR& dir, const std::vector<std::string>& args,
                       const std::string& out, const std::string& err, int status) {
    RUN_RESULT result = run_arwren(args, dir.dir());
    const std::string what = describe(arwren_argv(args), result);
    EXPECT_EQ(result.out, out) << what;
    EXPECT_EQ(result.err, err) << what;
    EXPECT_EQ(result.status, status) << what;
}

#endif

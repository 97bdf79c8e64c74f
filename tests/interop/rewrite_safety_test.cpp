// Nothing is ever lost: whatever stops a rewrite (a signal at any moment,
// the file size limit), the archive's name holds either the complete old
// archive or the complete new one, and no temporary file is left behind. (A
// file that cannot be opened or written is tried call by call in
// io_fault_test.)
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "host_tools.h"

namespace {

using CLOCK = std::chrono::steady_clock;

// Starts the command, waits until the program catches the signal, lets it
// run for the delay and sends the signal. A run that has not ended 30 s
// after it hangs in the handler.
RUN_RESULT interrupt(const std::vector<std::string>& argv, const std::string& cwd, int sig, CLOCK::duration delay) {
    CHILD_PROCESS child(argv, RUN_OPTIONS{cwd, 30000});
    for (const CLOCK::time_point give_up = CLOCK::now() + std::chrono::seconds(10);
         !child.ready_for(sig) && CLOCK::now() < give_up;)
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    std::this_thread::sleep_for(delay);
    kill(child.pid(), sig);
    return child.finish();
}

// An archive arc/big.a of 300 members of about 64 KiB (some odd sizes), the
// member files in src/ changed after it was made, and the archive that
// replacing them all must produce. A signal comes from at once to a little
// past the time a whole run takes; with no old archive an interrupted run
// removes what it had written. Last, the file size limit stops a run half
// way through the new archive.
TEST(REWRITE_SAFETY, SignalAtAnyMomentLeavesOldOrNewArchive) {
    SCRATCH_DIR scratch;
    const std::string src = scratch.subdir("src");
    std::vector<std::string> command = arwren_argv({"rq", scratch.subdir("arc") + "/big.a"});
    for (int i = 0; i < 300; ++i) {
        command.push_back("m" + std::to_string(1000 + i) + ".bin");
        scratch.write("src/" + command.back(), pattern_bytes(64 * 1024 + i % 3, i), 1400000000);
    }
    ASSERT_EQ(run_process(command, RUN_OPTIONS{src}).status, 0);
    const std::string old = scratch.read("arc/big.a");
    for (int i = 0; i < 300; ++i)
        scratch.write("src/" + command[3 + i], pattern_bytes(64 * 1024 + (i + 1) % 3, i + 7), 1600000000);
    const CLOCK::time_point start = CLOCK::now();
    ASSERT_EQ(run_process(command, RUN_OPTIONS{src}).status, 0);
    const CLOCK::duration full_run = CLOCK::now() - start;
    const std::string rewritten = scratch.read("arc/big.a");
    ASSERT_NE(old, rewritten);
    // The archive holds one of the given images ("" for none) and nothing
    // else is left.
    const auto expect_archive_is = [&](const std::vector<std::string>& images) {
        const std::string now = scratch.read("arc/big.a");
        EXPECT_TRUE(std::find(images.begin(), images.end(), now) != images.end())
            << "left " << now.size() << " bytes (old " << old.size() << ", new " << rewritten.size() << ")";
        EXPECT_EQ(scratch.names("arc"), now.empty() ? std::vector<std::string>{} : std::vector<std::string>{"big.a"});
    };
    const struct { int sig, status; const char* message; bool creating; } cases[] = {
        {SIGINT, 2, "[forced exit]\n", false},
        {SIGHUP, 2, "[forced exit]\n", false},
        {SIGTERM, 1, "[received a terminate signal]\n", false},
        {SIGINT, 2, "[forced exit]\n", true},
    };
    for (const auto& c : cases) {
        int interrupted = 0;
        command[1] = c.creating ? "aq" : "rq";
        for (int moment = 0; moment < 12; ++moment) {
            const CLOCK::duration delay = full_run * moment * 12 / (10 * 11);
            SCOPED_TRACE("signal " + std::to_string(c.sig) + " after " +
                         std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(delay).count()) + " us");
            if (c.creating)
                std::filesystem::remove(command[2]);
            else
                scratch.write("arc/big.a", old);
            const RUN_RESULT r = interrupt(command, src, c.sig, delay);
            EXPECT_FALSE(r.timed_out) << "hung after the signal";
            interrupted += r.status != 0;
            if (r.status != 0) {
                EXPECT_EQ(r.status, c.status) << r.err;
                EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
            }
            expect_archive_is({r.status == 0 ? rewritten : c.creating ? "" : old, rewritten});
        }
        EXPECT_GT(interrupted, 0) << "no run was interrupted by signal " << c.sig;
    }
    scratch.write("arc/big.a", old);
    command[1] = "rq";
    command.insert(command.begin(), {"prlimit", "--fsize=" + std::to_string(rewritten.size() / 2)});
    const RUN_RESULT r = run_process(command, RUN_OPTIONS{src});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "\nINTERNAL ERROR: exceeded the file size limit\n\n\n"
                     "This is a serious problem.  Please contact Customer\n"
                     "Support with this message and a copy of the input file\n"
                     "and help us to continue to make the tools more robust.\n\n");
    expect_archive_is({old});
}

}  // namespace

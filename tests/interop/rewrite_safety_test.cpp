// Nothing is ever lost: whatever stops a rewrite (a signal at any moment,
// the file size limit, permissions), the archive's name holds either the
// complete old archive or the complete new one, and no temporary file is
// left behind. (A failing disk is tried call by call in io_fault_test.)
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "host_tools.h"

namespace {

using CLOCK = std::chrono::steady_clock;

const int kMembers = 300;
const size_t kMemberSize = 64 * 1024;
const int kMoments = 12;

// An archive arc/big.a of kMembers members of about 64 KiB (some odd sizes),
// the member files in src/ changed after it was made, and the archive that
// replacing them all must produce.
class REWRITE_SAFETY : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < kMembers; ++i) {
            command_.push_back("m" + std::to_string(1000 + i) + ".bin");
            scratch_.write("src/" + command_.back(), pattern_bytes(kMemberSize + i % 3, i), 1400000000);
        }
        scratch_.subdir("arc");
        ASSERT_EQ(run_arwren(command_, src_).status, 0);
        old_ = scratch_.read("arc/big.a");
        for (int i = 0; i < kMembers; ++i)
            scratch_.write("src/" + command_[2 + i], pattern_bytes(kMemberSize + (i + 1) % 3, i + 7), 1600000000);
        const CLOCK::time_point start = CLOCK::now();
        ASSERT_EQ(run_arwren(command_, src_).status, 0);
        full_run_ = CLOCK::now() - start;
        new_ = scratch_.read("arc/big.a");
        ASSERT_NE(old_, new_);
    }

    // Starts the command, waits until the program catches the signal, lets
    // it run for the delay and sends the signal. A run that has not ended
    // 30 s after it hangs in the handler.
    RUN_RESULT interrupt(int sig, CLOCK::duration delay) {
        RUN_OPTIONS options{src_};
        options.timeout_ms = 30000;
        CHILD_PROCESS child(arwren_argv(command_), options);
        const CLOCK::time_point give_up = CLOCK::now() + std::chrono::seconds(10);
        while (!child.ready_for(sig) && CLOCK::now() < give_up)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        std::this_thread::sleep_for(delay);
        kill(child.pid(), sig);
        return child.finish();
    }

    // The archive holds one of the given images ("" for none) and nothing
    // else is left.
    void expect_archive_is(const std::vector<std::string>& images) {
        const std::string now = scratch_.read("arc/big.a");
        std::string left;
        for (const std::string& name : scratch_.names("arc"))
            left += " " + name;
        EXPECT_TRUE(std::find(images.begin(), images.end(), now) != images.end())
            << "left " << now.size() << " bytes (old " << old_.size() << ", new " << new_.size() << ")";
        EXPECT_EQ(left, now.empty() ? "" : " big.a");
    }

    SCRATCH_DIR scratch_;
    const std::string src_ = scratch_.path("src");
    std::vector<std::string> command_{"rq", scratch_.path("arc/big.a")};
    std::string old_, new_;
    CLOCK::duration full_run_{};
};

// From at once to a little past the time a whole run takes; with no old
// archive an interrupted run removes what it had written. Last, the file
// size limit stops a run half way through the new archive.
TEST_F(REWRITE_SAFETY, SignalAtAnyMomentLeavesOldOrNewArchive) {
    const struct {
        int sig, status;
        const char* message;
        bool creating;
    } cases[] = {
        {SIGINT, 2, "[forced exit]\n", false},
        {SIGHUP, 2, "[forced exit]\n", false},
        {SIGTERM, 1, "[received a terminate signal]\n", false},
        {SIGINT, 2, "[forced exit]\n", true},
    };
    for (const auto& c : cases) {
        int interrupted = 0;
        command_[0] = c.creating ? "aq" : "rq";
        for (int moment = 0; moment < kMoments; ++moment) {
            const CLOCK::duration delay = full_run_ * moment * 12 / (10 * (kMoments - 1));
            SCOPED_TRACE("signal " + std::to_string(c.sig) + " after " +
                         std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(delay).count()) + " us");
            if (c.creating)
                std::filesystem::remove(command_[1]);
            else
                scratch_.write("arc/big.a", old_);
            const RUN_RESULT r = interrupt(c.sig, delay);
            EXPECT_FALSE(r.timed_out) << "hung after the signal";
            interrupted += r.status != 0;
            if (r.status != 0) {
                EXPECT_EQ(r.status, c.status) << r.err;
                EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
            }
            expect_archive_is({r.status == 0 ? new_ : c.creating ? "" : old_, new_});
        }
        EXPECT_GT(interrupted, 0) << "no run was interrupted by signal " << c.sig;
    }
    scratch_.write("arc/big.a", old_);
    command_[0] = "rq";
    RUN_OPTIONS options{src_, static_cast<long long>(new_.size() / 2)};
    const RUN_RESULT r = run_process(arwren_argv(command_), options);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "\nINTERNAL ERROR: exceeded the file size limit\n\n\n"
                     "This is a serious problem.  Please contact Customer\n"
                     "Support with this message and a copy of the input file\n"
                     "and help us to continue to make the tools more robust.\n\n");
    expect_archive_is({old_});
}

// Faults that permissions make: the runs go through setpriv as nobody when
// the suite runs as root, who ignores permissions. Each stops the run with
// its message; the archive stays as it was and nothing is left beside it.
TEST(PermissionFaults, UnreadableFilesAndReadOnlyDirectoryKeepTheArchive) {
    SCRATCH_DIR scratch;
    scratch.write("src/a.txt", "aaa", 1400000000);
    scratch.write("src/b.txt", "bbbb", 1400000000);
    scratch.subdir("arc");
    ASSERT_EQ(run_arwren({"rq", "../arc/lib.a", "a.txt", "b.txt"}, scratch.path("src")).status, 0);
    const std::string old = scratch.read("arc/lib.a");
    scratch.write("src/a.txt", "AAAAA", 1600000000);
    std::vector<std::string> argv;
    if (geteuid() == 0) {
        ASSERT_TRUE(have_tools({{"setpriv", "util-linux"}}));
        argv = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch.dir()))
            ASSERT_EQ(chown(entry.path().c_str(), 65534, 65534), 0);
        ASSERT_EQ(chown(scratch.dir().c_str(), 65534, 65534), 0);
    }
    const struct {
        const char* path;   // what the fault is made on, and its mode
        mode_t mode;
        std::vector<std::string> args;
        std::string err;
    } cases[] = {
        {"src/a.txt", 0, {"rq", "../arc/lib.a", "a.txt"}, "  -->  error: Cannot open file: 'a.txt'\n"},
        {"arc/lib.a", 0200, {"aq", "../arc/lib.a", "a.txt"}, "  -->  error: cannot open archive: '../arc/lib.a'\n"},
        {"arc", 0555, {"dq", "../arc/lib.a", "b.txt"}, "  -->  error: Cannot create new archive\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path + (" " + c.args[0]));
        const std::string path = scratch.path(c.path);
        struct stat before {};
        ASSERT_EQ(stat(path.c_str(), &before), 0);
        ASSERT_EQ(chmod(path.c_str(), c.mode), 0);
        std::vector<std::string> command = argv;
        for (const std::string& a : arwren_argv(c.args))
            command.push_back(a);
        const RUN_RESULT r = run_process(command, RUN_OPTIONS{scratch.path("src")});
        chmod(path.c_str(), before.st_mode & 07777);
        EXPECT_EQ(r.out + r.err, c.err);
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(scratch.read("arc/lib.a"), old);
        EXPECT_EQ(scratch.names("arc"), std::vector<std::string>{"lib.a"});
    }
}

}  // namespace

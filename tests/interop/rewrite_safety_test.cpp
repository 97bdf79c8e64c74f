// Nothing is ever lost: whatever stops a rewrite (a signal at any moment,
// the file size limit, a failing rename, an unreadable file), the archive's
// name holds either the complete old archive or the complete new one, and
// no temporary file is left behind.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "host_tools.h"
#include "process_run.h"
#include "scratch_dir.h"

namespace {

using CLOCK = std::chrono::steady_clock;

const int kMembers = 300;
const size_t kMemberSize = 64 * 1024;
const int kMoments = 12;
// A run that has not ended this long after its signal hangs in the handler.
const int kHangMs = 30000;

// An archive of kMembers members of about 64 KiB (some odd sizes) in a
// directory of its own, the member files changed after it was made, and the
// archive that replacing them all must produce.
class REWRITE_SAFETY : public ::testing::Test {
protected:
    void SetUp() override {
        src_ = scratch_.subdir("src");
        dir_ = scratch_.subdir("arc");
        archive_ = dir_ + "/big.a";
        command_ = {ARWREN_BIN, "rq", archive_};
        for (int i = 0; i < kMembers; ++i) {
            std::string name = "m" + std::to_string(1000 + i) + ".bin";
            write_bytes(src_ + "/" + name, pattern_bytes(kMemberSize + i % 3, i));
            set_mtime(src_ + "/" + name, 1400000000);
            command_.push_back(name);
        }
        ASSERT_EQ(run(command_).status, 0);
        old_ = read_bytes(archive_);
        for (int i = 0; i < kMembers; ++i) {
            std::string name = command_[3 + i];
            write_bytes(src_ + "/" + name, pattern_bytes(kMemberSize + (i + 1) % 3, i + 7));
            set_mtime(src_ + "/" + name, 1600000000);
        }
        CLOCK::time_point start = CLOCK::now();
        ASSERT_EQ(run(command_).status, 0);
        full_run_ = CLOCK::now() - start;
        new_ = read_bytes(archive_);
        restore_old();
        ASSERT_NE(old_, new_);
    }

    RUN_RESULT run(const std::vector<std::string>& argv, long long fsize_limit = -1) {
        RUN_OPTIONS options;
        options.cwd = src_;
        options.fsize_limit = fsize_limit;
        return run_process(argv, options);
    }

    void restore_old() {
        if (read_bytes(archive_) != old_)
            write_bytes(archive_, old_);
    }

    // Starts the rewrite, waits until the program has installed its signal
    // handlers, lets it run for the delay and sends the signal.
    RUN_RESULT interrupt(int sig, CLOCK::duration delay) {
        RUN_OPTIONS options;
        options.cwd = src_;
        options.timeout_ms = kHangMs;
        CHILD_PROCESS child(command_, options);
        CLOCK::time_point give_up = CLOCK::now() + std::chrono::seconds(10);
        while (!child.ready_for(sig) && CLOCK::now() < give_up)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        std::this_thread::sleep_for(delay);
        kill(child.pid(), sig);
        return child.finish();
    }

    void expect_only_the_archive() { EXPECT_EQ(list_dir(dir_), std::vector<std::string>{"big.a"}); }

    SCRATCH_DIR scratch_;
    std::string src_, dir_, archive_;
    std::vector<std::string> command_;
    std::string old_, new_;
    CLOCK::duration full_run_{};
};

struct SIGNAL_CASE {
    int sig;
    int status;
    const char* message;
};

TEST_F(REWRITE_SAFETY, SignalAtAnyMomentLeavesOldOrNewArchive) {
    const SIGNAL_CASE cases[] = {
        {SIGINT, 2, "[forced exit]\n"},
        {SIGHUP, 2, "[forced exit]\n"},
        {SIGTERM, 1, "[received a terminate signal]\n"},
    };
    for (const SIGNAL_CASE& c : cases) {
        int interrupted = 0;
        for (int moment = 0; moment < kMoments; ++moment) {
            // From at once to a little past the time a whole run takes.
            CLOCK::duration delay = full_run_ * moment * 12 / (10 * (kMoments - 1));
            SCOPED_TRACE("signal " + std::to_string(c.sig) + " after " +
                         std::to_string(
                             std::chrono::duration_cast<std::chrono::microseconds>(delay).count()) +
                         " us");
            restore_old();
            RUN_RESULT r = interrupt(c.sig, delay);
            EXPECT_FALSE(r.timed_out) << "hung after the signal";
            std::string now = read_bytes(archive_);
            if (r.status == 0) {
                EXPECT_TRUE(now == new_) << "finished run left " << now.size() << " bytes";
            } else {
                ++interrupted;
                EXPECT_EQ(r.status, c.status) << r.err;
                EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
                EXPECT_TRUE(now == old_ || now == new_)
                    << "interrupted run left " << now.size() << " bytes (old " << old_.size()
                    << ", new " << new_.size() << ")";
            }
            expect_only_the_archive();
        }
        EXPECT_GT(interrupted, 0) << "no run was interrupted by signal " << c.sig;
    }
}

TEST_F(REWRITE_SAFETY, InterruptedCreationLeavesNothingOrTheWholeArchive) {
    // No old archive: an interrupted run must remove what it had written.
    command_[1] = "aq";
    remove_tree(archive_);
    CLOCK::time_point start = CLOCK::now();
    ASSERT_EQ(run(command_).status, 0);
    CLOCK::duration full_run = CLOCK::now() - start;
    const std::string created = read_bytes(archive_);
    int interrupted = 0;
    for (int moment = 0; moment < kMoments / 2; ++moment) {
        CLOCK::duration delay = full_run * moment / (kMoments / 2);
        SCOPED_TRACE(
            "after " +
            std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(delay).count()) +
            " us");
        remove_tree(archive_);
        RUN_RESULT r = interrupt(SIGINT, delay);
        EXPECT_FALSE(r.timed_out) << "hung after the signal";
        std::vector<std::string> left = list_dir(dir_);
        if (r.status == 0) {
            EXPECT_TRUE(read_bytes(archive_) == created);
        } else {
            ++interrupted;
            EXPECT_EQ(r.status, 2) << r.err;
            EXPECT_TRUE(left.empty() || read_bytes(archive_) == created);
        }
        EXPECT_LE(left.size(), 1u);
    }
    EXPECT_GT(interrupted, 0);
}

TEST_F(REWRITE_SAFETY, FileSizeLimitKeepsOldArchive) {
    RUN_RESULT r = run(command_, static_cast<long long>(new_.size() / 2));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("\nINTERNAL ERROR: exceeded the file size limit\n"), std::string::npos)
        << r.err;
    EXPECT_TRUE(read_bytes(archive_) == old_);
    expect_only_the_archive();
}

TEST_F(REWRITE_SAFETY, UnreadableMemberFileKeepsOldArchive) {
    // A directory passes for an existing file, and opening it for reading
    // succeeds on Linux, but reading it fails.
    ASSERT_TRUE(scratch_.subdir("src/m1005.bin.dir").size() > 0);
    std::vector<std::string> argv{ARWREN_BIN, "rq", archive_, "m1000.bin", "m1005.bin.dir"};
    RUN_RESULT r = run(argv);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "  -->  error: Error writing archive\n");
    EXPECT_TRUE(read_bytes(archive_) == old_);
    expect_only_the_archive();
}

// Clears the immutable attribute again however the test ends.
struct IMMUTABLE_DIR {
    explicit IMMUTABLE_DIR(const std::string& dir) : dir_(dir) {
        set = run_process({"chattr", "+i", dir_}).status == 0;
    }
    ~IMMUTABLE_DIR() {
        if (set)
            run_process({"chattr", "-i", dir_});
    }
    std::string dir_;
    bool set = false;
};

TEST_F(REWRITE_SAFETY, FailedRenameLeavesArchiveUntouched) {
    ASSERT_TRUE(have_tool("chattr", "e2fsprogs"));
    // Permissions do not stop root from renaming; an immutable directory
    // stops everyone.
    IMMUTABLE_DIR immutable(dir_);
    if (!immutable.set)
        GTEST_SKIP() << "this file system or user cannot make a directory immutable";
    RUN_RESULT r = run(command_);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "  -->  error: Cannot create new archive\n");
    EXPECT_TRUE(read_bytes(archive_) == old_);
    expect_only_the_archive();
}

}  // namespace

// Nothing is ever lost: whatever stops a rewrite (a signal at any moment,
// the file size limit, a failing rename, an unreadable file), the archive's
// name holds either the complete old archive or the complete new one, and
// no temporary file is left behind.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
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
// A run that has not ended this long after its signal hangs in the handler.
const int kHangMs = 30000;

// An archive arc/big.a of kMembers members of about 64 KiB (some odd sizes),
// the member files in src/ changed after it was made, and the archive that
// replacing them all must produce.
class REWRITE_SAFETY : public ::testing::Test {
protected:
    void SetUp() override {
        command_ = {"rq", archive_};
        for (int i = 0; i < kMembers; ++i) {
            command_.push_back("m" + std::to_string(1000 + i) + ".bin");
            scratch_.write("src/" + command_.back(), pattern_bytes(kMemberSize + i % 3, i), 1400000000);
        }
        scratch_.subdir("arc");
        ASSERT_EQ(run(command_).status, 0);
        old_ = scratch_.read("arc/big.a");
        for (int i = 0; i < kMembers; ++i)
            scratch_.write("src/" + command_[2 + i], pattern_bytes(kMemberSize + (i + 1) % 3, i + 7),
                           1600000000);
        CLOCK::time_point start = CLOCK::now();
        ASSERT_EQ(run(command_).status, 0);
        full_run_ = CLOCK::now() - start;
        new_ = scratch_.read("arc/big.a");
        ASSERT_NE(old_, new_);
        scratch_.write("arc/big.a", old_);
    }

    RUN_RESULT run(const std::vector<std::string>& args, long long fsize_limit = -1) {
        return run_arwren(args, src_, fsize_limit);
    }

    // Starts the command, waits until the program catches the signal, lets
    // it run for the delay and sends the signal.
    RUN_RESULT interrupt(int sig, CLOCK::duration delay) {
        RUN_OPTIONS options;
        options.cwd = src_;
        options.timeout_ms = kHangMs;
        CHILD_PROCESS child(arwren_argv(command_), options);
        CLOCK::time_point give_up = CLOCK::now() + std::chrono::seconds(10);
        while (!child.ready_for(sig) && CLOCK::now() < give_up)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        std::this_thread::sleep_for(delay);
        kill(child.pid(), sig);
        return child.finish();
    }

    // The archive holds one of the given images and nothing else is left.
    void expect_archive_is(const std::vector<std::string>& images) {
        const std::string now = scratch_.read("arc/big.a");
        EXPECT_TRUE(std::find(images.begin(), images.end(), now) != images.end())
            << "left " << now.size() << " bytes (old " << old_.size() << ", new " << new_.size() << ")";
        EXPECT_EQ(scratch_.names("arc"), std::vector<std::string>{"big.a"});
    }

    SCRATCH_DIR scratch_;
    const std::string src_ = scratch_.path("src"), archive_ = scratch_.path("arc/big.a");
    std::vector<std::string> command_;
    std::string old_, new_;
    CLOCK::duration full_run_{};
};

TEST_F(REWRITE_SAFETY, SignalAtAnyMomentLeavesOldOrNewArchive) {
    const struct {
        int sig;
        int status;
        const char* message;
    } cases[] = {
        {SIGINT, 2, "[forced exit]\n"},
        {SIGHUP, 2, "[forced exit]\n"},
        {SIGTERM, 1, "[received a terminate signal]\n"},
    };
    for (const auto& c : cases) {
        int interrupted = 0;
        for (int moment = 0; moment < kMoments; ++moment) {
            // From at once to a little past the time a whole run takes.
            CLOCK::duration delay = full_run_ * moment * 12 / (10 * (kMoments - 1));
            SCOPED_TRACE("signal " + std::to_string(c.sig) + " after " +
                         std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(delay).count()) +
                         " us");
            scratch_.write("arc/big.a", old_);
            RUN_RESULT r = interrupt(c.sig, delay);
            EXPECT_FALSE(r.timed_out) << "hung after the signal";
            if (r.status == 0) {
                expect_archive_is({new_});
            } else {
                ++interrupted;
                EXPECT_EQ(r.status, c.status) << r.err;
                EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
                expect_archive_is({old_, new_});
            }
        }
        EXPECT_GT(interrupted, 0) << "no run was interrupted by signal " << c.sig;
    }
}

// With no old archive an interrupted run removes what it had written.
TEST_F(REWRITE_SAFETY, InterruptedCreationLeavesNothingOrTheWholeArchive) {
    command_[0] = "aq";
    std::filesystem::remove(archive_);
    CLOCK::time_point start = CLOCK::now();
    ASSERT_EQ(run(command_).status, 0);
    CLOCK::duration full_run = CLOCK::now() - start;
    const std::string created = scratch_.read("arc/big.a");
    int interrupted = 0;
    for (int moment = 0; moment < kMoments / 2; ++moment) {
        std::filesystem::remove(archive_);
        RUN_RESULT r = interrupt(SIGINT, full_run * moment / (kMoments / 2));
        SCOPED_TRACE("moment " + std::to_string(moment) + ", status " + std::to_string(r.status));
        EXPECT_FALSE(r.timed_out) << "hung after the signal";
        interrupted += r.status != 0;
        EXPECT_TRUE(r.status == 0 || r.status == 2) << r.err;
        std::vector<std::string> left = scratch_.names("arc");
        EXPECT_TRUE(left.empty() || (left.size() == 1 && scratch_.read("arc/big.a") == created));
        EXPECT_TRUE(r.status != 0 || !left.empty());
    }
    EXPECT_GT(interrupted, 0);
}

TEST_F(REWRITE_SAFETY, FileSizeLimitKeepsOldArchive) {
    RUN_RESULT r = run(command_, static_cast<long long>(new_.size() / 2));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("\nINTERNAL ERROR: exceeded the file size limit\n"), std::string::npos)
        << r.err;
    expect_archive_is({old_});
}

TEST_F(REWRITE_SAFETY, UnreadableMemberFileKeepsOldArchive) {
    // A directory passes for an existing file, and opening it for reading
    // succeeds on Linux, but reading it fails.
    scratch_.subdir("src/m1005.bin.dir");
    RUN_RESULT r = run({"rq", archive_, "m1000.bin", "m1005.bin.dir"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "  -->  error: Cannot read file: 'm1005.bin.dir'\n");
    expect_archive_is({old_});
}

TEST_F(REWRITE_SAFETY, FailedRenameLeavesArchiveUntouched) {
    ASSERT_TRUE(have_tool("chattr", "e2fsprogs"));
    // Permissions do not stop root from renaming; an immutable directory
    // stops everyone. The attribute is cleared again however the test ends.
    struct IMMUTABLE {
        std::string dir;
        bool set = run_process({"chattr", "+i", dir}).status == 0;
        ~IMMUTABLE() {
            if (set)
                run_process({"chattr", "-i", dir});
        }
    } immutable{scratch_.path("arc")};
    if (!immutable.set)
        GTEST_SKIP() << "this file system or user cannot make a directory immutable";
    RUN_RESULT r = run(command_);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "  -->  error: Cannot create new archive\n");
    expect_archive_is({old_});
}

// Faults that permissions make: the runs go through setpriv as nobody when
// the suite runs as root, who ignores permissions, and as they are
// otherwise. The archive arc/lib.a holds a.txt and b.txt from src/.
class PERMISSION_FAULTS : public ::testing::Test {
protected:
    static constexpr uid_t kNobody = 65534;

    void SetUp() override {
        scratch_.write("src/a.txt", "aaa", 1400000000);
        scratch_.write("src/b.txt", "bbbb", 1400000000);
        scratch_.subdir("arc");
        ASSERT_EQ(run_arwren({"rq", "../arc/lib.a", "a.txt", "b.txt"}, scratch_.path("src")).status, 0);
        old_ = scratch_.read("arc/lib.a");
        scratch_.write("src/a.txt", "AAAAA", 1600000000);
        if (geteuid() != 0)
            return;
        ASSERT_TRUE(have_tool("setpriv", "util-linux"));
        // Nobody gets the scratch directory for its own.
        ASSERT_EQ(chown(scratch_.dir().c_str(), kNobody, kNobody), 0);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch_.dir()))
            ASSERT_EQ(chown(entry.path().c_str(), kNobody, kNobody), 0);
    }

    RUN_RESULT run(const std::vector<std::string>& args, const std::string& dir) {
        std::vector<std::string> argv = arwren_argv(args);
        if (geteuid() == 0)
            argv.insert(argv.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
        RUN_OPTIONS options;
        options.cwd = scratch_.path(dir);
        return run_process(argv, options);
    }

    SCRATCH_DIR scratch_;
    std::string old_;
};

// Each fault stops the run with its message before anything is lost: the
// archive stays byte for byte as it was and nothing else is left beside it.
TEST_F(PERMISSION_FAULTS, UnreadableFilesAndReadOnlyDirectoryKeepTheArchive) {
    const std::string no_archive = "  -->  error: cannot open archive: '../arc/lib.a'\n";
    const struct {
        const char* what;
        const char* path;   // what the fault is made on, and its mode
        mode_t mode;
        std::vector<std::string> args;
        std::string err;
    } cases[] = {
        {"unreadable member file", "src/a.txt", 0, {"rq", "../arc/lib.a", "a.txt"},
         "  -->  error: Cannot open file: 'a.txt'\n"},
        {"unreadable new file", "src/a.txt", 0, {"aq", "../arc/lib.a", "a.txt"},
         "  -->  error: Cannot open file: 'a.txt'\n"},
        {"write-only archive, r", "arc/lib.a", 0200, {"rq", "../arc/lib.a", "a.txt"}, no_archive},
        {"write-only archive, a", "arc/lib.a", 0200, {"aq", "../arc/lib.a", "a.txt"}, no_archive},
        {"write-only archive, d", "arc/lib.a", 0200, {"dq", "../arc/lib.a", "a.txt"}, no_archive},
        {"write-only archive, t", "arc/lib.a", 0200, {"t", "../arc/lib.a"}, no_archive},
        {"read-only directory, r", "arc", 0555, {"rq", "../arc/lib.a", "a.txt"},
         "  -->  error: Cannot create new archive\n"},
        {"read-only directory, d", "arc", 0555, {"dq", "../arc/lib.a", "b.txt"},
         "  -->  error: Cannot create new archive\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string target = scratch_.path(c.path);
        struct stat before {};
        ASSERT_EQ(stat(target.c_str(), &before), 0);
        ASSERT_EQ(chmod(target.c_str(), c.mode), 0);
        RUN_RESULT r = run(c.args, "src");
        chmod(target.c_str(), before.st_mode & 07777);
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, c.err);
        EXPECT_EQ(scratch_.read("arc/lib.a"), old_);
        EXPECT_EQ(scratch_.names("arc"), std::vector<std::string>{"lib.a"});
    }
}

// A disk that fills up during the rewrite: a 64 KiB memory file system where
// the machine lets the suite mount one, else the same run under a file size
// limit of that much.
TEST(FullDisk, RewriteThatDoesNotFitKeepsTheArchive) {
    SCRATCH_DIR scratch;
    const std::string disk = scratch.subdir("disk");
    const size_t kDisk = 64 * 1024;
    struct MOUNTED {
        std::string dir;
        bool done = mount("arwren-test", dir.c_str(), "tmpfs", 0, "size=64k") == 0;
        ~MOUNTED() {
            if (done)
                umount(dir.c_str());
        }
    } mounted{disk};
    scratch.write("disk/a.bin", pattern_bytes(10000, 1), 1400000000);
    ASSERT_EQ(run_arwren({"rq", "lib.a", "a.bin"}, disk).status, 0);
    const std::string old = scratch.read("disk/lib.a");
    std::filesystem::remove(scratch.path("disk/a.bin"));
    // The new archive outgrows what is left once the old one is moved aside.
    scratch.write("b.bin", pattern_bytes(kDisk, 2), 1600000000);
    RUN_RESULT r = run_arwren({"rq", "lib.a", "../b.bin"}, disk, mounted.done ? -1 : (long long)kDisk);
    EXPECT_EQ(r.status, 1);
    if (mounted.done)
        EXPECT_EQ(r.err, "  -->  error: Cannot write archive: 'lib.a'\n");
    else
        EXPECT_EQ(r.err.find("\nINTERNAL ERROR: exceeded the file size limit\n"), 0u) << r.err;
    EXPECT_EQ(scratch.read("disk/lib.a"), old);
    EXPECT_EQ(scratch.names("disk"), std::vector<std::string>{"lib.a"});
}

}  // namespace

// Fatal signals: their reports and exit statuses. That the archive survives
// a signal in the middle of a rewrite is shown by the interop tests.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "front_run.h"

namespace {

// Waits until the run sleeps in a read of its command file pipe, so that the
// signal finds it there and not inside the allocator (the handler's exit
// would then wait forever for the allocator's lock).
void wait_until_reading_pipe(int pid) {
    std::string wchan = "/proc/" + std::to_string(pid) + "/wchan";
    for (int tries = 0; tries < 10000; tries++) {
        std::ifstream in(wchan);
        std::string where;
        in >> where;
        if (where.find("pipe_read") != std::string::npos)
            return;
        usleep(1000);
    }
}

// The command file is a pipe that is never written: the run waits in it with
// its handlers installed when the signal comes.
TEST(SignalEndToEnd, FatalSignalsReportAndExit) {
    const std::string internal =
        "\n\n\nThis is a serious problem.  Please contact Customer\n"
        "Support with this message and a copy of the input file\n"
        "and help us to continue to make the tools more robust.\n\n";
    const struct {
        int signal_number;
        std::string err;
        int status;
    } cases[] = {
        {SIGINT, "[forced exit]\n", 2},
        {SIGHUP, "[forced exit]\n", 2},
        {SIGTERM, "[received a terminate signal]\n", 1},
        {SIGSEGV, "\nINTERNAL ERROR: experienced a segmentation fault" + internal, 1},
        {SIGXFSZ, "\nINTERNAL ERROR: exceeded the file size limit" + internal, 1},
        {SIGUSR1, "", 128 + SIGUSR1},  // not in the handled set
    };
    for (const auto& c : cases) {
        SCRATCH_DIR dir;
        ASSERT_EQ(mkfifo(dir.path("cmds").c_str(), 0600), 0);
        RUN_OPTIONS options;
        options.cwd = dir.dir();
        options.timeout_ms = 30000;
        CHILD_PROCESS child(arwren_argv({"@cmds"}), options);
        int writer = open(dir.path("cmds").c_str(), O_WRONLY);  // returns once the run opened it
        ASSERT_GE(writer, 0);
        wait_until_reading_pipe(child.pid());
        kill(child.pid(), c.signal_number);
        RUN_RESULT result = child.finish();
        close(writer);
        EXPECT_EQ(result.out, "") << c.signal_number;
        EXPECT_EQ(result.err, c.err) << c.signal_number;
        EXPECT_EQ(result.status, c.status) << c.signal_number;
    }
}

}  // namespace

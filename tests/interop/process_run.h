#ifndef ARWREN_TESTS_INTEROP_PROCESS_RUN_H
#define ARWREN_TESTS_INTEROP_PROCESS_RUN_H

#include <sys/types.h>

#include <string>
#include <vector>

// What one child process produced.
struct RUN_RESULT {
    std::string out;
    std::string err;
    int status = -1;  // exit status, or 128 + signal number when killed
    int signal = 0;   // the signal that killed it, 0 when it exited
    bool timed_out = false;
};

// How to start a child: its working directory, an optional limit on the
// size of files it writes (RLIMIT_FSIZE, set between fork and exec), and
// an optional time after which it is killed as hanging.
struct RUN_OPTIONS {
    std::string cwd;
    long long fsize_limit = -1;
    int timeout_ms = -1;
};

// A started child whose output is collected when it is finished.
class CHILD_PROCESS {
public:
    CHILD_PROCESS(const std::vector<std::string>& argv, const RUN_OPTIONS& options);
    ~CHILD_PROCESS();
    CHILD_PROCESS(const CHILD_PROCESS&) = delete;
    CHILD_PROCESS& operator=(const CHILD_PROCESS&) = delete;

    pid_t pid() const { return pid_; }
    bool started() const { return pid_ > 0; }
    // True once the child has installed a handler for sig (read from
    // /proc), i.e. it is past exec and the program's own start-up, or once
    // it has already ended.
    bool ready_for(int sig) const;
    RUN_RESULT finish();

private:
    pid_t pid_ = -1;
    int timeout_ms_ = -1;
    int out_fd_ = -1;
    int err_fd_ = -1;
};

RUN_RESULT run_process(const std::vector<std::string>& argv, const RUN_OPTIONS& options = {});

// Runs the built archiver.
RUN_RESULT run_arwren(const std::vector<std::string>& args, const std::string& cwd);

// Absolute path of a program on PATH, or "" when there is none.
std::string find_program(const std::string& name);

// "argv[0] argv[1] ..." with the result, for failure messages.
std::string describe(const std::vector<std::string>& argv, const RUN_RESULT& result);

#endif

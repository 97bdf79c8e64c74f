#ifndef ARWREN_TESTS_COMMON_PROCESS_RUN_H
#define ARWREN_TESTS_COMMON_PROCESS_RUN_H

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// What one child process produced.
struct RUN_RESULT {
    std::string out, err;
    int status = -1;   // exit status, or 128 + signal number when killed
    bool timed_out = false;
};

// The child's working directory, and a time after which it is killed as
// hung. (Limits on its resources come from prlimit in front of it.)
struct RUN_OPTIONS {
    std::string cwd;
    int timeout_ms = -1;
};

// A started child with standard input from /dev/null, its output going to
// unnamed files, TZ=UTC and default signal handling.
class CHILD_PROCESS {
public:
    CHILD_PROCESS(const std::vector<std::string>& argv, const RUN_OPTIONS& options) : timeout_ms_(options.timeout_ms) {
        std::vector<char*> args;
        for (const std::string& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        setenv("TZ", "UTC", 1);
        if ((pid_ = fork()) != 0)
            return;
        // Between fork and exec: async-signal-safe calls only.
        sigset_t none;   // the harness may block signals; a shell's child starts with none blocked
        sigemptyset(&none);
        if (dup2(fileno(out_), 1) < 0 || dup2(fileno(err_), 2) < 0 || dup2(open("/dev/null", O_RDONLY), 0) < 0 ||
            (!options.cwd.empty() && chdir(options.cwd.c_str()) != 0) || sigprocmask(SIG_SETMASK, &none, nullptr) != 0)
            _exit(126);
        execvp(args[0], args.data());
        _exit(127);
    }
    ~CHILD_PROCESS() {
        if (pid_ > 0)
            kill(pid_, SIGKILL);
        finish();
        fclose(out_);
        fclose(err_);
    }
    CHILD_PROCESS(const CHILD_PROCESS&) = delete;
    CHILD_PROCESS& operator=(const CHILD_PROCESS&) = delete;

    pid_t pid() const { return pid_; }

    // True once the child catches sig (SigCgt in /proc), i.e. it is past its
    // own start-up, or once it has ended.
    bool ready_for(int sig) const {
        std::ifstream in("/proc/" + std::to_string(pid_) + "/status");
        const std::string status{std::istreambuf_iterator<char>(in), {}};
        const size_t caught = status.find("SigCgt:");
        return status.find("State:\tZ") != std::string::npos || caught == std::string::npos ||
               (std::strtoull(status.c_str() + caught + 7, nullptr, 16) >> (sig - 1)) & 1;
    }

    // Waits for the child, killing it as hung once it has had its time (at
    // least timeout_ms, counted in naps of a millisecond or more).
    RUN_RESULT finish() {
        RUN_RESULT result;
        int status = 0;
        for (int waited = 0; pid_ > 0 && waitpid(pid_, &status, WNOHANG) == 0; usleep(1000))
            if (timeout_ms_ >= 0 && ++waited > timeout_ms_ && !result.timed_out)
                result.timed_out = kill(pid_, SIGKILL) == 0;
        if (pid_ > 0)
            result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        pid_ = -1;
        for (auto [file, text] : {std::make_pair(out_, &result.out), std::make_pair(err_, &result.err)}) {
            char buf[65536];
            rewind(file);
            for (size_t n; (n = fread(buf, 1, sizeof buf, file)) > 0;)
                text->append(buf, n);
        }
        return result;
    }

private:
    pid_t pid_ = -1;
    int timeout_ms_;
    FILE* out_ = tmpfile();
    FILE* err_ = tmpfile();
};

inline RUN_RESULT run_process(const std::vector<std::string>& argv, const RUN_OPTIONS& options = {}) {
    return CHILD_PROCESS(argv, options).finish();
}

#ifdef ARWREN_BIN
inline std::vector<std::string> arwren_argv(std::vector<std::string> args) {
    args.insert(args.begin(), ARWREN_BIN);
    return args;
}

// Runs the built archiver in cwd.
inline RUN_RESULT run_arwren(const std::vector<std::string>& args, const std::string& cwd) {
    return run_process(arwren_argv(args), RUN_OPTIONS{cwd});
}
#endif

// The command line and what it produced, for failure messages.
inline std::string describe(const std::vector<std::string>& argv, const RUN_RESULT& result) {
    std::string text = "command:";
    for (const std::string& a : argv)
        text += " " + a;
    return text + "\nstatus: " + std::to_string(result.status) + "\nstdout: " + result.out.substr(0, 2000) +
           "\nstderr: " + result.err.substr(0, 2000);
}

#endif

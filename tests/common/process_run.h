#ifndef ARWREN_TESTS_COMMON_PROCESS_RUN_H
#define ARWREN_TESTS_COMMON_PROCESS_RUN_H

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

// What one child process produced.
struct RUN_RESULT {
    std::string out;
    std::string err;
    int status = -1;   // exit status, or 128 + signal number when killed
    bool timed_out = false;
};

// The child's working directory, caps on the size of the files it writes
// and on its address space, and a time after which it is killed as hung.
struct RUN_OPTIONS {
    std::string cwd;
    long long fsize_limit = -1;
    long long address_space_limit = -1;
    int timeout_ms = -1;
};

// A started child with standard input from /dev/null, its output going to
// unnamed files, TZ=UTC and default signal handling.
class CHILD_PROCESS {
public:
    CHILD_PROCESS(const std::vector<std::string>& argv, const RUN_OPTIONS& options)
        : timeout_ms_(options.timeout_ms) {
        std::vector<char*> args;
        for (const std::string& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        setenv("TZ", "UTC", 1);
        pid_ = fork();
        if (pid_ != 0)
            return;
        // Between fork and exec: async-signal-safe calls only.
        const struct rlimit size = {rlim_t(options.fsize_limit), rlim_t(options.fsize_limit)};
        const struct rlimit space = {rlim_t(options.address_space_limit), rlim_t(options.address_space_limit)};
        sigset_t none;   // the harness may block signals; a shell's child starts with none blocked
        sigemptyset(&none);
        if (dup2(fileno(out_), 1) < 0 || dup2(fileno(err_), 2) < 0 || dup2(open("/dev/null", O_RDONLY), 0) < 0 ||
            (!options.cwd.empty() && chdir(options.cwd.c_str()) != 0) ||
            (options.fsize_limit >= 0 && setrlimit(RLIMIT_FSIZE, &size) != 0) ||
            (options.address_space_limit >= 0 && setrlimit(RLIMIT_AS, &space) != 0) ||
            sigprocmask(SIG_SETMASK, &none, nullptr) != 0)
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
        std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.compare(0, 6, "State:") == 0 && line.find('Z') != std::string::npos)
                return true;
            if (line.compare(0, 7, "SigCgt:") == 0)
                return (std::strtoull(line.c_str() + 7, nullptr, 16) >> (sig - 1)) & 1;
        }
        return true;
    }

    // Waits for the child, killing it at the deadline as hung.
    RUN_RESULT finish() {
        RUN_RESULT result;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms_);
        int status = 0;
        while (pid_ > 0 && waitpid(pid_, &status, WNOHANG) == 0) {
            if (timeout_ms_ >= 0 && std::chrono::steady_clock::now() > deadline && !result.timed_out) {
                result.timed_out = true;
                kill(pid_, SIGKILL);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (pid_ > 0)
            result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        pid_ = -1;
        result.out = contents(out_);
        result.err = contents(err_);
        return result;
    }

private:
    static std::string contents(FILE* file) {
        std::string text;
        char buf[65536];
        rewind(file);
        for (size_t n; (n = fread(buf, 1, sizeof buf, file)) > 0;)
            text.append(buf, n);
        return text;
    }

    pid_t pid_ = -1;
    int timeout_ms_;
    FILE* out_ = tmpfile();
    FILE* err_ = tmpfile();
};

inline RUN_RESULT run_process(const std::vector<std::string>& argv, const RUN_OPTIONS& options = {}) {
    return CHILD_PROCESS(argv, options).finish();
}

#ifdef ARWREN_BIN
inline std::vector<std::string> arwren_argv(const std::vector<std::string>& args) {
    std::vector<std::string> argv{ARWREN_BIN};
    argv.insert(argv.end(), args.begin(), args.end());
    return argv;
}

// Runs the built archiver in cwd.
inline RUN_RESULT run_arwren(const std::vector<std::string>& args, const std::string& cwd,
                             long long fsize_limit = -1) {
    RUN_OPTIONS options;
    options.cwd = cwd;
    options.fsize_limit = fsize_limit;
    return run_process(arwren_argv(args), options);
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

#ifndef ARWREN_TESTS_COMMON_PROCESS_RUN_H
#define ARWREN_TESTS_COMMON_PROCESS_RUN_H

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

extern char** environ;

// What one child process produced.
struct RUN_RESULT {
    std::string out;
    std::string err;
    int status = -1;  // exit status, or 128 + signal number when killed
    bool timed_out = false;
};

// The child's working directory, an optional cap on the size of the files it
// writes (RLIMIT_FSIZE), and an optional time after which it is killed as hung.
struct RUN_OPTIONS {
    std::string cwd;
    long long fsize_limit = -1;
    int timeout_ms = -1;
    long long address_space_limit = -1;  // RLIMIT_AS, bytes
};

// A started child with standard input from /dev/null, TZ=UTC, default signal
// handling, and its output collected through pipes by finish().
class CHILD_PROCESS {
public:
    CHILD_PROCESS(const std::vector<std::string>& argv, const RUN_OPTIONS& options)
        : timeout_ms_(options.timeout_ms) {
        std::vector<char*> args, env;
        for (const std::string& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        for (char** e = environ; *e != nullptr; ++e)
            if (std::strncmp(*e, "TZ=", 3) != 0)
                env.push_back(*e);
        char tz[] = "TZ=UTC";
        env.push_back(tz);
        env.push_back(nullptr);
        int out[2], err[2];
        if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
            return;
        pid_ = fork();
        if (pid_ == 0)
            exec_child(args.data(), env.data(), options, out[1], err[1]);
        close(out[1]);
        close(err[1]);
        out_fd_ = out[0];
        err_fd_ = err[0];
    }
    ~CHILD_PROCESS() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            finish();
        }
    }
    CHILD_PROCESS(const CHILD_PROCESS&) = delete;
    CHILD_PROCESS& operator=(const CHILD_PROCESS&) = delete;

    pid_t pid() const { return pid_; }

    // True once the child catches sig (SigCgt in /proc), i.e. it is past exec
    // and its own start-up, or once it has ended.
    bool ready_for(int sig) const {
        std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
        std::string line;
        while (std::getline(status, line)) {
            if (line.compare(0, 6, "State:") == 0 && line.find('Z') != std::string::npos)
                return true;
            if (line.compare(0, 7, "SigCgt:") == 0)
                return (std::strtoull(line.c_str() + 7, nullptr, 16) >> (sig - 1)) & 1;
        }
        return true;
    }

    RUN_RESULT finish() {
        RUN_RESULT result;
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms_);
        while (out_fd_ >= 0 || err_fd_ >= 0) {
            struct pollfd fds[2] = {{out_fd_, POLLIN, 0}, {err_fd_, POLLIN, 0}};
            long wait_ms = -1;
            if (timeout_ms_ >= 0)
                wait_ms = std::max(0L, long(std::chrono::duration_cast<std::chrono::milliseconds>(
                                                deadline - std::chrono::steady_clock::now())
                                                .count()));
            int ready = poll(fds, 2, int(wait_ms));
            if (ready < 0 && errno != EINTR)
                break;
            if (ready == 0) {  // still running at the deadline: a hang
                result.timed_out = true;
                kill(pid_, SIGKILL);
                timeout_ms_ = -1;
                continue;
            }
            drain(out_fd_, fds[0].revents, result.out);
            drain(err_fd_, fds[1].revents, result.err);
        }
        if (pid_ <= 0)
            return result;
        int status = 0;
        while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        pid_ = -1;
        result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        return result;
    }

private:
    // Between fork and exec: async-signal-safe calls only.
    [[noreturn]] static void exec_child(char* const* argv, char* const* env,
                                        const RUN_OPTIONS& options, int out_fd, int err_fd) {
        dup2(out_fd, 1);
        dup2(err_fd, 2);
        int null_fd = open("/dev/null", O_RDONLY);
        dup2(null_fd, 0);
        if (!options.cwd.empty() && chdir(options.cwd.c_str()) != 0)
            _exit(126);
        struct rlimit limit = {rlim_t(options.fsize_limit), rlim_t(options.fsize_limit)};
        if (options.fsize_limit >= 0 && setrlimit(RLIMIT_FSIZE, &limit) != 0)
            _exit(126);
        struct rlimit space = {rlim_t(options.address_space_limit), rlim_t(options.address_space_limit)};
        if (options.address_space_limit >= 0 && setrlimit(RLIMIT_AS, &space) != 0)
            _exit(126);
        // The test harness may block signals; the child starts from the
        // defaults like a program run from a shell.
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execvpe(argv[0], argv, env);
        _exit(127);
    }

    static void drain(int& fd, short revents, std::string& into) {
        if (fd < 0 || revents == 0)
            return;
        char buf[65536];
        ssize_t n = read(fd, buf, sizeof buf);
        if (n > 0) {
            into.append(buf, size_t(n));
        } else if (n == 0 || errno != EINTR) {
            close(fd);
            fd = -1;
        }
    }

    pid_t pid_ = -1;
    int timeout_ms_ = -1;
    int out_fd_ = -1;
    int err_fd_ = -1;
};

inline RUN_RESULT run_process(const std::vector<std::string>& argv,
                              const RUN_OPTIONS& options = {}) {
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
    return text + "\nstatus: " + std::to_string(result.status) +
           "\nstdout: " + result.out.substr(0, 2000) + "\nstderr: " + result.err.substr(0, 2000);
}

#endif

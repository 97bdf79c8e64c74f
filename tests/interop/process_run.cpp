#include "process_run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

// Runs in the child between fork and exec: only async-signal-safe calls.
[[noreturn]] void exec_child(char* const* argv, const RUN_OPTIONS& options, int out_fd,
                             int err_fd) {
    dup2(out_fd, 1);
    dup2(err_fd, 2);
    int null_fd = open("/dev/null", O_RDONLY);
    if (null_fd >= 0)
        dup2(null_fd, 0);
    if (!options.cwd.empty() && chdir(options.cwd.c_str()) != 0)
        _exit(126);
    if (options.fsize_limit >= 0) {
        struct rlimit limit;
        limit.rlim_cur = static_cast<rlim_t>(options.fsize_limit);
        limit.rlim_max = static_cast<rlim_t>(options.fsize_limit);
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            _exit(126);
    }
    // The parent's test harness may block or ignore signals; the child
    // starts from the defaults like a program run from a shell.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execvp(argv[0], argv);
    _exit(127);
}

void drain(int& fd, std::string& into) {
    char buf[65536];
    ssize_t n = read(fd, buf, sizeof buf);
    if (n > 0) {
        into.append(buf, static_cast<size_t>(n));
    } else if (n == 0 || errno != EINTR) {
        close(fd);
        fd = -1;
    }
}

}  // namespace

CHILD_PROCESS::CHILD_PROCESS(const std::vector<std::string>& argv, const RUN_OPTIONS& options)
    : timeout_ms_(options.timeout_ms) {
    int out_pipe[2];
    int err_pipe[2];
    if (pipe2(out_pipe, O_CLOEXEC) != 0)
        return;
    if (pipe2(err_pipe, O_CLOEXEC) != 0) {
        close(out_pipe[0]);
        close(out_pipe[1]);
        return;
    }
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0)
        exec_child(args.data(), options, out_pipe[1], err_pipe[1]);
    close(out_pipe[1]);
    close(err_pipe[1]);
    out_fd_ = out_pipe[0];
    err_fd_ = err_pipe[0];
}

CHILD_PROCESS::~CHILD_PROCESS() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        finish();
    }
}

bool CHILD_PROCESS::ready_for(int sig) const {
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    if (!status)
        return true;
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, 6, "State:") == 0 && line.find('Z') != std::string::npos)
            return true;
        if (line.compare(0, 7, "SigCgt:") != 0)
            continue;
        unsigned long long mask = std::strtoull(line.c_str() + 7, nullptr, 16);
        return (mask >> (sig - 1)) & 1;
    }
    return false;
}

RUN_RESULT CHILD_PROCESS::finish() {
    RUN_RESULT result;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms_);
    while (out_fd_ >= 0 || err_fd_ >= 0) {
        struct pollfd fds[2] = {{out_fd_, POLLIN, 0}, {err_fd_, POLLIN, 0}};
        int wait_ms = -1;
        if (timeout_ms_ >= 0) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            wait_ms = static_cast<int>(left.count() > 0 ? left.count() : 0);
        }
        int ready = poll(fds, 2, wait_ms);
        if (ready < 0 && errno != EINTR)
            break;
        if (ready == 0 && pid_ > 0) {
            // Still running at the deadline: a hang.
            result.timed_out = true;
            kill(pid_, SIGKILL);
            timeout_ms_ = -1;
            continue;
        }
        if (out_fd_ >= 0 && fds[0].revents)
            drain(out_fd_, result.out);
        if (err_fd_ >= 0 && fds[1].revents)
            drain(err_fd_, result.err);
    }
    if (out_fd_ >= 0)
        close(out_fd_);
    if (err_fd_ >= 0)
        close(err_fd_);
    out_fd_ = err_fd_ = -1;
    if (pid_ <= 0)
        return result;
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    if (WIFEXITED(status)) {
        result.status = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.signal = WTERMSIG(status);
        result.status = 128 + result.signal;
    }
    return result;
}

RUN_RESULT run_process(const std::vector<std::string>& argv, const RUN_OPTIONS& options) {
    CHILD_PROCESS child(argv, options);
    return child.finish();
}

RUN_RESULT run_arwren(const std::vector<std::string>& args, const std::string& cwd) {
    std::vector<std::string> argv{ARWREN_BIN};
    argv.insert(argv.end(), args.begin(), args.end());
    RUN_OPTIONS options;
    options.cwd = cwd;
    return run_process(argv, options);
}

std::string find_program(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path ? path : "/usr/bin:/bin");
    std::string dir;
    while (std::getline(dirs, dir, ':')) {
        std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
        struct stat st;
        if (stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
            access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return "";
}

std::string describe(const std::vector<std::string>& argv, const RUN_RESULT& result) {
    std::string text = "command:";
    for (const std::string& a : argv)
        text += " " + a;
    text += "\nstatus: " + std::to_string(result.status);
    text += "\nstdout: " + result.out.substr(0, 2000);
    text += "\nstderr: " + result.err.substr(0, 2000);
    return text;
}

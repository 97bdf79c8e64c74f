#include "tool_run.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

int wait_status(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFSIGNALED(status))
        return 128 + WTERMSIG(status);
    return WEXITSTATUS(status);
}

// Starts argv in dir with output to the given files.
pid_t start_child(const std::vector<std::string>& args, const std::string& dir,
                  const std::string& out, const std::string& err, long file_size_limit = 0) {
    pid_t pid = fork();
    if (pid == 0) {
        if (file_size_limit > 0) {
            struct rlimit limit = {static_cast<rlim_t>(file_size_limit),
                                   static_cast<rlim_t>(file_size_limit)};
            setrlimit(RLIMIT_FSIZE, &limit);
        }
        if (chdir(dir.c_str()) != 0)
            _exit(127);
        int out_fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err_fd = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out_fd, 1);
        dup2(err_fd, 2);
        std::vector<char*> argv;
        for (const std::string& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        char tz[] = "TZ=UTC";
        char* env[] = {tz, nullptr};
        execve(argv[0], argv.data(), env);
        _exit(127);
    }
    return pid;
}

int spawn(const std::vector<std::string>& args, const std::string& dir, const std::string& out,
          const std::string& err) {
    return wait_status(start_child(args, dir, out, err));
}

}  // namespace

SCRATCH_DIR::SCRATCH_DIR() {
    char pattern[] = "/tmp/arwren_front_XXXXXX";
    const char* made = mkdtemp(pattern);
    path_ = made != nullptr ? made : "/tmp";
    std::filesystem::create_directory(path_ + "/work");
    path_ += "/work";
}

SCRATCH_DIR::~SCRATCH_DIR() {
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(path_).parent_path(), ignored);
}

void SCRATCH_DIR::write(const std::string& name, const std::string& bytes, long mtime) const {
    std::filesystem::path file = at(name);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    struct utimbuf times = {mtime, mtime};
    utime(file.c_str(), &times);
}

std::string SCRATCH_DIR::read(const std::string& name) const {
    return slurp(at(name));
}

bool SCRATCH_DIR::exists(const std::string& name) const {
    return std::filesystem::exists(at(name));
}

std::vector<std::string> SCRATCH_DIR::names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
        found.push_back(entry.path().filename().string());
    std::sort(found.begin(), found.end());
    return found;
}

int SCRATCH_DIR::start(const std::vector<std::string>& args, long file_size_limit) const {
    std::vector<std::string> argv{ARWREN_BIN};
    argv.insert(argv.end(), args.begin(), args.end());
    return start_child(argv, path_, path_ + "/../stdout", path_ + "/../stderr", file_size_limit);
}

TOOL_RESULT SCRATCH_DIR::finish(int pid) const {
    TOOL_RESULT result;
    result.status = wait_status(pid);
    result.out = slurp(path_ + "/../stdout");
    result.err = slurp(path_ + "/../stderr");
    return result;
}

TOOL_RESULT SCRATCH_DIR::run(const std::vector<std::string>& args, long file_size_limit) const {
    return finish(start(args, file_size_limit));
}

int SCRATCH_DIR::run_program(const std::vector<std::string>& argv) const {
    return spawn(argv, path_, "/dev/null", "/dev/null");
}

std::string archive_member(const std::string& name_field, long date, const std::string& data,
                           long uid) {
    char header[61];
    snprintf(header, sizeof header, "%-16s%-12ld%-6ld%-6d%-8o%-10ld`\n", name_field.c_str(),
             date, uid, 0, 0, static_cast<long>(data.size()));
    std::string member(header, 60);
    member += data;
    if (data.size() % 2 != 0)
        member += '\n';
    return member;
}

std::string archive_bytes(const std::vector<std::string>& members) {
    std::string bytes = "!<arch>\n";
    for (const std::string& member : members)
        bytes += member;
    return bytes;
}

std::string toc_text(const std::string& lines) {
    return "\n      SIZE   DATE                        FILE NAME"
           "\n  --------   ------------------------    -----------------\n" +
           lines;
}

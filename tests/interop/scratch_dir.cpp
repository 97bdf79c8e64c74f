#include "scratch_dir.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

SCRATCH_DIR::SCRATCH_DIR() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/arwren-interop-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (mkdtemp(buf.data()))
        path_ = buf.data();
}

SCRATCH_DIR::~SCRATCH_DIR() {
    if (!path_.empty())
        remove_tree(path_);
}

std::string SCRATCH_DIR::subdir(const std::string& name) const {
    std::string path = path_;
    std::stringstream parts(name);
    std::string part;
    while (std::getline(parts, part, '/')) {
        path += "/" + part;
        mkdir(path.c_str(), 0755);
    }
    return path;
}

std::string read_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void write_bytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void set_mtime(const std::string& path, long seconds) {
    struct utimbuf times;
    times.actime = seconds;
    times.modtime = seconds;
    utime(path.c_str(), &times);
}

bool file_exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

std::vector<std::string> list_dir(const std::string& path) {
    std::vector<std::string> names;
    DIR* dir = opendir(path.c_str());
    if (!dir)
        return names;
    while (struct dirent* entry = readdir(dir)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
}

void remove_tree(const std::string& path) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0)
        return;
    if (S_ISDIR(st.st_mode)) {
        for (const std::string& name : list_dir(path))
            remove_tree(path + "/" + name);
        rmdir(path.c_str());
    } else {
        unlink(path.c_str());
    }
}

std::string pattern_bytes(size_t length, unsigned seed) {
    std::string bytes(length, '\0');
    unsigned state = seed * 2654435761u + 12345u;
    for (size_t i = 0; i < length; ++i) {
        state = state * 1103515245u + 12345u;
        bytes[i] = static_cast<char>(state >> 16);
    }
    return bytes;
}

#ifndef ARWREN_TESTS_COMMON_SCRATCH_DIR_H
#define ARWREN_TESTS_COMMON_SCRATCH_DIR_H

#include <utime.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// A private directory under base, removed with everything in it when the
// test ends. Names given to it are relative to it.
class SCRATCH_DIR {
public:
    explicit SCRATCH_DIR(const char* base = "/tmp") : dir_(std::string(base) + "/arwren_test_XXXXXX") {
        if (mkdtemp(&dir_[0]) == nullptr)
            dir_.clear();
    }
    ~SCRATCH_DIR() {
        std::error_code ignored;
        if (ok())
            std::filesystem::remove_all(dir_, ignored);
    }
    SCRATCH_DIR(const SCRATCH_DIR&) = delete;
    SCRATCH_DIR& operator=(const SCRATCH_DIR&) = delete;

    bool ok() const { return !dir_.empty(); }
    const std::string& dir() const { return dir_; }
    std::string path(const std::string& name) const { return dir_ + "/" + name; }

    // Makes a subdirectory (and its parents) and returns its path.
    std::string subdir(const std::string& name) const {
        return std::filesystem::create_directories(path(name)), path(name);
    }

    // Writes a file, making its directories, with the given modification
    // time unless LONG_MIN (left as written); returns its path.
    std::string write(const std::string& name, const std::string& bytes, long mtime = LONG_MIN) const {
        const std::string full = path(name);
        std::filesystem::create_directories(std::filesystem::path(full).parent_path());
        std::ofstream(full, std::ios::binary | std::ios::trunc) << bytes;
        const struct utimbuf times = {mtime, mtime};
        if (mtime != LONG_MIN)
            utime(full.c_str(), &times);
        return full;
    }
    std::string read(const std::string& name) const { return read_file(path(name)); }

    // The names in a subdirectory ("" for this one), sorted.
    std::vector<std::string> names(const std::string& sub = "") const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path(sub)))
            found.push_back(entry.path().filename().string());
        std::sort(found.begin(), found.end());
        return found;
    }

    static std::string read_file(const std::string& full) {
        std::ostringstream bytes;
        bytes << std::ifstream(full, std::ios::binary).rdbuf();
        return bytes.str();
    }

private:
    std::string dir_;
};

#endif

#ifndef ARWREN_TESTS_COMMON_SCRATCH_DIR_H
#define ARWREN_TESTS_COMMON_SCRATCH_DIR_H

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ftw.h>
#include <iterator>
#include <string>

// A private directory under the system's temporary directory, removed with
// everything in it when the test ends.
class SCRATCH_DIR {
public:
    explicit SCRATCH_DIR(const char* base = "/tmp") {
        std::string pattern = std::string(base) + "/arwren_test_XXXXXX";
        if (mkdtemp(&pattern[0]) != nullptr)
            dir_ = pattern;
    }
    ~SCRATCH_DIR() {
        if (!dir_.empty())
            nftw(dir_.c_str(), remove_entry, 16, FTW_DEPTH | FTW_PHYS);
    }
    SCRATCH_DIR(const SCRATCH_DIR&) = delete;
    SCRATCH_DIR& operator=(const SCRATCH_DIR&) = delete;

    bool ok() const { return !dir_.empty(); }
    const std::string& dir() const { return dir_; }
    std::string path(const std::string& name) const { return dir_ + "/" + name; }

    std::string write(const std::string& name, const std::string& bytes) const {
        std::string full = path(name);
        std::ofstream(full, std::ios::binary) << bytes;
        return full;
    }
    std::string read(const std::string& name) const { return read_file(path(name)); }

    static std::string read_file(const std::string& full) {
        std::ifstream in(full, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

private:
    static int remove_entry(const char* name, const struct stat*, int, struct FTW*) {
        return remove(name);
    }

    std::string dir_;
};

#endif

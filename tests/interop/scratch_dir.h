#ifndef ARWREN_TESTS_INTEROP_SCRATCH_DIR_H
#define ARWREN_TESTS_INTEROP_SCRATCH_DIR_H

#include <string>
#include <vector>

// A fresh directory under the system's temporary area, removed with all it
// holds when the test ends.
class SCRATCH_DIR {
public:
    SCRATCH_DIR();
    ~SCRATCH_DIR();
    SCRATCH_DIR(const SCRATCH_DIR&) = delete;
    SCRATCH_DIR& operator=(const SCRATCH_DIR&) = delete;

    const std::string& path() const { return path_; }
    std::string at(const std::string& name) const { return path_ + "/" + name; }
    // Makes a subdirectory (and its parents) and returns its path.
    std::string subdir(const std::string& name) const;

private:
    std::string path_;
};

std::string read_bytes(const std::string& path);
void write_bytes(const std::string& path, const std::string& bytes);
// Sets both times of a file to the given seconds since the epoch.
void set_mtime(const std::string& path, long seconds);
bool file_exists(const std::string& path);
// The names in a directory, sorted, without "." and "..".
std::vector<std::string> list_dir(const std::string& path);
// Recursively removes a path.
void remove_tree(const std::string& path);
// Deterministic filler bytes of the given length, different per seed.
std::string pattern_bytes(size_t length, unsigned seed);

#endif

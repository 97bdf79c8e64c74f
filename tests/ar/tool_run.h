#ifndef ARWREN_TESTS_AR_TOOL_RUN_H
#define ARWREN_TESTS_AR_TOOL_RUN_H

#include <string>
#include <vector>

// What one run of the built binary produced.
struct TOOL_RESULT {
    std::string out;
    std::string err;
    int status;  // exit status, or 128 + signal number when killed
};

// A scratch directory, removed with everything in it at the end of a test.
class SCRATCH_DIR {
public:
    SCRATCH_DIR();
    ~SCRATCH_DIR();
    SCRATCH_DIR(const SCRATCH_DIR&) = delete;
    SCRATCH_DIR& operator=(const SCRATCH_DIR&) = delete;

    const std::string& path() const { return path_; }
    std::string at(const std::string& name) const { return path_ + "/" + name; }

    // Writes a file (directories are made as needed) and sets its time.
    void write(const std::string& name, const std::string& bytes, long mtime = 1000000000) const;
    std::string read(const std::string& name) const;
    bool exists(const std::string& name) const;
    std::vector<std::string> names() const;  // sorted

    // Runs ARWREN_BIN with args in this directory, with TZ=UTC and nothing
    // else in the environment; a non-zero file_size_limit caps the size of
    // every file it writes.
    TOOL_RESULT run(const std::vector<std::string>& args, long file_size_limit = 0) const;

    // Starts ARWREN_BIN like run without waiting; finish waits for it.
    int start(const std::vector<std::string>& args, long file_size_limit = 0) const;
    TOOL_RESULT finish(int pid) const;

    // Runs an arbitrary program the same way; its output is not captured.
    int run_program(const std::vector<std::string>& argv) const;

private:
    std::string path_;
};

// Archive bytes: "!<arch>\n" then members made by archive_member.
std::string archive_bytes(const std::vector<std::string>& members);

// One member: the 60-byte header with the given name field, date and uid,
// the data and its padding byte.
std::string archive_member(const std::string& name_field, long date, const std::string& data,
                           long uid = 0);

// The listing heading followed by the given lines.
std::string toc_text(const std::string& lines);

#endif

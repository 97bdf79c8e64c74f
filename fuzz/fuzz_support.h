#ifndef ARWREN_FUZZ_FUZZ_SUPPORT_H
#define ARWREN_FUZZ_FUZZ_SUPPORT_H

// What every fuzz target shares: the current input in a memory file that the
// file handle manager opens like any other file, messages that never end the
// process, and a check that one input alone never reaches the message
// channel's error limit (which would end a real run in the middle).

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/fhm_file.h"
#include "support/user_msg.h"

// Ends the run as a finding, with a line saying which invariant broke.
#define FUZZ_CHECK(condition)                                                          \
    do {                                                                               \
        if (!(condition)) {                                                            \
            fprintf(stderr, "%s:%d: broken: %s\n", __FILE__, __LINE__, #condition);    \
            abort();                                                                   \
        }                                                                              \
    } while (0)

// One memory file per process; each input replaces its contents. Opening
// it through /proc gives a stream of its own, which the file handle manager
// can close and reopen by name like any file.
class MEMORY_FILE {
public:
    MEMORY_FILE() : fd_(memfd_create("arwren-fuzz", 0)), path_("/proc/self/fd/" + std::to_string(fd_)) {
        FUZZ_CHECK(fd_ >= 0);
    }
    ~MEMORY_FILE() { close(fd_); }

    // The bytes, after prefix_size zero bytes; the file opened for reading.
    FHM_FILE* open(const uint8_t* data, size_t size, size_t prefix_size = 0) {
        FUZZ_CHECK(ftruncate(fd_, 0) == 0);
        FUZZ_CHECK(ftruncate(fd_, off_t(prefix_size)) == 0);
        FUZZ_CHECK(pwrite(fd_, data, size, off_t(prefix_size)) == ssize_t(size));
        return fhm_open(path_.c_str(), "rb");
    }
    const char* path() const { return path_.c_str(); }

private:
    int fd_;
    std::string path_;
};

// The message channel counts errors across inputs; the count is lifted out
// of reach and each input is held to the real limit on its own.
class MESSAGE_BUDGET {
public:
    static constexpr int kRealLimit = 100;
    MESSAGE_BUDGET() : before_(USER_MSG::get_umsg_obj()->get_error_count()) {
        USER_MSG::get_umsg_obj()->set_max_errors(1 << 30);
    }
    ~MESSAGE_BUDGET() { FUZZ_CHECK(USER_MSG::get_umsg_obj()->get_error_count() - before_ < kRealLimit); }

private:
    int before_;
};

#endif

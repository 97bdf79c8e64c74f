#ifndef ARWREN_SUPPORT_FHM_FILE_H
#define ARWREN_SUPPORT_FHM_FILE_H

#include <cstdint>
#include <cstdio>

class FILE_HANDLE_MANAGER;

// One managed file. Its stdio stream may be closed by the manager at any time
// when too many are open; fp() reopens it transparently at the saved place.
// Callers therefore ask fp() for the stream at every use and never keep it.
class FHM_FILE {
public:
    FILE* fp();                 // the stream, reopened first if evicted; null if that fails
    const char* name() const { return name_; }
    const char* mode() const { return mode_; }
    bool is_open() const { return fp_ != nullptr; }
    int reopen_count() const { return reopen_count_; }
    void lock(bool on) { locked_ = on; }
    bool is_locked() const { return locked_; }
    unsigned last_use() const { return last_use_; }
    FILE_HANDLE_MANAGER* manager() const { return manager_; }

private:
    friend class FILE_HANDLE_MANAGER;
    FHM_FILE() = default;

    FILE_HANDLE_MANAGER* manager_ = nullptr;
    FILE* fp_ = nullptr;
    char* name_ = nullptr;
    char* mode_ = nullptr;
    int32_t saved_offset_ = 0;
    fpos_t saved_position_{};
    bool locked_ = false;
    int reopen_count_ = 0;
    unsigned last_use_ = 0;
    int handle_index_ = -1;
    int open_slot_ = -1;
    bool position_saved_ = false;  // fgetpos succeeded at the last eviction
    bool close_failed_ = false;    // closing at an eviction lost buffered output
};

FHM_FILE* fhm_open(const char* name, const char* mode);  // null when it cannot be opened
int fhm_close(FHM_FILE* file);                           // the platform's close result
FHM_FILE* fhm_stdin();
FHM_FILE* fhm_stdout();
FHM_FILE* fhm_stderr();

#endif

#ifndef ARWREN_SUPPORT_FHM_FILE_H
#define ARWREN_SUPPORT_FHM_FILE_H

#include <cstddef>
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

    // Reads n bytes at position without moving the stream's position: from
    // the view when it holds them all, else with positioned reads on the
    // stream's descriptor, after flushing what a stream open for writing
    // holds. Returns the count read (short at the end of the file), or -1
    // when the read failed or cannot be made this way (a stream that cannot
    // be reopened, or one open for writing only); that failure is also
    // remembered (read_failed), since the readers above the file's views
    // carry on with zeros where the bytes should be.
    long read_at(void* buffer, size_t n, uint64_t position);
    bool read_failed() const { return read_failed_; }
    // Lends the file's bytes [offset, offset + length) from memory, so that
    // read_at serves them without a system call. The bytes stay the
    // caller's and must outlive the view or the next set_view.
    void set_view(const unsigned char* bytes, uint64_t offset, size_t length);
    void clear_view() { set_view(nullptr, 0, 0); }
    bool is_read_only() const;

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
    bool read_failed_ = false;     // a read_at failed
    const unsigned char* view_ = nullptr;  // the file's bytes from view_offset_ on, lent
    uint64_t view_offset_ = 0;
    size_t view_length_ = 0;
};

FHM_FILE* fhm_open(const char* name, const char* mode);  // null when it cannot be opened
int fhm_close(FHM_FILE* file);                           // the platform's close result
FHM_FILE* fhm_stdin();
FHM_FILE* fhm_stdout();
FHM_FILE* fhm_stderr();

#endif

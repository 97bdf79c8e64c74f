#ifndef ARWREN_SUPPORT_FILE_HANDLE_MANAGER_H
#define ARWREN_SUPPORT_FILE_HANDLE_MANAGER_H

#include <climits>

#include "support/fhm_file.h"

// Keeps any number of files open through at most OPEN_SLOTS stdio streams.
// When a stream is needed and every slot is taken, the least recently used
// unlocked file is closed (its position saved) and reopened transparently at
// its next use. One manager serves the process (instance()); tests may make
// their own.
class FILE_HANDLE_MANAGER {
public:
    static const int OPEN_SLOTS = 12;
    static const int INITIAL_HANDLES = 1024;

    static FILE_HANDLE_MANAGER* instance();  // made on first use

    explicit FILE_HANDLE_MANAGER(int capacity = INITIAL_HANDLES);
    ~FILE_HANDLE_MANAGER();
    FILE_HANDLE_MANAGER(const FILE_HANDLE_MANAGER&) = delete;
    FILE_HANDLE_MANAGER& operator=(const FILE_HANDLE_MANAGER&) = delete;

    FHM_FILE* open(const char* name, const char* mode);  // null when it cannot be opened
    int close(FHM_FILE* file);
    FHM_FILE* std_in() { return stdin_; }
    FHM_FILE* std_out() { return stdout_; }
    FHM_FILE* std_err() { return stderr_; }

    // The mode that reopens a file without truncating it or losing data.
    static const char* detect_reopen_mode(const char* mode);

    int capacity() const { return capacity_; }
    int open_count() const;
    int handle_count() const;
    void set_use_counter(unsigned n) { use_counter_ = n; }

private:
    friend class FHM_FILE;

    FHM_FILE* new_handle(const char* name, const char* mode);
    void delete_handle(FHM_FILE* file);
    int take_handle_slot();
    void compact_handles();
    void grow_handles();
    bool open_FILE(FHM_FILE* file);
    int free_open_slot();
    FHM_FILE* least_recently_used() const;
    bool evict_one();
    void evict(FHM_FILE* file);
    bool reopen(FHM_FILE* file);
    // Every access takes a fresh stamp; before the counter would wrap, the
    // open files are renumbered so that their order of use survives.
    unsigned next_stamp() {
        if (use_counter_ == UINT_MAX)
            renumber_stamps();
        return use_counter_++;
    }
    void renumber_stamps();

    int capacity_;
    int open_slots_;
    FHM_FILE** handles_;
    FHM_FILE* open_[OPEN_SLOTS];
    int next_handle_;
    unsigned use_counter_;
    int rover_;
    bool has_holes_;
    FHM_FILE* stdin_;
    FHM_FILE* stdout_;
    FHM_FILE* stderr_;
};

#endif

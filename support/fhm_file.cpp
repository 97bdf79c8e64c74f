#include "support/fhm_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/file_handle_manager.h"

// The hot path of every read and write: an open stream costs one stamp.
FILE* FHM_FILE::fp() {
    if (fp_ == nullptr && !manager_->reopen(this))
        return nullptr;
    last_use_ = manager_->next_stamp();
    return fp_;
}

// After the first open the mode is the reopen mode, whose first character
// is r, a or w and which holds "+" for update.
bool FHM_FILE::is_read_only() const {
    return mode_[0] == 'r' && strchr(mode_, '+') == nullptr;
}

void FHM_FILE::set_view(const unsigned char* bytes, uint64_t offset, size_t length) {
    view_ = bytes;
    view_offset_ = offset;
    view_length_ = bytes != nullptr ? length : 0;
}

long FHM_FILE::read_at(void* buffer, size_t n, uint64_t position) {
    if (view_ != nullptr && position >= view_offset_ && view_length_ >= n &&
        position - view_offset_ <= view_length_ - n) {
        memcpy(buffer, view_ + (position - view_offset_), n);
        return static_cast<long>(n);
    }
    FILE* stream = fp();
    if (stream == nullptr || (!is_read_only() && fflush(stream) != 0)) {
        read_failed_ = true;
        return -1;
    }
    const int descriptor = fileno(stream);
    char* out = static_cast<char*>(buffer);
    size_t got = 0;
    while (got < n) {   // mutants: skip (a read of nothing ends the loop all the same)
        const ssize_t r = pread(descriptor, out + got, n - got, static_cast<off_t>(position + got));
        if (r < 0 && errno == EINTR)
            continue;
        if (r < 0) {
            read_failed_ = true;
            return -1;
        }
        if (r == 0)
            break;
        got += static_cast<size_t>(r);
    }
    return static_cast<long>(got);
}

FHM_FILE* fhm_open(const char* name, const char* mode) {
    return FILE_HANDLE_MANAGER::instance()->open(name, mode);
}

int fhm_close(FHM_FILE* file) {
    if (file == nullptr)
        return EOF;
    return file->manager()->close(file);
}

FHM_FILE* fhm_stdin() { return FILE_HANDLE_MANAGER::instance()->std_in(); }
FHM_FILE* fhm_stdout() { return FILE_HANDLE_MANAGER::instance()->std_out(); }
FHM_FILE* fhm_stderr() { return FILE_HANDLE_MANAGER::instance()->std_err(); }

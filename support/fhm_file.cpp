#include "support/fhm_file.h"

#include "support/file_handle_manager.h"

// The hot path of every read and write: an open stream costs one stamp.
FILE* FHM_FILE::fp() {
    if (fp_ == nullptr && !manager_->reopen(this))
        return nullptr;
    last_use_ = manager_->next_stamp();
    return fp_;
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

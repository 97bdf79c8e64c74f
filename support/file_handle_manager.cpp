#include "support/file_handle_manager.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "support/safe_alloc.h"

namespace {

// A handle's mode buffer holds the caller's mode and later the reopen mode,
// which is at most three characters.
const size_t REOPEN_MODE_ROOM = 4;

size_t room_for(const char* text, size_t min_room) {
    size_t length = strlen(text) + 1;   // mutants: skip (a spare byte of room changes nothing)
    return length > min_room ? length : min_room;
}

bool mode_flag_at_2_or_3(const char* mode, char flag) {
    return mode[1] == flag || (mode[1] != '\0' && mode[2] == flag);
}

}  // namespace

FILE_HANDLE_MANAGER* FILE_HANDLE_MANAGER::instance() {
    // Made on first use and never destroyed: streams still open at exit are
    // flushed and closed by the runtime.
    static FILE_HANDLE_MANAGER* manager = nullptr;
    if (manager == nullptr)
        manager = new (safemalloc(sizeof(FILE_HANDLE_MANAGER))) FILE_HANDLE_MANAGER();
    return manager;
}

FILE_HANDLE_MANAGER::FILE_HANDLE_MANAGER(int capacity)
    : capacity_(capacity > 0 ? capacity : 1), open_slots_(OPEN_SLOTS),
      handles_(static_cast<FHM_FILE**>(safecalloc(capacity_, sizeof(FHM_FILE*)))),
      open_(), next_handle_(0), use_counter_(0), rover_(0), has_holes_(false),
      stdin_(new_handle("(stdin)", "r")), stdout_(new_handle("(stdout)", "w")),
      stderr_(new_handle("(stderr)", "w")) {
    stdin_->fp_ = stdin;
    stdout_->fp_ = stdout;
    stderr_->fp_ = stderr;
    stdin_->locked_ = stdout_->locked_ = stderr_->locked_ = true;
}

FILE_HANDLE_MANAGER::~FILE_HANDLE_MANAGER() {
    for (int i = 0; i < next_handle_; ++i) {
        FHM_FILE* file = handles_[i];
        if (file == nullptr)
            continue;
        if (file->fp_ != nullptr)
            fclose(file->fp_);
        delete_handle(file);
    }
    free(handles_);
    delete_handle(stdin_);
    delete_handle(stdout_);
    delete_handle(stderr_);
}

// The copies of the name and the mode live in the handle's own block, just
// after it: one allocation per file opened.
FHM_FILE* FILE_HANDLE_MANAGER::new_handle(const char* name, const char* mode) {
    size_t name_room = room_for(name, 1);
    size_t mode_room = room_for(mode, REOPEN_MODE_ROOM);
    char* block = static_cast<char*>(safecalloc(sizeof(FHM_FILE) + name_room + mode_room, 1));
    FHM_FILE* file = new (block) FHM_FILE();
    file->manager_ = this;
    file->name_ = block + sizeof(FHM_FILE);
    file->mode_ = file->name_ + name_room;
    strcpy(file->name_, name);
    strcpy(file->mode_, mode);
    return file;
}

void FILE_HANDLE_MANAGER::delete_handle(FHM_FILE* file) {
    file->~FHM_FILE();
    free(file);
}

FHM_FILE* FILE_HANDLE_MANAGER::open(const char* name, const char* mode) {
    if (name == nullptr || mode == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    int slot = take_handle_slot();
    FHM_FILE* file = new_handle(name, mode);
    if (!open_FILE(file)) {
        int saved_errno = errno;
        delete_handle(file);
        errno = saved_errno;
        return nullptr;
    }
    file->handle_index_ = slot;
    handles_[slot] = file;
    next_handle_ = slot + 1;
    return file;
}

int FILE_HANDLE_MANAGER::close(FHM_FILE* file) {
    if (file == nullptr)
        return EOF;
    if (file == stdin_ || file == stdout_ || file == stderr_)
        return 0;
    int result = 0;
    if (file->fp_ != nullptr) {
        result = fclose(file->fp_);
        open_[file->open_slot_] = nullptr;
    }
    if (file->close_failed_)
        result = EOF;
    int index = file->handle_index_;
    if (index >= 0 && index < next_handle_ && handles_[index] == file) {
        handles_[index] = nullptr;
        has_holes_ = true;
    }
    delete_handle(file);
    return result;
}

// Handles are appended; closed ones leave holes that are squeezed out only
// when the table is full, and only then does the table grow.
int FILE_HANDLE_MANAGER::take_handle_slot() {
    if (next_handle_ == capacity_ && has_holes_)
        compact_handles();
    if (next_handle_ == capacity_)
        grow_handles();
    return next_handle_;
}

void FILE_HANDLE_MANAGER::compact_handles() {
    int kept = 0;
    for (int i = 0; i < next_handle_; ++i) {
        FHM_FILE* file = handles_[i];
        if (file == nullptr)
            continue;
        file->handle_index_ = kept;
        handles_[kept++] = file;
    }
    for (int i = kept; i < next_handle_; ++i)
        handles_[i] = nullptr;
    next_handle_ = kept;
    has_holes_ = false;
}

void FILE_HANDLE_MANAGER::grow_handles() {
    int grown = capacity_ * 2;
    void* table = saferealloc(handles_, sizeof(FHM_FILE*) * static_cast<size_t>(grown));
    handles_ = static_cast<FHM_FILE**>(table);
    for (int i = capacity_; i < grown; ++i)
        handles_[i] = nullptr;
    capacity_ = grown;
}

// Opens the stream of a handle in a free slot, evicting the least recently
// used file when all slots are taken or when the system as a whole has run
// out of descriptors. On success the handle's mode becomes its reopen mode.
bool FILE_HANDLE_MANAGER::open_FILE(FHM_FILE* file) {
    int slot = free_open_slot();
    if (slot < 0) {
        if (!evict_one()) {
            errno = EMFILE;
            return false;
        }
        slot = free_open_slot();
    }
    FILE* stream;
    while ((stream = fopen(file->name_, file->mode_)) == nullptr) {
        if ((errno != ENFILE && errno != EMFILE) || !evict_one())
            return false;
    }
    file->fp_ = stream;
    file->open_slot_ = slot;
    open_[slot] = file;
    rover_ = (slot + 1) % open_slots_;
    file->last_use_ = next_stamp();
    strcpy(file->mode_, detect_reopen_mode(file->mode_));
    return true;
}

int FILE_HANDLE_MANAGER::free_open_slot() {
    for (int i = 0; i < open_slots_; ++i) {
        int slot = (rover_ + i) % open_slots_;
        if (open_[slot] == nullptr)
            return slot;
    }
    return -1;
}

FHM_FILE* FILE_HANDLE_MANAGER::least_recently_used() const {
    FHM_FILE* oldest = nullptr;
    for (int i = 0; i < open_slots_; ++i) {
        FHM_FILE* file = open_[i];
        if (file == nullptr || file->locked_)
            continue;
        if (oldest == nullptr || file->last_use_ < oldest->last_use_ ||
            (file->last_use_ == oldest->last_use_ && file->handle_index_ < oldest->handle_index_))
            oldest = file;
    }
    return oldest;
}

bool FILE_HANDLE_MANAGER::evict_one() {
    FHM_FILE* file = least_recently_used();
    if (file == nullptr)
        return false;
    evict(file);
    return true;
}

// Both the byte offset and the full stream position are kept; a position
// beyond what the 32-bit offset can hold is restored from the latter alone.
void FILE_HANDLE_MANAGER::evict(FHM_FILE* file) {
    long offset = ftell(file->fp_);
    file->saved_offset_ = (offset >= 0 && offset <= INT32_MAX) ? static_cast<int32_t>(offset) : -1;
    file->position_saved_ = fgetpos(file->fp_, &file->saved_position_) == 0;
    if (fclose(file->fp_) != 0)
        file->close_failed_ = true;
    file->fp_ = nullptr;
    open_[file->open_slot_] = nullptr;
    file->open_slot_ = -1;
}

bool FILE_HANDLE_MANAGER::reopen(FHM_FILE* file) {
    if (!open_FILE(file))
        return false;
    if (file->position_saved_)
        fsetpos(file->fp_, &file->saved_position_);
    if (file->saved_offset_ >= 0)
        fseek(file->fp_, file->saved_offset_, SEEK_SET);
    ++file->reopen_count_;
    return true;
}

void FILE_HANDLE_MANAGER::renumber_stamps() {
    FHM_FILE* order[OPEN_SLOTS];
    int count = 0;
    for (int i = 0; i < open_slots_; ++i) {
        FHM_FILE* file = open_[i];
        if (file == nullptr)
            continue;
        int at = count++;
        while (at > 0 && order[at - 1]->last_use_ > file->last_use_) {
            order[at] = order[at - 1];
            --at;
        }
        order[at] = file;
    }
    for (int i = 0; i < count; ++i)
        order[i]->last_use_ = static_cast<unsigned>(i);
    use_counter_ = static_cast<unsigned>(count);
}

// The first character gives the kind (w counts as r with update, since the
// file now exists and must not be truncated again); a "b" or "+" may come in
// either order in the second and third characters.
const char* FILE_HANDLE_MANAGER::detect_reopen_mode(const char* mode) {
    if (mode == nullptr || (mode[0] != 'r' && mode[0] != 'w' && mode[0] != 'a'))
        return "r";
    bool binary = mode_flag_at_2_or_3(mode, 'b');
    bool update = mode[0] == 'w' || mode_flag_at_2_or_3(mode, '+');
    if (mode[0] == 'a') {
        if (update)
            return binary ? "a+b" : "a+";
        return binary ? "ab" : "a";
    }
    if (update)
        return binary ? "r+b" : "r+";
    return binary ? "rb" : "r";
}

int FILE_HANDLE_MANAGER::open_count() const {
    int count = 0;
    for (int i = 0; i < open_slots_; ++i)
        count += open_[i] != nullptr;
    return count;
}

int FILE_HANDLE_MANAGER::handle_count() const {
    int count = 0;
    for (int i = 0; i < next_handle_; ++i)
        count += handles_[i] != nullptr;
    return count;
}

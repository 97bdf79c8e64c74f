#include "ar/lib/ar_content_pool.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/fhm_file.h"
#include "support/safe_alloc.h"

AR_CONTENT_POOL::~AR_CONTENT_POOL()
{
    clear();
}

bool AR_CONTENT_POOL::keep(const char* beside, const AR_MEMBER* member,
                           const unsigned char* bytes, size_t size)
{
    if (failed_ || bound_ - size_ < int64_t(size) || (file_ == nullptr && !make_file(beside)))
        return false;
    FILE* fp = file_->fp();
    if (fp == nullptr || fwrite(bytes, 1, size, fp) != size) {
        fail();
        return false;
    }
    entries_.push_back(ENTRY{member, size_});
    size_ += int64_t(size);
    return true;
}

// Writing may have failed for bytes of members kept earlier, still in the
// stream's buffer: nothing is handed out, and every member is copied from
// its own file.
void AR_CONTENT_POOL::fail()
{
    failed_ = true;
    entries_.clear();
    next_ = 0;
}

bool AR_CONTENT_POOL::finish_keeping()
{
    FILE* fp = file_ != nullptr ? file_->fp() : nullptr;
    if (fp != nullptr && fflush(fp) != 0)
        fail();
    return !failed_;
}

// The file is made under the archive's name with the process id and
// ".pool" added, exclusively, so that no file of anyone else's is ever
// touched, and its name is taken away at once: nothing is left behind
// whatever happens next, and a signal in between finds the flag set and
// removes it. A name that cannot be taken away at once is tried again when
// the pool is done with. The handle is locked, since a file without a name
// could not be reopened after an eviction.
bool AR_CONTENT_POOL::make_file(const char* beside)
{
    failed_ = true;
    if (beside == nullptr)
        return false;
    size_t room = strlen(beside) + NAME_TAIL_ROOM;
    name_ = static_cast<char*>(safemalloc(room));
    snprintf(name_, room, "%s.%ld.pool", beside, long(getpid()));
    // Signals are held while the file exists under its name unrecorded: a
    // signal between the open and the flag would leave it behind, and a flag
    // set before an open that fails on a file already there would remove
    // another's file.
    sigset_t all, before;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &before);
    file_ = fhm_open(name_, "w+bx");
    named_ = file_ != nullptr && unlink(name_) != 0;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    FILE* fp = file_ != nullptr ? file_->fp() : nullptr;
    if (fp == nullptr)
        return false;
    file_->lock(true);
    // Without a buffer of ours stdio makes one of its own, only smaller.
    buffer_ = static_cast<char*>(safemalloc(BUFFER_SIZE));  // mutants: skip
    setvbuf(fp, buffer_, _IOFBF, BUFFER_SIZE);
    failed_ = false;
    return true;
}

int64_t AR_CONTENT_POOL::take(const AR_MEMBER* member)
{
    if (next_ == entries_.size() || entries_[next_].member != member)
        return -1;
    return entries_[next_++].offset;
}

bool AR_CONTENT_POOL::remove_name()
{
    if (!named_)
        return true;
    const bool removed = unlink(name_) == 0;
    named_ = 0;
    return removed;
}

void AR_CONTENT_POOL::clear()
{
    if (file_ != nullptr)
        fhm_close(file_);
    file_ = nullptr;
    free(buffer_);
    buffer_ = nullptr;
    free(name_);
    name_ = nullptr;
    failed_ = false;
    size_ = 0;
    entries_.clear();
    next_ = 0;
}

void AR_CONTENT_POOL::restore_files()
{
    if (named_) {
        unlink(name_);
        named_ = 0;
    }
}

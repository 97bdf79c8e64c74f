#include "ar/lib/ar_content_pool.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "support/fhm_file.h"
#include "support/file_names.h"
#include "support/safe_alloc.h"

AR_CONTENT_POOL::~AR_CONTENT_POOL()
{
    clear();
}

bool AR_CONTENT_POOL::keep(const char* beside, const AR_MEMBER* member,
                           const unsigned char* bytes, size_t size)
{
    if (failed_ || BOUND - size_ < int64_t(size) || (file_ == nullptr && !make_file(beside)))
        return false;
    FILE* fp = file_->fp();
    if (fp == nullptr || fwrite(bytes, 1, size, fp) != size) {
        // What was written of this member is never read back.
        failed_ = true;
        return false;
    }
    entries_.push_back(ENTRY{member, size_});
    size_ += int64_t(size);
    return true;
}

// The name is taken away at once: nothing is left behind whatever happens
// next, and a signal in between finds the flag set and removes it. The
// handle is locked, since a file without a name could not be reopened after
// an eviction.
bool AR_CONTENT_POOL::make_file(const char* beside)
{
    char* dir = nullptr;
    fn_split(beside, &dir, nullptr, nullptr);
    name_ = fn_tmpnam(nullptr, "AR", dir);
    named_ = 1;
    file_ = fhm_open(name_, "w+b");
    unlink(name_);
    named_ = 0;
    free(name_);
    name_ = nullptr;
    FILE* fp = file_ != nullptr ? file_->fp() : nullptr;
    if (fp == nullptr) {
        failed_ = true;
        return false;
    }
    file_->lock(true);
    buffer_ = static_cast<char*>(safemalloc(BUFFER_SIZE));
    setvbuf(fp, buffer_, _IOFBF, BUFFER_SIZE);
    return true;
}

int64_t AR_CONTENT_POOL::take(const AR_MEMBER* member)
{
    if (next_ == entries_.size() || entries_[next_].member != member)
        return -1;
    return entries_[next_++].offset;
}

void AR_CONTENT_POOL::clear()
{
    if (file_ != nullptr)
        fhm_close(file_);
    file_ = nullptr;
    free(buffer_);
    buffer_ = nullptr;
    failed_ = false;
    size_ = 0;
    entries_.clear();
    entries_.shrink_to_fit();
    next_ = 0;
}

void AR_CONTENT_POOL::restore_files()
{
    if (named_) {
        unlink(name_);
        named_ = 0;
    }
}

#include "ar/lib/ar_block_reader.h"

#include <cstdlib>

#include "support/fhm_file.h"
#include "support/safe_alloc.h"

AR_BLOCK_READER::~AR_BLOCK_READER()
{
    attach(nullptr);
    free(block_);
}

void AR_BLOCK_READER::attach(FHM_FILE* file, int64_t end, bool lend)
{
    end_ = end;
    if (file == file_)
        return;
    if (file_ != nullptr && lend_)
        file_->clear_view();
    file_ = file;
    lend_ = lend;
    length_ = 0;
}

// The block grows to what the files read need, up to BLOCK_SIZE: a small
// archive or member file never costs a full block of memory.
void AR_BLOCK_READER::reserve(size_t size)
{
    if (size <= capacity_ && block_ != nullptr)   // mutants: skip (sizes only)
        return;
    size_t capacity = 4096;
    while (capacity < size)   // mutants: skip (sizes only)
        capacity *= 2;   // mutants: skip (sizes only)
    free(block_);
    block_ = static_cast<unsigned char*>(safemalloc(capacity));
    capacity_ = capacity;   // mutants: skip (sizes only)
}

long AR_BLOCK_READER::fetch(int64_t offset, size_t size, const unsigned char** bytes)
{
    if (size > BLOCK_SIZE)
        size = BLOCK_SIZE;
    if (file_ == nullptr || offset < 0)
        return -1;
    const bool held = offset >= start_ && uint64_t(offset - start_) <= length_ &&   // mutants: skip (never 0 bytes)
                      length_ - size_t(offset - start_) >= size;
    if (!held) {
        if (lend_)
            file_->clear_view();
        length_ = 0;   // mutants: skip (only a read failing half way could tell)
        size_t want = BLOCK_SIZE;
        if (end_ >= 0 && end_ - offset < int64_t(want))   // mutants: skip (equal, want is the same)
            want = end_ > offset ? size_t(end_ - offset) : 0;   // mutants: skip (0 at the end)
        reserve(want);
        const long got = want > 0 ? file_->read_at(block_, want, uint64_t(offset)) : 0;
        if (got < 0)
            return -1;
        start_ = offset;
        length_ = size_t(got);
        if (lend_)
            file_->set_view(block_, uint64_t(start_), length_);
    }
    const size_t at = size_t(offset - start_);
    *bytes = block_ + at;
    return long(length_ - at < size ? length_ - at : size);
}

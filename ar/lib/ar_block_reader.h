#ifndef ARWREN_AR_LIB_AR_BLOCK_READER_H
#define ARWREN_AR_LIB_AR_BLOCK_READER_H

#include <cstddef>
#include <cstdint>

class FHM_FILE;

// Reads one file in large blocks with positioned reads and keeps the latest
// block in memory. The block is lent to the file as its view (unless told
// not to), so that the object-file reader's loads from inside it cost no
// system call, and the stream's position is never used: walking an archive
// takes no seek.
class AR_BLOCK_READER {
public:
    static constexpr size_t BLOCK_SIZE = 512 * 1024;

    AR_BLOCK_READER() = default;
    ~AR_BLOCK_READER();
    AR_BLOCK_READER(const AR_BLOCK_READER&) = delete;
    AR_BLOCK_READER& operator=(const AR_BLOCK_READER&) = delete;

    // Reads from file from now on (null: none), keeping the block when it is
    // the same file. A file lent a view loses it again here, and must still
    // be open then; a file that may be closed behind the reader's back is
    // lent nothing. With end, no read goes beyond that position, so that a
    // file of known size is read in exactly as many reads as it has blocks.
    void attach(FHM_FILE* file, int64_t end = -1, bool lend = true);
    FHM_FILE* file() const { return file_; }
    // Makes up to size bytes at offset available at *bytes, reading a block
    // at offset unless the one in memory holds them all. Returns how many
    // are available: fewer at the end of the file, at most BLOCK_SIZE; -1
    // when the read failed.
    long fetch(int64_t offset, size_t size, const unsigned char** bytes);

private:
    void reserve(size_t size);

    FHM_FILE* file_ = nullptr;
    bool lend_ = false;     // the block is lent to file_ as its view
    unsigned char* block_ = nullptr;
    size_t capacity_ = 0;   // bytes allocated for block_
    int64_t end_ = -1;      // no read beyond this position; -1: none known
    int64_t start_ = 0;     // file position of the block's first byte
    size_t length_ = 0;     // bytes of the file in the block
};

#endif

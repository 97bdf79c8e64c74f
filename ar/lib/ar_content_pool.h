#ifndef ARWREN_AR_LIB_AR_CONTENT_POOL_H
#define ARWREN_AR_LIB_AR_CONTENT_POOL_H

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <vector>

class FHM_FILE;
struct AR_MEMBER;

// Member contents read whole by the index pass and kept for the copy that
// follows, so that each member file is read once per rewrite. They are kept
// in a temporary file beside the archive that loses its name as soon as it is
// made: the bytes wait in the system's file cache, not in this process, so
// memory stays the same whatever the library's size (and fresh memory costs a
// page fault for every 4 KiB, which the cache does not). The pool is bounded:
// a member that does not fit, or any member once the file cannot be made or
// written, is not kept, and the copy reads it again from its own file.
class AR_CONTENT_POOL {
public:
    static constexpr int64_t DEFAULT_BOUND = int64_t(32) << 20;

    explicit AR_CONTENT_POOL(int64_t bound = DEFAULT_BOUND) : bound_(bound) {}
    ~AR_CONTENT_POOL();
    AR_CONTENT_POOL(const AR_CONTENT_POOL&) = delete;
    AR_CONTENT_POOL& operator=(const AR_CONTENT_POOL&) = delete;

    // Room for the entries of count members, so that the list of kept
    // members never moves.
    void reserve(size_t count) { entries_.reserve(count); }
    // Keeps size bytes as member's contents, making the pool's file in the
    // directory of `beside` on first use; false when they are not kept.
    bool keep(const char* beside, const AR_MEMBER* member, const unsigned char* bytes, size_t size);
    // Ends keeping: what was kept reaches the file, or, when that fails,
    // nothing is handed out. False when nothing is.
    bool finish_keeping();
    // Where the contents kept for member lie in file(), each handed out once:
    // -1 when member was not kept or is not the next one kept. Members are
    // taken in the order they were kept, the order both passes walk in.
    int64_t take(const AR_MEMBER* member);
    FHM_FILE* file() const { return file_; }
    // Takes the file's name away if it could not be taken when the file was
    // made; false when it cannot be now either, and the file stays behind
    // under name(). Called before clear() by the pool's owner, who reports it.
    bool remove_name();
    const char* name() const { return name_; }
    // Closes the file, which then disappears.
    void clear();
    // Removes the file's name if a signal came between making and unlinking
    // it; only unlink(), so it is safe in a signal handler.
    void restore_files();

private:
    static constexpr size_t BUFFER_SIZE = 128 * 1024;
    static constexpr size_t NAME_TAIL_ROOM = 32;   // ".", a process id, ".pool", NUL

    bool make_file(const char* beside);
    void fail();

    int64_t bound_;                       // bytes the file may hold
    FHM_FILE* file_ = nullptr;
    bool failed_ = false;                 // the file could not be made or written
    char* name_ = nullptr;                // the name it was made under
    volatile sig_atomic_t named_ = 0;     // the file may still lie under name_
    char* buffer_ = nullptr;              // its stream's buffer
    int64_t size_ = 0;                    // bytes kept
    struct ENTRY {
        const AR_MEMBER* member;
        int64_t offset;                   // where its contents lie in the file
    };
    std::vector<ENTRY> entries_;
    size_t next_ = 0;                     // the entry take() hands out next
};

#endif

#ifndef ARWREN_SUPPORT_MZONE_H
#define ARWREN_SUPPORT_MZONE_H

#include <cstddef>
#include <cstdio>
#include <new>
#include <utility>

// An object with a virtual destructor that a zone destroys when it is reset
// or destroyed. A registered object lives in the zone's own memory (see
// MZONE::make): the zone runs its destructor and the memory goes with the
// zone's blocks.
class MZONE_OBJECT {
public:
    virtual ~MZONE_OBJECT() {}
};

// A memory zone: an arena from which many small records are carved and then
// freed all at once with the zone. Allocation never fails to the caller.
class MZONE {
public:
    MZONE(unsigned min_alloc = 1024, const char* name = "", int flag = 0);
    ~MZONE();
    MZONE(const MZONE&) = delete;
    MZONE& operator=(const MZONE&) = delete;

    void* alloc(size_t size);              // zero-filled, 8-byte aligned
    char* strdup(const char* text);        // a copy of text carved from the zone
    void reset();
    void set_min_alloc(unsigned n);
    unsigned id() const;
    unsigned avail() const;
    unsigned requested() const;
    unsigned peak() const;
    void register_object(MZONE_OBJECT* object);
    void adjust_mempoolsz();               // hook for containers; keeps no state
    void dump(bool verbose) const;
    void dump(FILE* out, bool verbose) const;

    // Carves a T from the zone, constructs it and registers it, so that its
    // destructor runs when the zone is reset or destroyed.
    template <class T, class... Args>
    T* make(Args&&... args) {
        static_assert(alignof(T) <= 8, "zone memory is 8-byte aligned");
        T* object = new (alloc(sizeof(T))) T(std::forward<Args>(args)...);
        register_object(object);
        return object;
    }

private:
    struct BLOCK;
    void new_block(size_t size);
    void free_blocks(bool keep_newest);
    void destroy_objects();

    unsigned min_alloc_;
    unsigned avail_;
    BLOCK* blocks_;
    unsigned requested_;
    unsigned peak_;
    unsigned id_;
    const char* name_;
    int flag_;
    struct OBJECT_NODE;
    OBJECT_NODE* objects_;
    OBJECT_NODE* objects_tail_;
};

// The process-wide usage report of all zones (debugging only).
void zreport(FILE* out = stdout);

#endif

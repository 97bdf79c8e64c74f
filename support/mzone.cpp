#include "support/mzone.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "support/safe_alloc.h"

// One block of zone memory; the usable bytes follow the record itself.
struct MZONE::BLOCK {
    BLOCK* next;           // the next older block
    unsigned char* memory; // first usable byte
    unsigned size;         // usable bytes
};

struct MZONE::OBJECT_NODE {
    MZONE_OBJECT* object;
    OBJECT_NODE* next;
};

namespace {

// The usable bytes start at a 16-byte boundary after the block record, so
// that with the zone's own 8-byte rounding every result is 8-byte aligned.
const size_t BLOCK_HEADER = 32;

const unsigned REGISTRY_SIZE = 20;
const MZONE* zone_registry[REGISTRY_SIZE];
unsigned zone_counter = 0;
unsigned long long bytes_current = 0;
unsigned long long bytes_peak = 0;

[[noreturn]] void zone_out_of_memory() {
    fputs("OUT OF MEMORY - APPLICATION ABORTED\n", stderr);
    exit(1);
}

void registry_add(const MZONE* zone) {
    for (unsigned i = 0; i < REGISTRY_SIZE; ++i) {
        if (zone_registry[i] == nullptr) {
            zone_registry[i] = zone;
            return;
        }
    }
}

void registry_remove(const MZONE* zone) {
    for (unsigned i = 0; i < REGISTRY_SIZE; ++i) {
        if (zone_registry[i] == zone)
            zone_registry[i] = nullptr;
    }
}

// Byte counts in the report: plain up to 999, then thousands, then millions.
void print_count(FILE* out, const char* format, unsigned long long n) {
    char text[32];
    if (n <= 999)
        snprintf(text, sizeof text, "%llu", n);
    else if (n <= 999999)
        snprintf(text, sizeof text, "%lluK", n / 1000);
    else
        snprintf(text, sizeof text, "%lluM", n / 1000000);
    fprintf(out, format, text);
}

}  // namespace

MZONE::MZONE(unsigned min_alloc, const char* name, int flag)
    : min_alloc_(min_alloc), avail_(0), blocks_(nullptr), requested_(0),
      peak_(0), id_(zone_counter++), name_(name ? name : ""), flag_(flag),
      objects_(nullptr), objects_tail_(nullptr) {
    registry_add(this);
}

MZONE::~MZONE() {
    destroy_objects();
    free_blocks(false);
    registry_remove(this);
}

// Adds a zero-filled block of max(size, min_alloc) bytes at the head of the
// chain; the zone's counters are unsigned, so a block they cannot describe
// is as impossible as one the system refuses.
void MZONE::new_block(size_t size) {
    static_assert(sizeof(BLOCK) <= BLOCK_HEADER, "the block record fits before its memory");
    size_t bytes = size > min_alloc_ ? size : min_alloc_;
    if (bytes > UINT_MAX - BLOCK_HEADER)
        zone_out_of_memory();
    void* raw = calloc(1, BLOCK_HEADER + bytes);
    if (raw == nullptr)
        zone_out_of_memory();
    BLOCK* block = static_cast<BLOCK*>(raw);
    block->memory = static_cast<unsigned char*>(raw) + BLOCK_HEADER;
    block->size = static_cast<unsigned>(bytes);
    block->next = blocks_;
    blocks_ = block;
    avail_ = block->size;
    bytes_current += bytes;
    if (bytes_current > bytes_peak)
        bytes_peak = bytes_current;
}

// Every result is rounded up to a multiple of 8, and a request that already
// is one consumes 8 bytes more: avail drops by (size & ~7) + 8. This keeps
// every result 8-byte aligned and is the zone's long-standing accounting.
void* MZONE::alloc(size_t size) {
    if (blocks_ == nullptr || avail_ < size)
        new_block(size);
    unsigned char* result = blocks_->memory + (blocks_->size - avail_);
    if (avail_ - size > 7)
        avail_ -= static_cast<unsigned>((size & ~static_cast<size_t>(7)) + 8);
    else
        avail_ = 0;
    requested_ += static_cast<unsigned>(size);
    if (requested_ > peak_)
        peak_ = requested_;
    return result;
}

char* MZONE::strdup(const char* text) {
    if (text == nullptr)
        return nullptr;
    size_t length = strlen(text);
    char* copy = static_cast<char*>(alloc(length + 1));
    memcpy(copy, text, length);  // the terminator is already zero
    return copy;
}

void MZONE::reset() {
    destroy_objects();
    free_blocks(true);
    if (blocks_ != nullptr) {
        memset(blocks_->memory, 0, blocks_->size - avail_);
        avail_ = blocks_->size;
    }
    requested_ = 0;
}

void MZONE::free_blocks(bool keep_newest) {
    BLOCK* block = blocks_;
    if (keep_newest && block != nullptr)
        block = block->next;
    while (block != nullptr) {
        BLOCK* next = block->next;
        bytes_current -= block->size;
        free(block);
        block = next;
    }
    if (keep_newest && blocks_ != nullptr) {
        blocks_->next = nullptr;
    } else {
        blocks_ = nullptr;
        avail_ = 0;
    }
}

void MZONE::destroy_objects() {
    OBJECT_NODE* node = objects_;
    objects_ = objects_tail_ = nullptr;
    while (node != nullptr) {
        OBJECT_NODE* next = node->next;
        node->object->~MZONE_OBJECT();
        free(node);
        node = next;
    }
}

void MZONE::register_object(MZONE_OBJECT* object) {
    if (object == nullptr)
        return;
    OBJECT_NODE* node = static_cast<OBJECT_NODE*>(safemalloc(sizeof(OBJECT_NODE)));
    node->object = object;
    node->next = nullptr;
    if (objects_tail_ != nullptr)
        objects_tail_->next = node;
    else
        objects_ = node;
    objects_tail_ = node;
}

void MZONE::set_min_alloc(unsigned n) { min_alloc_ = n; }
unsigned MZONE::id() const { return id_; }
unsigned MZONE::avail() const { return avail_; }
unsigned MZONE::requested() const { return requested_; }
unsigned MZONE::peak() const { return peak_; }

// Containers call this after growing; the zone sizes its blocks from
// min_alloc alone, so there is nothing to adjust.
void MZONE::adjust_mempoolsz() {}

void MZONE::dump(bool verbose) const { dump(stdout, verbose); }

void MZONE::dump(FILE* out, bool verbose) const {
    unsigned count = 0;
    unsigned long long bytes = 0;
    for (const BLOCK* block = blocks_; block != nullptr; block = block->next) {
        ++count;
        bytes += block->size;
    }
    fprintf(out, "Zone %u '%s' (flag %d): %u blocks, %llu bytes, %u available\n",
            id_, name_, flag_, count, bytes, avail_);
    fprintf(out, "  requested %u, peak %u\n", requested_, peak_);
    if (!verbose)
        return;
    for (const BLOCK* block = blocks_; block != nullptr; block = block->next)
        fprintf(out, "  block %p: %u bytes\n", static_cast<const void*>(block->memory), block->size);
}

void zreport(FILE* out) {
    if (out == nullptr)
        out = stdout;
    fputs("\nMemory zone usage\n-----------------\n", out);
    print_count(out, "Maximum allocated  :  %s bytes\n", bytes_peak);
    print_count(out, "Currently allocated:  %s bytes\n\n", bytes_current);
    for (unsigned i = 0; i < REGISTRY_SIZE; ++i) {
        if (zone_registry[i] != nullptr)
            zone_registry[i]->dump(out, false);
    }
}

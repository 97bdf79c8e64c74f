#include "support/safe_alloc.h"

#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void out_of_memory() {
    fputs("ERROR: out of memory\n", stderr);
    exit(1);
}

}  // namespace

// A request of zero bytes asks for one, so that a null result always means
// the system has no memory left.
void* safemalloc(size_t n) {
    void* p = malloc(n != 0 ? n : 1);
    if (p == nullptr)
        out_of_memory();
    return p;
}

void* safecalloc(size_t count, size_t n) {
    if (count == 0 || n == 0)
        count = n = 1;
    void* p = calloc(count, n);
    if (p == nullptr)
        out_of_memory();
    return p;
}

void* saferealloc(void* p, size_t n) {
    void* q = realloc(p, n != 0 ? n : 1);
    if (q == nullptr)
        out_of_memory();
    return q;
}

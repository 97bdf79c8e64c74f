#ifndef ARWREN_SUPPORT_SAFE_ALLOC_H
#define ARWREN_SUPPORT_SAFE_ALLOC_H

#include <cstddef>

// The platform allocators that never return null: on failure they print
// "ERROR: out of memory\n" and end the process with status 1.
void* safemalloc(size_t n);
void* safecalloc(size_t count, size_t n);
void* saferealloc(void* p, size_t n);

#endif

#ifndef ARWREN_AR_LIB_AR_SYMBOL_H
#define ARWREN_AR_LIB_AR_SYMBOL_H

#include <cstdint>

struct AR_MEMBER;

// One entry of the archive's symbol index ("/" member).
struct AR_SYMBOL {
    char* name;          // copied into the archive's zone; may be empty
    AR_MEMBER* member;   // the defining member (null for an index read from disk)
    int32_t offset;      // header offset of that member in the archive being written
    AR_SYMBOL* next;
};

#endif

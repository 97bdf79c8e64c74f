#ifndef ARWREN_AR_LIB_AR_MEMBER_H
#define ARWREN_AR_LIB_AR_MEMBER_H

#include <cstdint>

// One member of an archive, in archive order. Records live in the archive's
// zone and are never freed singly.
struct AR_MEMBER {
    char* name;                 // without its "/" terminator
    int32_t long_name_offset;   // offset in the long-name table when written; 0 for a short name
    int32_t date;               // seconds since the epoch
    int32_t size;               // data size in bytes, padding not counted
    int32_t data_offset;        // data position in the input archive; 0 when it comes from a file
    AR_MEMBER* next;
    AR_MEMBER* prev;
    char* path;                 // file supplying a new or replaced member; null otherwise
    int32_t header_offset;      // header position in the archive being written
};

#endif

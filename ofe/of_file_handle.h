#ifndef ARWREN_OFE_OF_FILE_HANDLE_H
#define ARWREN_OFE_OF_FILE_HANDLE_H

#include <cstdint>

#include "ofe/of_types.h"

class FHM_FILE;

namespace OFE {

// Where an object file lies and what it is. Passed by value; sniffing
// (OBJECT_FILE::determine_file_properties) fills the properties in place.
struct OF_FILE_HANDLE {
    FHM_FILE* file = nullptr;        // the open file; may be null
    const char* name = nullptr;      // file or member name; not owned
    OF_FORMAT format = OF_FORMAT_UNKNOWN;
    OF_FORMAT_VER format_version = OF_FORMAT_VER_UNKNOWN;
    OF_ENDIAN endian = OF_ENDIAN_UNKNOWN;   // byte order of the file's headers
    OF_MACHINE machine = OF_MACHINE_UNKNOWN;
    uint32_t offset = 0;             // absolute position in file where the object begins
    uint32_t size = 0;               // the object's extent; 0 = up to the end of the file
    bool owns_file = false;          // the OBJECT_FILE closes file when destroyed
};

}  // namespace OFE

#endif

#ifndef ARWREN_OFE_OF_TYPES_H
#define ARWREN_OFE_OF_TYPES_H

// The vocabulary shared by every part of the object-file library. The numeric
// values are fixed: callers and tests compare against them.

namespace OFE {

enum OF_FORMAT {
    OF_FORMAT_UNKNOWN = 0,
    OF_FORMAT_NUCOFF = 1,
    OF_FORMAT_ELF = 2
};

enum OF_FORMAT_VER {
    OF_FORMAT_VER_UNKNOWN = 0,
    OF_FORMAT_VER_COFF0 = 1,   // no version magic: the first half-word is the target ID
    OF_FORMAT_VER_COFF1 = 2,
    OF_FORMAT_VER_COFF2 = 3,
    OF_FORMAT_VER_ELF1 = 4     // e_version 1
};

enum OF_ENDIAN {
    OF_ENDIAN_UNKNOWN = 0,
    OF_ENDIAN_LITTLE = 1,
    OF_ENDIAN_BIG = 2
};

enum OF_MACHINE {
    OF_MACHINE_UNKNOWN = 0,
    OF_MACHINE_ARM = 1,
    OF_MACHINE_LARK = 2,
    OF_MACHINE_WREN = 3,
    OF_MACHINE_FINCH = 4,
    OF_MACHINE_ROBIN = 5,
    OF_MACHINE_HERON = 6,
    OF_MACHINE_ROBINP = 7,
    OF_MACHINE_OWL = 8,
    OF_MACHINE_KITE = 9,
    OF_MACHINE_SWIFT = 10,
    OF_MACHINE_EGRET = 11,
    OF_MACHINE_LAST = OF_MACHINE_EGRET
};

enum OF_FILE_TYPE {
    OF_FILE_TYPE_UNKNOWN = 0,
    OF_FILE_TYPE_RELOCATABLE = 1,
    OF_FILE_TYPE_EXECUTABLE = 2,
    OF_FILE_TYPE_SHARED = 3,
    OF_FILE_TYPE_CORE = 4
};

// Codes 1, 2, 3, 5 and 7 are severe: the first one raised for a file sticks.
// Codes 4 and 6 are mild and 8 sits between them (see OBJECT_FILE::set_error).
enum OF_ERROR_CODE {
    OF_NO_ERROR = 0,
    OF_ERR_FORMAT = 1,
    OF_ERR_ACCESS = 2,
    OF_ERR_CORRUPT = 3,
    OF_ERR_WARNING = 4,
    OF_ERR_ILLEGAL_OP = 5,
    OF_ERR_TRUNCATED = 6,
    OF_ERR_INTERNAL = 7,
    OF_ERR_DEVELOPMENT = 8
};

enum OF_STATE {
    OF_STATE_OPEN = 0,        // contents may be edited
    OF_STATE_LOCKED = 1,      // contents frozen
    OF_STATE_FORMATTED = 2,   // file layout computed
    OF_STATE_SAVED = 3        // written out
};

}  // namespace OFE

#endif

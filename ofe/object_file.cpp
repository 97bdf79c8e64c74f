#include "ofe/object_file.h"

namespace OFE {

OBJECT_FILE* OBJECT_FILE::new_OBJECT_FILE(FHM_FILE*, unsigned long, const char*, OF_ERROR_CALLBACK) {
    return nullptr;
}

}  // namespace OFE

#include "ofe/of_section.h"

#include <cstdlib>

#include "ofe/object_file.h"
#include "ofe/of_machine_db.h"
#include "support/file_names.h"

namespace OFE {

// The unit comes from the family: the database counts bits, a section bytes.
OF_SECTION::OF_SECTION(OBJECT_FILE* file) : OF_STATE_MACHINE(file), name_(nullptr), unit_size_(1) {
    if (file && file->machine_db() && file->machine_db()->unit_size() >= 8)
        unit_size_ = file->machine_db()->unit_size() / 8;
}

OF_SECTION::~OF_SECTION() { free(name_); }

int OF_SECTION::set_name(const char* name) {
    if (max_state(OF_STATE_OPEN) != 0)
        return -1;
    free(name_);
    name_ = name ? fn_realname(name) : nullptr;
    return 0;
}

}  // namespace OFE

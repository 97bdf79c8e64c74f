#include "ofe/of_section.h"

#include "ofe/object_file.h"
#include "ofe/of_machine_db.h"

namespace OFE {

// The unit comes from the family: the database counts bits, a section bytes.
OF_SECTION::OF_SECTION(OBJECT_FILE* file) : OF_STATE_MACHINE(file), unit_size_(1) {
    if (file && file->machine_db() && file->machine_db()->unit_size() >= 8)
        unit_size_ = file->machine_db()->unit_size() / 8;
}

OF_SECTION::~OF_SECTION() {}

int OF_SECTION::set_name(const char* name) {
    if (max_state(OF_STATE_OPEN) != 0)
        return -1;
    name_.set(name);
    return 0;
}

}  // namespace OFE

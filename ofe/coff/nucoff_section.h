#ifndef ARWREN_OFE_COFF_NUCOFF_SECTION_H
#define ARWREN_OFE_COFF_NUCOFF_SECTION_H

#include "ofe/coff/nucoff_scnhdr.h"
#include "ofe/of_section.h"
#include "support/data_map.h"

namespace OFE {

// One NU-COFF section: its header as read and its contents, a map bound to
// the file that is read only when something looks at it.
class NUCOFF_SECTION : public OF_SECTION {
public:
    explicit NUCOFF_SECTION(OBJECT_FILE* file) : OF_SECTION(file) {}

    int progress_to_state(OF_STATE) override { return 0; }
    int revert_to_state(OF_STATE) override { return 0; }
    unsigned long address() override { return header_.vaddr(); }
    unsigned long size() override { return header_.size(); }
    // Sections without raw data (uninitialised ones) have no data offset.
    bool initialized() override { return header_.scnptr() != 0; }
    DATA_MAP& contents() override { return contents_; }

    NUCOFF_SCNHDR& header() { return header_; }

private:
    NUCOFF_SCNHDR header_;
    DATA_MAP contents_;
};

}  // namespace OFE

#endif

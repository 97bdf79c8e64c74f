#ifndef ARWREN_OFE_OF_SECTION_H
#define ARWREN_OFE_OF_SECTION_H

#include "ofe/of_name.h"
#include "ofe/of_state_machine.h"

class DATA_MAP;

namespace OFE {

// One section of an object file, format-independent. Its contents are a map
// that the back end binds to the file and that is read only when used.
class OF_SECTION : public OF_STATE_MACHINE {
public:
    explicit OF_SECTION(OBJECT_FILE* file);
    ~OF_SECTION() override;

    virtual unsigned long address() = 0;
    virtual unsigned long size() = 0;
    virtual bool initialized() = 0;     // the contents are stored in the file
    virtual DATA_MAP& contents() = 0;

    const char* name() const { return name_.get(); }
    int set_name(const char* name);     // a private copy; null stays null
    // Bytes in one addressable unit of the section's memory.
    unsigned long unit_size() const { return unit_size_; }
    void set_unit_size(unsigned long bytes) { unit_size_ = bytes; }

private:
    OF_NAME name_;
    unsigned long unit_size_;
};

}  // namespace OFE

#endif

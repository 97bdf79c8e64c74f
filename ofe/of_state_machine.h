#ifndef ARWREN_OFE_OF_STATE_MACHINE_H
#define ARWREN_OFE_OF_STATE_MACHINE_H

#include "ofe/of_types.h"

namespace OFE {

class OBJECT_FILE;

// The four-state lifecycle (open, locked, formatted, saved) that an object
// file and every table inside it follow. A table never reports a state below
// its file's. Failures are raised against the owning file and return -1.
class OF_STATE_MACHINE {
public:
    explicit OF_STATE_MACHINE(OBJECT_FILE* owner) : state_(OF_STATE_OPEN), owner_(owner) {}
    virtual ~OF_STATE_MACHINE() {}
    OF_STATE_MACHINE(const OF_STATE_MACHINE&) = delete;
    OF_STATE_MACHINE& operator=(const OF_STATE_MACHINE&) = delete;

    // One step up (to state) or back down (to state); 0 on success.
    virtual int progress_to_state(OF_STATE state) = 0;
    virtual int revert_to_state(OF_STATE state) = 0;

    OF_STATE state() const;
    int max_state(OF_STATE limit);
    int min_state(OF_STATE limit);
    int set_state(OF_STATE target);
    int reset_state(OF_STATE target);

    OBJECT_FILE* owner() const { return owner_; }
    static const char* state_name(int state);

private:
    OF_STATE state_;
    OBJECT_FILE* owner_;
};

}  // namespace OFE

#endif

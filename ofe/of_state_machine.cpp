#include "ofe/of_state_machine.h"

#include "ofe/object_file.h"

namespace OFE {

namespace {

// The messages keep their trailing blank: callers append nothing after it.
const char kAtMostMessage[] =
    "this OBJECT_FILE object is currently in the %s state, and must be in at most the %s "
    "state to perform the requested operation ";
const char kAtLeastMessage[] =
    "this OBJECT_FILE object is currently in the %s state, and must be in at least the %s "
    "state to perform the requested operation ";
const char kCannotRevertMessage[] =
    "this OBJECT_FILE object is currently in the %s state, and cannot revert to the %s "
    "state to perform the requested operation ";
const char kProgressFailedMessage[] =
    "an error was encountered while progressing an OBJECT_FILE object from the %s to the %s state";
const char kRevertFailedMessage[] =
    "an error was encountered while reverting an OBJECT_FILE object from the %s to the %s state";

}  // namespace

const char* OF_STATE_MACHINE::state_name(int state) {
    switch (state) {
    case OF_STATE_OPEN: return "open";
    case OF_STATE_LOCKED: return "locked";
    case OF_STATE_FORMATTED: return "formatted";
    case OF_STATE_SAVED: return "saved";
    default: return "unknown";
    }
}

OF_STATE OF_STATE_MACHINE::state() const {
    const OF_STATE_MACHINE* file = owner_;
    if (file && file != this && file->state_ > state_)
        return file->state_;
    return state_;
}

int OF_STATE_MACHINE::max_state(OF_STATE limit) {
    OF_STATE current = state();
    if (current <= limit)
        return 0;
    if (owner_)
        owner_->set_error(OF_ERR_ILLEGAL_OP, kAtMostMessage, state_name(current), state_name(limit));
    return -1;
}

int OF_STATE_MACHINE::min_state(OF_STATE limit) {
    OF_STATE current = state();
    if (current >= limit)
        return 0;
    if (owner_)
        owner_->set_error(OF_ERR_ILLEGAL_OP, kAtLeastMessage, state_name(current), state_name(limit));
    return -1;
}

// Progresses one state at a time so that each back end step sees its
// predecessor completed; the recorded state only moves when all steps worked.
int OF_STATE_MACHINE::set_state(OF_STATE target) {
    OF_STATE current = state();
    if (target == current)
        return 0;
    if (target < current) {
        if (owner_)
            owner_->set_error(OF_ERR_ILLEGAL_OP, kCannotRevertMessage, state_name(current),
                              state_name(target));
        return -1;
    }
    for (int step = current + 1; step <= target; ++step) {
        if (progress_to_state(static_cast<OF_STATE>(step)) != 0) {
            if (owner_)
                owner_->set_error(OF_ERR_INTERNAL, kProgressFailedMessage, state_name(step - 1),
                                  state_name(step));
            return -1;
        }
    }
    state_ = target;
    return 0;
}

int OF_STATE_MACHINE::reset_state(OF_STATE target) {
    OF_STATE current = state();
    if (target == current)
        return 0;
    if (target > current) {
        if (owner_)
            owner_->set_error(OF_ERR_ILLEGAL_OP, kAtLeastMessage, state_name(current),
                              state_name(target));
        return -1;
    }
    if (revert_to_state(target) != 0) {
        if (owner_)
            owner_->set_error(OF_ERR_INTERNAL, kRevertFailedMessage, state_name(current),
                              state_name(target));
        return -1;
    }
    state_ = target;
    return 0;
}

}  // namespace OFE

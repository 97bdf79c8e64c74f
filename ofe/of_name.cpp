#include "ofe/of_name.h"

#include <cstdlib>
#include <cstring>

#include "support/file_names.h"

namespace OFE {

OF_NAME::~OF_NAME() {
    if (on_heap())
        free(text_);
}

// The copy is made before the old one is let go, so that a name may be set
// from itself.
void OF_NAME::set(const char* text) {
    char* old = on_heap() ? text_ : nullptr;
    const size_t size = text != nullptr ? strlen(text) + 1 : 0;
    if (text == nullptr) {
        text_ = nullptr;
    } else if (size <= INLINE_SIZE) {   // mutants: skip (where a name is kept is not seen)
        memmove(inline_, text, size);
        text_ = inline_;
    } else {
        text_ = fn_realname(text);
    }
    free(old);
}

}  // namespace OFE

#ifndef ARWREN_OFE_OF_NAME_H
#define ARWREN_OFE_OF_NAME_H

#include <cstddef>

namespace OFE {

// A private copy of a section's or a symbol's name. A name that fits is
// kept inside the object itself, a longer one in memory of its own: an
// object file's names are mostly short, and a record is made for every
// section and symbol read, so most copies then cost no allocation.
class OF_NAME {
public:
    OF_NAME() = default;
    ~OF_NAME();
    OF_NAME(const OF_NAME&) = delete;
    OF_NAME& operator=(const OF_NAME&) = delete;

    const char* get() const { return text_; }
    void set(const char* text);   // a copy; null stays null

private:
    static const size_t INLINE_SIZE = 32;   // the NUL included

    bool on_heap() const { return text_ != nullptr && text_ != inline_; }

    char* text_ = nullptr;
    char inline_[INLINE_SIZE];
};

}  // namespace OFE

#endif

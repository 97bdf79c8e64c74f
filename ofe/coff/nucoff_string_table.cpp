#include "ofe/coff/nucoff_string_table.h"

namespace OFE {

namespace {

const unsigned long kLengthWordSize = 4;   // the smallest offset of a name

}  // namespace

const char* NUCOFF_STRING_TABLE::get_string(unsigned long offset) {
    if (offset < kLengthWordSize)
        return nullptr;
    return OF_STRING_TABLE::get_string(offset);
}

}  // namespace OFE

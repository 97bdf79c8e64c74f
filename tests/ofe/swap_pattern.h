#ifndef ARWREN_TESTS_OFE_SWAP_PATTERN_H
#define ARWREN_TESTS_OFE_SWAP_PATTERN_H

#include <algorithm>
#include <string>
#include <vector>

// The bytes of a record laid out as `fields` says, one character per field
// in order: a digit is the field's width in bytes, holding 1, 2, 3, ... by
// position ('1' is a single byte, never swapped); '0' is a zero byte. With
// `swapped` every field's bytes are reversed, as a byte-order swap does.
inline std::vector<unsigned char> swap_pattern(const std::string& fields, bool swapped) {
    std::vector<unsigned char> bytes;
    for (char field : fields) {
        const size_t first = bytes.size();
        if (field == '0')
            bytes.push_back(0);
        for (int i = 0; i < field - '0'; ++i)
            bytes.push_back(static_cast<unsigned char>(bytes.size() + 1));
        if (swapped)
            std::reverse(bytes.begin() + first, bytes.end());
    }
    return bytes;
}

#endif

#include "ofe/coff/nucoff_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "support/data_map.h"

using namespace OFE;

namespace {

typedef std::vector<std::pair<unsigned, unsigned>> FIELDS;   // offset, width
typedef std::function<void(const DATA_MAP&, unsigned char*, bool)> READER;

// The bytes 1, 2, 3, ... of a record with exactly the listed fields reversed;
// with zero_name the first name word is zero.
std::vector<unsigned char> pattern(size_t size, const FIELDS& swapped, bool zero_name = false) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(zero_name && i < 4 ? 0 : i + 1);
    for (const auto& field : swapped)
        std::reverse(bytes.begin() + field.first, bytes.begin() + field.first + field.second);
    return bytes;
}

template <typename Record>
READER reader(int (*read)(const DATA_MAP&, Record&, bool)) {
    return [read](const DATA_MAP& map, unsigned char* out, bool swap) {
        Record rec;
        memset(&rec, 0, sizeof rec);
        read(map, rec, swap);
        memcpy(out, &rec, sizeof rec);
    };
}

// A field swapper with its flags, as a reader that swaps only when asked.
template <typename Record>
READER fields(void (*swapper)(Record&, unsigned), unsigned flags) {
    return [swapper, flags](const DATA_MAP& map, unsigned char* out, bool swap) {
        Record rec;
        map.read(&rec, sizeof rec);
        if (swap)
            swapper(rec, flags);
        memcpy(out, &rec, sizeof rec);
    };
}

// Every reader copies its record as stored and, asked to swap, reverses
// exactly the listed fields; the cursor moves by the record's size.
TEST(NucoffRecordsTest, ReadersSwapExactlyTheirFields) {
    const FIELDS scnhdr2 = {{8, 4}, {12, 4}, {16, 4}, {20, 4}, {24, 4}, {28, 4}, {32, 4}, {36, 4}, {40, 4}, {46, 2}};
    FIELDS scnhdr2_offset = scnhdr2;
    scnhdr2_offset.push_back({4, 4});
    const struct {
        const char* what;
        size_t size;
        READER read;
        FIELDS swapped;
        bool zero_name;
    } cases[] = {
        {"filehdr1", 22, reader(read_NUCoff_filehdr1),
         {{0, 2}, {2, 2}, {4, 4}, {8, 4}, {12, 4}, {16, 2}, {18, 2}, {20, 2}}, false},
        {"aouthdr", 28, reader(read_NUCoff_aouthdr),
         {{0, 2}, {2, 2}, {4, 4}, {8, 4}, {12, 4}, {16, 4}, {20, 4}, {24, 4}}, false},
        {"scnhdr0: name and single bytes kept", 40, reader(read_NUCoff_scnhdr0),
         {{8, 4}, {12, 4}, {16, 4}, {20, 4}, {24, 4}, {28, 4}, {32, 2}, {34, 2}, {36, 2}}, true},
        {"scnhdr2: inline name and reserved bytes kept", 48, reader(read_NUCoff_scnhdr2), scnhdr2, false},
        {"scnhdr2: string-table offset swapped", 48, reader(read_NUCoff_scnhdr2), scnhdr2_offset, true},
        {"syment: inline name", 18, reader(read_NUCoff_syment), {{8, 4}, {12, 2}, {14, 2}}, false},
        {"syment: string-table offset", 18, reader(read_NUCoff_syment), {{4, 4}, {8, 4}, {12, 2}, {14, 2}}, true},
        {"aux section", 18, reader(read_NUCoff_aux_scn), {{0, 4}, {4, 2}, {6, 2}}, false},
        {"aux file", 18, reader(read_NUCoff_aux_file), {}, false},
        {"aux symbol", 18, reader(read_NUCoff_aux_sym), {{0, 4}, {4, 4}}, false},
        {"aux function", 18, reader(read_NUCoff_aux_func), {{0, 4}, {4, 4}, {8, 4}, {12, 4}}, false},
        {"aux end of structure", 18, reader(read_NUCoff_aux_eos), {{0, 4}, {4, 4}}, false},
        {"aux tag: first word kept", 18, reader(read_NUCoff_aux_tag), {{4, 4}, {12, 4}}, false},
        {"aux array: size word kept", 18, reader(read_NUCoff_aux_array),
         {{0, 4}, {8, 2}, {10, 2}, {12, 2}, {14, 2}}, false},
        {"aux block", 18, reader(read_NUCoff_aux_block), {{0, 4}, {4, 2}, {6, 2}, {8, 4}, {12, 4}}, false},
        {"reloc0: type only", 10, reader(read_NUCoff_reloc0), {{8, 2}}, false},
        {"reloc1: type only", 12, reader(read_NUCoff_reloc1), {{10, 2}}, false},
        {"reloc0 fields", 10, fields(swap_NUCoff_reloc0_fields, 0), {{0, 4}}, false},
        {"reloc0 word", 10, fields(swap_NUCoff_reloc0_fields, NUCOFF_RELOC_MIDDLE_WORD), {{0, 4}, {4, 4}}, false},
        {"reloc1 halves", 12, fields(swap_NUCoff_reloc1_fields, NUCOFF_RELOC_MIDDLE_HALVES),
         {{0, 4}, {4, 2}, {6, 2}, {8, 2}}, false},
        {"lineno", 6, reader(read_NUCoff_lineno), {{0, 4}, {4, 2}}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<unsigned char> raw = pattern(c.size, FIELDS(), c.zero_name);
        DATA_MAP in;
        in.set_data(raw.data(), raw.size());
        std::vector<unsigned char> got(c.size);
        c.read(in, got.data(), false);
        EXPECT_EQ(got, raw);
        in.set_cursor(0);
        c.read(in, got.data(), true);
        EXPECT_EQ(in.cursor(), c.size);
        EXPECT_EQ(got, pattern(c.size, c.swapped, c.zero_name));
    }
}

// The short header reads 20 bytes but is swapped as the long form: the
// target ID slot holds the caller's value, reversed.
TEST(NucoffRecordsTest, ShortFileHeaderSwappedAsLongForm) {
    const std::vector<unsigned char> raw = pattern(24, FIELDS());
    DATA_MAP in;
    in.set_data(raw.data(), raw.size());
    filehdr header;
    header.f_target_id = 0x1234;
    read_NUCoff_filehdr0(in, header, true);
    EXPECT_EQ(in.cursor(), 20u);
    EXPECT_EQ(+header.f_target_id, 0x3412);   // packed fields are compared as values
    EXPECT_EQ(+header.f_flags, 0x1314);
}

}  // namespace

#include "ofe/coff/nucoff_records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ofe/test_object_file.h"
#include "support/data_map.h"

using namespace OFE;

namespace {

typedef std::function<void(const DATA_MAP&, unsigned char*, bool)> READER;

template <typename Record>
READER reader(int (*read)(const DATA_MAP&, Record&, bool)) {
    return [read](const DATA_MAP& map, unsigned char* out, bool swap) {
        Record rec;
        memset(&rec, 0, sizeof rec);
        read(map, rec, swap);
        memcpy(out, &rec, sizeof rec);
    };
}

// The records an archive's index reads, copied as stored and, asked to swap,
// with exactly the multi-byte fields reversed (layouts as swap_pattern reads
// them); the cursor moves by the record's size. A name whose first word is
// zero keeps a string-table offset, swapped, in its second word.
TEST(NucoffRecordsTest, ReadersSwapExactlyTheirFields) {
    const std::string name(8, '1');
    const struct { const char* what; READER read; std::string layout; } cases[] = {
        {"filehdr1", reader(read_NUCoff_filehdr1), "22444222"},
        {"scnhdr0: name and single bytes kept", reader(read_NUCoff_scnhdr0), "00001111" "444444" "222" "11"},
        {"scnhdr2: inline name and reserved bytes kept", reader(read_NUCoff_scnhdr2), name + "444444444" "112"},
        {"scnhdr2: string-table offset", reader(read_NUCoff_scnhdr2), "00004" "444444444" "112"},
        {"syment: inline name", reader(read_NUCoff_syment), name + "42211"},
        {"syment: string-table offset", reader(read_NUCoff_syment), "00004" "42211"},
        {"aux function", reader(read_NUCoff_aux_func), "444411"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<unsigned char> raw = swap_pattern(c.layout, false);
        DATA_MAP in;
        in.set_data(raw.data(), raw.size());
        std::vector<unsigned char> got(raw.size());
        c.read(in, got.data(), false);
        EXPECT_EQ(got, raw);
        in.set_cursor(0);
        c.read(in, got.data(), true);
        EXPECT_EQ(in.cursor(), raw.size());
        EXPECT_EQ(got, swap_pattern(c.layout, true));
    }
}

}  // namespace

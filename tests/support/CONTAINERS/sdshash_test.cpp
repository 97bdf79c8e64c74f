#include "support/CONTAINERS/sdshash.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "support/mzone.h"
#include "support/text_capture.h"

namespace {

unsigned long str_hash_of(const char* text, int rows) { return str_hash(&text, rows); }

unsigned long word_hash(unsigned long (*hash)(const void*, int), unsigned long word, int rows) {
    return hash(&word, rows);
}

// Rows below 1 give row 0 rather than a division by zero.
TEST(HashFunctions, StrHashFoldsTheTopNibbleAndReadsSignedBytes) {
    const struct { unsigned long got, want; } cases[] = {
        {str_hash_of("ab", 7), (0x61 * 16 + 0x62) % 7},
        {str_hash_of("\xff", INT_MAX), 0x0FFFFF0F},       // -1 wraps to 0xFFFFFFFF, then folds
        {str_hash_of("abcdefgh", INT_MAX), 0x089ABAA8},   // the eighth byte first sets the top nibble
        {str_hash_of("abc", 0), 0},
        {word_hash(UINT32_hash, 103, 10), 3},
        {word_hash(ptr_hash, 0x1003, 7), 0x400 % 7},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want) << &c - cases;
}

// One row holds its keys in compare order, a null string first. The table
// never writes past its rows into the zone.
TEST(Shash, OneRowHoldsItsKeysInCompareOrder) {
    MZONE zone(1024, "hash", 0);
    SHASH table(&zone, str_hash, nullptr, 1);
    char* after_rows = static_cast<char*>(zone.alloc(64));
    memset(after_rows, 0x5a, 64);
    table.set_cmp_func(str_cmp);
    int value = 0;
    for (const char* key : {"delta", "alpha", "echo", "charlie", static_cast<const char*>(nullptr)})
        table.add(key, &value);
    std::string order;
    for (SHASH::NODE* n = table.begin(); n; n = table.next(n)) {
        const char* key = static_cast<const char*>(SHASH::pointer_key(n));
        order += key ? key : "-";
    }
    EXPECT_EQ(order, "-alphacharliedeltaecho");
    table.clear();
    EXPECT_EQ(table.begin(), nullptr);
    EXPECT_EQ(std::string(after_rows, 64), std::string(64, '\x5a'));
}

// Iteration runs across the rows, both ways; the newest of equal keys comes
// first. Row 0 of 7 holds 0, 21, 42, ...
TEST(Shash, AddFindEraseAndIterateScalarKeys) {
    SHASH table(UINT32_hash, UINT32_cmp, 7);
    int values[40], extra = 0;
    for (unsigned long k = 0; k < 40; ++k)
        table.add(k * 3, &values[k]);
    table.add(21ul, &extra);
    std::vector<unsigned long> forward, backward;
    for (SHASH::NODE* n = table.begin(); n; n = table.next(n))
        forward.push_back(SHASH::scalar_key(n));
    for (SHASH::NODE* n = table.end(); n; n = table.prev(n))
        backward.insert(backward.begin(), SHASH::scalar_key(n));
    EXPECT_EQ(forward.size(), 41u);
    EXPECT_EQ(forward, backward);
    SHASH::NODE* first = table.find_first(21ul);
    EXPECT_EQ(SHASH::value(first), &extra);
    EXPECT_EQ(SHASH::value(table.find_next(first)), &values[7]);
    EXPECT_TRUE(table.erase(21ul));
    EXPECT_FALSE(table.erase(31ul));
    EXPECT_EQ(SHASH::value(table.find(21ul)), &values[7]);
}

// Each operation still goes ahead after its report.
TEST(Shash, MisuseIsReportedAndTheTableCarriesOn) {
    SHASH table(UINT32_hash, UINT32_cmp, 5), other(UINT32_hash, UINT32_cmp, 3);
    int value = 0;
    SHASH::NODE* foreign = other.add(1ul, &value);
    const std::string err = stderr_of([&] {
        table.add(4ul, &value);
        table.add(static_cast<const void*>(&value), &value);
        EXPECT_FALSE(table.erase(foreign));
        EXPECT_EQ(SHASH(UINT32_hash, UINT32_cmp, 0).rows(), 1);
    });
    EXPECT_EQ(table.size(), 2u);
    EXPECT_EQ(err, ">> application error: SHASH::add (pointer): cannot mix hash key types\n"
                   ">> application error: SHASH::erase: node is not in this table\n"
                   ">> application error: SHASH::SHASH: the table needs at least one row\n");
}

}  // namespace

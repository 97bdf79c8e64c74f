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
        {str_hash_of("", INT_MAX), 0},
        {str_hash_of("ab", 7), (0x61 * 16 + 0x62) % 7},
        {str_hash_of("\xff", INT_MAX), 0x0FFFFF0F},       // -1 wraps to 0xFFFFFFFF, then folds
        {str_hash_of("\x80" "a", INT_MAX), 0x0FFFF791},   // -128 folds, then shifts under the next byte
        {str_hash_of("abcdefgh", INT_MAX), 0x089ABAA8},   // the eighth byte first sets the top nibble
        {str_hash_of("abc", 0), 0},
        {word_hash(UINT32_hash, 103, 10), 3},
        {word_hash(ptr_hash, 0x1003, 7), 0x400 % 7},
        {word_hash(UINT32_hash, 5, 0), 0},
        {word_hash(ptr_hash, 5, -3), 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want) << &c - cases;
}

// One row holds its keys in compare order, a null string first, and a new
// key equal to one already there goes before the entry the search meets.
// The table never writes past its rows into the zone.
TEST(Shash, OneRowHoldsItsKeysInCompareOrder) {
    MZONE zone(1024, "hash", 0);
    SHASH table(&zone, str_hash, nullptr, 1);
    char* after_rows = static_cast<char*>(zone.alloc(64));
    memset(after_rows, 0x5a, 64);
    table.set_cmp_func(str_cmp);
    const char* keys[] = {"delta", "alpha", "echo", "charlie", "bravo", "alpha", nullptr};
    int values[7];
    for (int i = 0; i < 7; ++i)
        table.add(keys[i], &values[i]);
    std::string order;
    for (SHASH::NODE* n = table.begin(); n; n = table.next(n)) {
        const char* key = static_cast<const char*>(SHASH::pointer_key(n));
        order += std::string(key ? key : "(null)") + std::to_string(static_cast<int*>(SHASH::value(n)) - values) + " ";
    }
    EXPECT_EQ(order, "(null)6 alpha5 alpha1 bravo4 charlie3 delta0 echo2 ");
    EXPECT_NE(written_by([&](FILE* f) { table.dump(f); }).find("  - 0/1 Rows are empty\n  - Row 0 has 7 entries\n"),
              std::string::npos);
    table.clear();
    EXPECT_EQ(table.begin(), nullptr);
    EXPECT_EQ(std::string(after_rows, 64), std::string(64, '\x5a'));
}

// Iteration runs across the rows, both ways. Row 0 of 7 holds 0, 21, 42, ...
TEST(Shash, AddFindEraseAndIterateScalarKeys) {
    SHASH table(UINT32_hash, UINT32_cmp, 7);
    int values[40], extra[2];
    for (unsigned long k = 0; k < 40; ++k)
        table.add(k * 3, &values[k]);
    std::vector<unsigned long> forward, backward;
    for (SHASH::NODE* n = table.begin(); n; n = table.next(n))
        forward.push_back(SHASH::scalar_key(n));
    for (SHASH::NODE* n = table.end(); n; n = table.prev(n))
        backward.insert(backward.begin(), SHASH::scalar_key(n));
    EXPECT_EQ(forward.size(), 40u);
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(table.find(115ul), nullptr);
    table.add(21ul, &extra[0]);
    table.add(21ul, &extra[1]);
    std::vector<void*> run;
    for (SHASH::NODE* n = table.find_first(21ul); n; n = table.find_next(n))
        run.push_back(SHASH::value(n));
    EXPECT_EQ(run, (std::vector<void*>{&extra[1], &extra[0], &values[7]}));
    EXPECT_TRUE(table.erase(21ul));   // the first of the three
    table.update(table.find(0ul), &extra[1]);
    EXPECT_EQ(SHASH::value(table.find(0ul)), &extra[1]);
    EXPECT_TRUE(table.erase(table.find(0ul)));
    EXPECT_FALSE(table.erase(31ul));
    EXPECT_EQ(table.size(), 40u);
}

// Each operation still goes ahead after its report; once cleared, the table
// takes either key type again.
TEST(Shash, MisuseIsReportedAndTheTableCarriesOn) {
    SHASH table(UINT32_hash, UINT32_cmp, 5), other(UINT32_hash, UINT32_cmp, 3), pointers(ptr_hash, UINT32_cmp, 2);
    int value = 0;
    SHASH::NODE* foreign = other.add(1ul, &value);
    int rows = 0;
    const std::string err = stderr_of([&] {
        table.add(4ul, &value);
        table.add(static_cast<const void*>(&value), &value);
        EXPECT_EQ(SHASH::value(table.find(static_cast<const void*>(&value))), &value);
        table.erase(static_cast<const void*>(&value));
        EXPECT_FALSE(table.erase(foreign));
        table.update(foreign, nullptr);
        table.erase(static_cast<SHASH::NODE*>(nullptr));
        table.find_first(static_cast<const void*>(&value));
        pointers.add(static_cast<const void*>(&value), &value);
        pointers.add(8ul, &value);
        pointers.find(8ul);
        pointers.find_first(8ul);
        pointers.erase(8ul);
        rows = SHASH(UINT32_hash, UINT32_cmp, 0).rows() * 10 + SHASH(UINT32_hash, UINT32_cmp, 1).rows();
        pointers.clear();
        pointers.add(8ul, &value);
    });
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(rows, 11);
    const std::string mix = ": cannot mix key types\n", mix_add = ": cannot mix hash key types\n";
    const std::string foreign_node = ": node is not in this table\n", app = ">> application error: SHASH::";
    EXPECT_EQ(err, app + "add (pointer)" + mix_add + app + "find (pointer)" + mix + app + "erase (pointer)" + mix +
                       app + "erase" + foreign_node + app + "update" + foreign_node + app + "erase" + foreign_node +
                       app + "find_first (pointer)" + mix + app + "add (scalar)" + mix_add + app + "find (scalar)" +
                       mix + app + "find_first (scalar)" + mix + app + "erase (scalar)" + mix + app +
                       "SHASH: the table needs at least one row\n");
}

}  // namespace

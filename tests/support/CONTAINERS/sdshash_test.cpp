#include "support/CONTAINERS/sdshash.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "support/mzone.h"
#include "support/text_capture.h"

namespace {

unsigned long str_hash_of(const char* text, int rows) { return str_hash(&text, rows); }

unsigned long word_hash(unsigned long (*hash)(const void*, int), unsigned long word, int rows) {
    return hash(&word, rows);
}

std::string dump_text(const SHASH& table) {
    return written_by([&](FILE* f) { table.dump(f); });
}

TEST(HashFunctions, StrHashFoldsTheTopNibbleAndReadsSignedBytes) {
    const struct {
        const char* text;
        unsigned long hash;   // with a row count above every hash value
    } cases[] = {
        {"", 0},
        {"ab", 0x61 * 16 + 0x62},
        {"\xff", 0x0FFFFF0F},       // -1 wraps to 0xFFFFFFFF, then folds
        {"\x80" "a", 0x0FFFF791},   // -128 folds, then shifts under the next byte
        {"abcdefgh", 0x089ABAA8},   // the eighth byte first sets the top nibble
    };
    for (const auto& c : cases)
        EXPECT_EQ(str_hash_of(c.text, INT_MAX), c.hash) << c.text;
    EXPECT_EQ(str_hash_of("ab", 7), (0x61u * 16 + 0x62) % 7);
    std::string text;
    for (int i = 0; i < 200; ++i) {
        text += static_cast<char>(i % 2 ? 0x7f : 0xf7);
        EXPECT_LT(str_hash_of(text.c_str(), INT_MAX), 0x10000000u) << i;
    }
    EXPECT_EQ(word_hash(UINT32_hash, 103, 10), 3u);
    EXPECT_EQ(word_hash(ptr_hash, 0x1003, 7), 0x400u % 7);
    // No valid row count: everything hashes to row 0 rather than dividing by zero.
    EXPECT_EQ(word_hash(UINT32_hash, 5, 0), 0u);
    EXPECT_EQ(word_hash(ptr_hash, 5, -3), 0u);
    EXPECT_EQ(str_hash_of("abc", 0), 0u);
}

TEST(Shash, OneRowHoldsItsKeysInCompareOrder) {
    SHASH table(str_hash, str_cmp, 1);
    const char* keys[] = {"delta", "alpha", "echo", "charlie", "bravo", "alpha"};
    int values[6];
    for (int i = 0; i < 6; ++i)
        table.add(keys[i], &values[i]);
    std::vector<std::string> order;
    std::vector<void*> alpha_values;
    for (SHASH::NODE* n = table.begin(); n; n = table.next(n)) {
        order.push_back(static_cast<const char*>(SHASH::pointer_key(n)));
        if (order.back() == "alpha")
            alpha_values.push_back(SHASH::value(n));
    }
    EXPECT_EQ(order, (std::vector<std::string>{"alpha", "alpha", "bravo", "charlie", "delta", "echo"}));
    EXPECT_EQ(alpha_values, (std::vector<void*>{&values[1], &values[5]}));   // in the order added
    EXPECT_NE(dump_text(table).find("  - 0/1 Rows are empty\n  - Row 0 has 6 entries\n"), std::string::npos);
}

TEST(Shash, AddFindEraseAndIterateScalarKeys) {
    MZONE zone(1024, "hash", 0);
    SHASH table(&zone, UINT32_hash, UINT32_cmp, 7);
    int values[100];
    for (unsigned long k = 0; k < 100; ++k)
        table.add(k * 3, &values[k]);
    for (unsigned long k = 0; k < 100; ++k) {
        SHASH::NODE* n = table.find(k * 3);
        ASSERT_NE(n, nullptr) << k;
        EXPECT_EQ(SHASH::value(n), &values[k]);
        EXPECT_EQ(table.find(k * 3 + 1), nullptr);
    }
    std::vector<unsigned long> forward, backward;   // across the rows, both ways
    for (SHASH::NODE* n = table.begin(); n; n = table.next(n))
        forward.push_back(SHASH::scalar_key(n));
    for (SHASH::NODE* n = table.end(); n; n = table.prev(n))
        backward.insert(backward.begin(), SHASH::scalar_key(n));
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(std::set<unsigned long>(forward.begin(), forward.end()).size(), 100u);

    int extra[2];
    table.add(30ul, &extra[0]);
    table.add(30ul, &extra[1]);
    EXPECT_EQ(SHASH::value(table.find_next(table.find_first(30ul))), &extra[0]);
    EXPECT_TRUE(table.erase(30ul));   // the first of the three
    EXPECT_EQ(SHASH::value(table.find_first(30ul)), &extra[0]);
    EXPECT_TRUE(table.erase(table.find(33ul)));
    EXPECT_FALSE(table.erase(31ul));
    EXPECT_EQ(table.size(), 100u);
}

// Each operation still goes ahead after its report.
TEST(Shash, MisuseIsReportedAndTheTableCarriesOn) {
    SHASH table(UINT32_hash, UINT32_cmp, 5);
    SHASH other(UINT32_hash, UINT32_cmp, 3);
    int value = 0;
    SHASH::NODE* foreign = other.add(1ul, &value);
    SHASH::NODE* found = nullptr;
    unsigned size_after_add = 0;
    const std::string err = stderr_of([&] {
        table.add(4ul, &value);
        table.add(static_cast<const void*>(&value), &value);
        size_after_add = table.size();
        found = table.find(static_cast<const void*>(&value));
        table.erase(static_cast<const void*>(&value));
        EXPECT_FALSE(table.erase(foreign));
        table.update(foreign, nullptr);
    });
    EXPECT_EQ(size_after_add, 2u);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(SHASH::value(found), &value);
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(SHASH::value(other.find(1ul)), &value);
    EXPECT_EQ(err,
              ">> application error: SHASH::add (pointer): cannot mix hash key types\n"
              ">> application error: SHASH::find (pointer): cannot mix key types\n"
              ">> application error: SHASH::erase (pointer): cannot mix key types\n"
              ">> application error: SHASH::erase: node is not in this table\n"
              ">> application error: SHASH::update: node is not in this table\n");
}

TEST(Shash, DumpReportsRowUse) {
    SHASH table(UINT32_hash, UINT32_cmp, 4);
    for (unsigned long key : {1ul, 5ul, 3ul})
        table.add(key, nullptr);
    const std::string text = dump_text(table);
    EXPECT_TRUE(std::regex_match(text, std::regex("SHASH:  0x[0-9a-f]{8,}\n"
                                                  "SIZE:     00000003\n"
                                                  "ROWS:     00000004\n"
                                                  "  - 2/4 Rows are empty\n"
                                                  "  - Row 1 has 2 entries\n"
                                                  "  - Row 3 has 1 entries\n\n")))
        << text;
}

}  // namespace

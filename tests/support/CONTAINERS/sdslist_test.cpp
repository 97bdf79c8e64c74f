#include "support/CONTAINERS/sdslist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <regex>
#include <string>
#include <vector>

#include "support/mzone.h"
#include "support/text_capture.h"

namespace {

// An item with a sort key and a tag telling equal keys apart.
struct ITEM {
    int key;
    int tag;
};

int item_cmp(const void* a, const void* b) {
    const int x = static_cast<const ITEM*>(a)->key;
    const int y = static_cast<const ITEM*>(b)->key;
    return x < y ? -1 : (x > y ? 1 : 0);
}

int tag_of(const SLIST::NODE* node) { return node ? static_cast<ITEM*>(node->item())->tag : -1; }

// Walks the list both ways, checks that the two walks agree and that every
// node knows its list, and returns the tags in list order.
std::vector<int> tags(const SLIST& list) {
    std::vector<int> forward, backward;
    for (SLIST::NODE* n = list.begin(); n; n = list.next(n)) {
        EXPECT_EQ(n->mylist(), &list);
        forward.push_back(tag_of(n));
    }
    for (SLIST::NODE* n = list.end(); n; n = list.prev(n))
        backward.insert(backward.begin(), tag_of(n));
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.size(), list.size());
    return forward;
}

class SlistTest : public ::testing::Test {
protected:
    template <size_t N>
    void append_all(ITEM (&items)[N]) {
        for (ITEM& item : items)
            list.append(&item);
    }

    MZONE zone{1024, "test", 0};
    SLIST list{&zone};
};

// Random keys with many duplicates, inserted one by one, must come out as a
// stable sort of the input; appends in between force a full re-sort first.
TEST_F(SlistTest, InsertSortedKeepsCompareOrderAndInsertionOrderAmongEquals) {
    std::vector<ITEM> items(300);
    unsigned seed = 12345;
    for (int i = 0; i < 300; ++i) {
        seed = seed * 1103515245u + 12345u;
        items[i] = ITEM{static_cast<int>((seed >> 16) % 20), i};
    }
    list.set_cmp_func(item_cmp);
    for (int i = 0; i < 300; ++i) {
        if (i % 50 == 7)
            list.append(&items[i]);
        else
            list.insert_sorted(&items[i]);
    }
    std::vector<int> want(300);
    std::iota(want.begin(), want.end(), 0);
    std::stable_sort(want.begin(), want.end(), [&](int a, int b) { return items[a].key < items[b].key; });
    EXPECT_EQ(tags(list), want);
}

TEST_F(SlistTest, FindFirstAndFindNextWalkARunOfEquals) {
    ITEM items[] = {{5, 0}, {1, 1}, {5, 2}, {9, 3}, {5, 4}};
    append_all(items);
    list.set_cmp_func(item_cmp);
    ITEM probe{5, -1};
    for (int pass = 0; pass < 2; ++pass) {
        SLIST::NODE* n = list.find_first(&probe);
        EXPECT_EQ(tag_of(n), 0) << "pass " << pass;
        EXPECT_EQ(tag_of(n = list.find_next(n)), 2) << "pass " << pass;
        EXPECT_EQ(tag_of(n = list.find_next(n)), 4) << "pass " << pass;
        EXPECT_EQ(list.find_next(n), nullptr);
        list.sort(false);   // the second pass runs on a list in sorted order
    }
    EXPECT_EQ(tags(list), (std::vector<int>{1, 0, 2, 4, 3}));
}

TEST_F(SlistTest, UniqKeepsTheLastOfEachRunInListOrder) {
    const struct { std::vector<ITEM> items; std::vector<int> kept; } cases[] = {
        {{{1, 0}, {2, 1}, {1, 2}}, {1, 2}},   // a1, b, a2 -> b, a2
        {{{1, 0}, {2, 1}, {1, 2}, {3, 3}, {2, 4}, {1, 5}}, {3, 4, 5}},
        {{{7, 0}}, {0}},
    };
    for (const auto& c : cases) {
        SLIST uniq(&zone);
        std::vector<ITEM> items = c.items;
        for (ITEM& item : items)
            uniq.append(&item);
        uniq.set_cmp_func(item_cmp);
        EXPECT_EQ(uniq.uniq(), items.size() - c.kept.size());
        EXPECT_EQ(tags(uniq), c.kept);
        EXPECT_EQ(tag_of(uniq.find(&items.back())), items.back().tag);   // the table was rebuilt
    }
}

TEST_F(SlistTest, GrowSortedTableByAQuarterBeyondTheRequest) {
    const struct { int request; unsigned capacity; } steps[] = {
        {0, 0}, {10, 10}, {11, 13}, {13, 13}, {14, 17}, {-1, 17}
    };
    for (const auto& s : steps) {
        list.grow_sorted_table(s.request);
        EXPECT_EQ(list.sorted_table_capacity(), s.capacity) << s.request;
    }
}

TEST_F(SlistTest, EditingKeepsLinksConsistent) {
    ITEM items[6];
    for (int i = 0; i < 6; ++i)
        items[i] = ITEM{i, i};
    SLIST::NODE* n0 = list.append(&items[0]);
    list.append(&items[2]);
    list.insert(&items[1], list.find(&items[2]));
    list.prepend(&items[3]);
    list.insert(&items[4], nullptr);
    EXPECT_EQ(tags(list), (std::vector<int>{3, 0, 1, 2, 4}));
    EXPECT_TRUE(list.erase(n0));
    EXPECT_TRUE(list.erase(static_cast<const void*>(&items[2])));
    EXPECT_FALSE(list.erase(static_cast<const void*>(&items[5])));
    EXPECT_EQ(list.remove_first(), &items[3]);
    EXPECT_EQ(list.remove_last(), &items[4]);
    list.prepend(nullptr);
    EXPECT_EQ(list.purge(), 1u);
    EXPECT_EQ(tags(list), (std::vector<int>{1}));
    list.clear();
    EXPECT_EQ(list.remove_first(), nullptr);
}

// Without a compare function insert_sorted appends.
TEST_F(SlistTest, MisuseIsReportedAndTheListCarriesOn) {
    ITEM items[] = {{2, 0}, {1, 1}};
    SLIST other(&zone);
    SLIST::NODE* foreign = other.append(&items[0]);
    const std::string err = stderr_of([&] {
        list.insert_sorted(&items[0]);
        list.insert_sorted(&items[1]);
        unsigned long index = 0;
        EXPECT_FALSE(list.find_index(&items[0], index, nullptr));
        EXPECT_FALSE(list.erase(foreign));
    });
    EXPECT_EQ(tags(list), (std::vector<int>{0, 1}));
    EXPECT_EQ(tags(other), (std::vector<int>{0}));
    const std::string no_cmp =
        ">> application error: SLIST::find_index: Use set_cmp_func to specify compare function\n";
    EXPECT_EQ(err, no_cmp + no_cmp + no_cmp +
                       ">> application error: SLIST::erase: node does not belong to this list\n");
}

TEST_F(SlistTest, DumpPrintsAddressesAndItems) {
    ITEM items[] = {{1, 0}, {2, 1}};
    append_all(items);
    const std::string text = written_by([&](FILE* f) { list.dump(f); });
    EXPECT_TRUE(std::regex_match(text, std::regex("SLIST:  0x[0-9a-f]{8,}\n"
                                                  "SIZE:     00000002\n"
                                                  "ITEMS:\n"
                                                  "0         :  0x[0-9a-f]{8,}  0x[0-9a-f]{8,}\n"
                                                  "1         :  0x[0-9a-f]{8,}  0x[0-9a-f]{8,}\n\n")))
        << text;
}

}  // namespace

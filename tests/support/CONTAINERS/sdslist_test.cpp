#include "support/CONTAINERS/sdslist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include "support/CONTAINERS/text_capture.h"
#include "support/mzone.h"

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

// Walks the list both ways, checks that the two walks agree and that every
// node knows its list, and returns the tags in list order.
std::vector<int> tags(const SLIST& list) {
    std::vector<int> forward;
    for (SLIST::NODE* n = list.begin(); n; n = list.next(n)) {
        EXPECT_EQ(n->mylist(), &list);
        forward.push_back(static_cast<ITEM*>(n->item())->tag);
    }
    std::vector<int> backward;
    for (SLIST::NODE* n = list.end(); n; n = list.prev(n))
        backward.push_back(static_cast<ITEM*>(n->item())->tag);
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.size(), list.size());
    return forward;
}

int tag_of(const SLIST::NODE* node) { return node ? static_cast<ITEM*>(node->item())->tag : -1; }

class SlistTest : public ::testing::Test {
protected:
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
    std::vector<ITEM> expected;
    // The appended items joined the order at the re-sort that followed them.
    for (int i = 0; i < 300; ++i)
        expected.push_back(items[i]);
    std::stable_sort(expected.begin(), expected.end(), [](const ITEM& a, const ITEM& b) { return a.key < b.key; });
    std::vector<int> want;
    for (const ITEM& item : expected)
        want.push_back(item.tag);
    EXPECT_EQ(tags(list), want);
}

TEST_F(SlistTest, InsertSortedReturnsTheSortedIndex) {
    ITEM items[] = {{30, 0}, {10, 1}, {20, 2}, {10, 3}, {40, 4}};
    list.set_cmp_func(item_cmp);
    const unsigned long want[] = {0, 0, 1, 1, 4};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(list.insert_sorted(&items[i]), want[i]) << "item " << i;
    EXPECT_EQ(tags(list), (std::vector<int>{1, 3, 2, 0, 4}));
}

TEST_F(SlistTest, FindIndexFollowsTheInsertionIndexRule) {
    unsigned long index = 99;
    list.set_cmp_func(item_cmp);
    EXPECT_FALSE(list.find_index(nullptr, index, item_cmp));
    EXPECT_EQ(index, 0u);

    ITEM items[] = {{40, 0}, {10, 1}, {30, 2}, {20, 3}};
    for (ITEM& item : items)
        list.append(&item);
    const struct {
        int probe;
        bool found;
        unsigned long index;
    } cases[] = {{5, false, 0}, {10, true, 0}, {15, false, 1}, {25, false, 2},
                 {30, true, 2}, {40, true, 3}, {45, false, 4}};
    for (const auto& c : cases) {
        ITEM probe{c.probe, -1};
        EXPECT_EQ(list.find_index(&probe, index, item_cmp), c.found) << c.probe;
        EXPECT_EQ(index, c.index) << c.probe;
    }
    // Searching builds the table but leaves list order alone.
    EXPECT_EQ(tags(list), (std::vector<int>{0, 1, 2, 3}));
}

TEST_F(SlistTest, FindFirstAndFindNextWalkARunOfEquals) {
    ITEM items[] = {{5, 0}, {1, 1}, {5, 2}, {9, 3}, {5, 4}};
    for (ITEM& item : items)
        list.append(&item);
    list.set_cmp_func(item_cmp);
    ITEM probe{5, -1};
    for (int pass = 0; pass < 2; ++pass) {
        SLIST::NODE* n = list.find_first(&probe);
        EXPECT_EQ(tag_of(n), 0) << "pass " << pass;
        n = list.find_next(n);
        EXPECT_EQ(tag_of(n), 2) << "pass " << pass;
        n = list.find_next(n);
        EXPECT_EQ(tag_of(n), 4) << "pass " << pass;
        EXPECT_EQ(list.find_next(n), nullptr);
        list.sort(false);  // the second pass runs on a list in sorted order
    }
    EXPECT_EQ(tags(list), (std::vector<int>{1, 0, 2, 4, 3}));
    ITEM missing{7, -1};
    EXPECT_EQ(list.find(&missing), nullptr);
    EXPECT_EQ(tag_of(list.find(&items[3])), 3);
}

TEST_F(SlistTest, FindInsertNeighbours) {
    ITEM items[] = {{10, 0}, {20, 1}, {30, 2}};
    list.set_cmp_func(item_cmp);
    EXPECT_EQ(list.find_insert_pred(&items[0]), nullptr);
    EXPECT_EQ(list.find_insert_succ(&items[0]), nullptr);
    for (ITEM& item : items)
        list.insert_sorted(&item);
    const struct {
        int probe;
        int pred;
        int succ;
    } cases[] = {{5, -1, 0}, {10, 0, 0}, {15, 0, 1}, {30, 2, 2}, {35, 2, -1}};
    for (const auto& c : cases) {
        ITEM probe{c.probe, -1};
        EXPECT_EQ(tag_of(list.find_insert_pred(&probe)), c.pred) << c.probe;
        EXPECT_EQ(tag_of(list.find_insert_succ(&probe)), c.succ) << c.probe;
    }
}

// A find compare function lets a bare key search a list of records.
TEST_F(SlistTest, FindCompareFunctionTakesAProbeOfAnotherType) {
    ITEM items[] = {{3, 0}, {1, 1}, {2, 2}};
    list.set_cmp_func(item_cmp);
    list.set_find_cmp_func([](const void* key, const void* item) {
        return *static_cast<const int*>(key) - static_cast<const ITEM*>(item)->key;
    });
    for (ITEM& item : items)
        list.insert_sorted(&item);
    const int key = 2;
    EXPECT_EQ(tag_of(list.find(&key)), 2);
}

TEST_F(SlistTest, UniqKeepsTheLastOfEachRunInListOrder) {
    const struct {
        std::vector<ITEM> items;
        std::vector<int> kept;
    } cases[] = {
        {{{1, 0}, {2, 1}, {1, 2}}, {1, 2}},  // a1, b, a2 -> b, a2
        {{{1, 0}, {2, 1}, {1, 2}, {3, 3}, {2, 4}, {1, 5}}, {3, 4, 5}},
        {{{1, 0}, {2, 1}, {3, 2}}, {0, 1, 2}},
        {{{7, 0}}, {0}},
    };
    for (const auto& c : cases) {
        MZONE zone(1024, "uniq", 0);
        SLIST uniq(&zone);
        std::vector<ITEM> items = c.items;
        for (ITEM& item : items)
            uniq.append(&item);
        uniq.set_cmp_func(item_cmp);
        EXPECT_EQ(uniq.uniq(), items.size() - c.kept.size());
        EXPECT_EQ(tags(uniq), c.kept);
        // The table is rebuilt for the next search.
        EXPECT_EQ(tag_of(uniq.find(&items.back())), items.back().tag);
    }
}

TEST_F(SlistTest, GrowSortedTableByAQuarterBeyondTheRequest) {
    const struct {
        int request;
        unsigned capacity;
    } steps[] = {{0, 0}, {10, 10}, {11, 13}, {12, 13}, {13, 13}, {14, 17}, {-1, 17}};
    for (const auto& s : steps) {
        list.grow_sorted_table(s.request);
        EXPECT_EQ(list.sorted_table_capacity(), s.capacity) << s.request;
    }
}

TEST_F(SlistTest, SortRelinksAndForceSeesChangedItems) {
    ITEM items[] = {{3, 0}, {1, 1}, {2, 2}, {1, 3}};
    for (ITEM& item : items)
        list.prepend(&item);
    list.set_cmp_func(item_cmp);
    list.sort(false);
    EXPECT_EQ(tags(list), (std::vector<int>{3, 1, 2, 0}));
    items[0].key = 0;
    list.sort(false);
    EXPECT_EQ(tags(list), (std::vector<int>{3, 1, 2, 0}));
    list.sort(true);
    EXPECT_EQ(tags(list), (std::vector<int>{0, 3, 1, 2}));
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
    EXPECT_EQ(tags(list), (std::vector<int>{1}));

    SLIST other(&zone);
    other.append(&items[4]);
    other.append(&items[5]);
    list.merge(&other);
    list.premerge(&other);
    EXPECT_EQ(tags(list), (std::vector<int>{4, 5, 1, 4, 5}));
    list.merge(&list);
    EXPECT_EQ(list.size(), 10u);
    EXPECT_EQ(tags(other), (std::vector<int>{4, 5}));

    other.set_cmp_func(item_cmp);
    list.copy(&other);
    EXPECT_TRUE(list.is_cmp_func());
    EXPECT_EQ(tags(list), (std::vector<int>{4, 5}));

    list.prepend(nullptr);
    list.insert(nullptr, list.end());
    EXPECT_EQ(list.purge(), 2u);
    EXPECT_EQ(tags(list), (std::vector<int>{4, 5}));

    list.clear();
    EXPECT_TRUE(list.is_empty());
    EXPECT_EQ(list.remove_first(), nullptr);
    EXPECT_EQ(list.begin(), nullptr);
}

TEST_F(SlistTest, MisuseIsReportedAndTheListCarriesOn) {
    ITEM items[] = {{2, 0}, {1, 1}};
    MZONE other_zone(1024, "other", 0);
    SLIST other(&other_zone);
    SLIST::NODE* foreign = other.append(&items[0]);

    testing::internal::CaptureStderr();
    list.insert_sorted(&items[0]);  // no compare function: appended
    list.insert_sorted(&items[1]);
    unsigned long index = 0;
    EXPECT_FALSE(list.find_index(&items[0], index, nullptr));
    EXPECT_FALSE(list.erase(foreign));
    const std::string err = unwrap(testing::internal::GetCapturedStderr());

    EXPECT_EQ(tags(list), (std::vector<int>{0, 1}));
    EXPECT_EQ(tags(other), (std::vector<int>{0}));
    const std::string no_cmp = ">> application error: SLIST::find_index: Use set_cmp_func to specify compare function\n";
    EXPECT_EQ(err, no_cmp + no_cmp + no_cmp +
                       ">> application error: SLIST::erase: node does not belong to this list\n");
}

TEST_F(SlistTest, DumpPrintsAddressesAndItems) {
    ITEM items[] = {{1, 0}, {2, 1}};
    for (ITEM& item : items)
        list.append(&item);
    const std::string text = dump_text(list);
    const std::regex expected(
        "SLIST:  0x[0-9a-f]{8,}\n"
        "SIZE:     00000002\n"
        "ITEMS:\n"
        "0         :  0x[0-9a-f]{8,}  0x[0-9a-f]{8,}\n"
        "1         :  0x[0-9a-f]{8,}  0x[0-9a-f]{8,}\n"
        "\n");
    EXPECT_TRUE(std::regex_match(text, expected)) << text;
}

}  // namespace

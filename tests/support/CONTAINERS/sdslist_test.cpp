#include "support/CONTAINERS/sdslist.h"

#include <gtest/gtest.h>

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
    const int x = static_cast<const ITEM*>(a)->key, y = static_cast<const ITEM*>(b)->key;
    return x < y ? -1 : (x > y ? 1 : 0);
}

// Items with the given keys, tagged 0, 1, 2, ... in turn.
std::vector<ITEM> items_of(const std::vector<int>& keys) {
    std::vector<ITEM> items;
    for (int key : keys)
        items.push_back(ITEM{key, static_cast<int>(items.size())});
    return items;
}

int tag_of(const SLIST::NODE* node) { return node ? static_cast<ITEM*>(node->item())->tag : -1; }

// The tags in list order, after checking that the walk backwards agrees.
std::vector<int> tags(const SLIST& list) {
    std::vector<int> forward, backward;
    for (SLIST::NODE* n = list.begin(); n; n = list.next(n))
        forward.push_back(tag_of(n));
    for (SLIST::NODE* n = list.end(); n; n = list.prev(n))
        backward.insert(backward.begin(), tag_of(n));
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(forward.size(), list.size());
    return forward;
}

class SlistTest : public ::testing::Test {
protected:
    MZONE zone{1024, "test", 0};
    SLIST list{&zone};
};

// The new item goes before the entry that the binary search meets: with
// three equal keys that is the middle one. An item appended in between (the
// one tagged `appended`) makes the next insertion sort the list first. The
// table grows to the count plus one, and then by a quarter more.
TEST_F(SlistTest, InsertSortedGoesBeforeTheEntryFound) {
    const struct {
        std::vector<int> keys;
        int appended;
        std::vector<int> order;
        unsigned long index;
        unsigned capacity;
    } cases[] = {
        {{2, 1, 3, 2}, -1, {1, 3, 0, 2}, 1, 5},
        {{5, 5, 5, 5}, -1, {2, 3, 1, 0}, 1, 5},
        {{5, 7, 9}, -1, {0, 1, 2}, 2, 3},
        {{5, 9, 7}, -1, {0, 2, 1}, 1, 3},
        {{3, 1, 2, 0}, 1, {3, 1, 2, 0}, 0, 5},
    };
    for (const auto& c : cases) {
        SLIST sorted(&zone);
        sorted.set_cmp_func(item_cmp);
        std::vector<ITEM> items = items_of(c.keys);
        unsigned long index = 99;
        for (ITEM& item : items)
            item.tag == c.appended ? (void)sorted.append(&item) : (void)(index = sorted.insert_sorted(&item));
        EXPECT_EQ(index, c.index);
        EXPECT_EQ(tags(sorted), c.order);
        EXPECT_EQ(sorted.sorted_table_capacity(), c.capacity);
    }
}

// find_next walks a run of equals by table position, and once the list is in
// sorted order by its links. A search compare function takes a bare key (here
// negated, so that only it can find anything); a copy keeps it.
TEST_F(SlistTest, SearchesFindFirstNextAndInsertionNeighbours) {
    std::vector<ITEM> items = items_of({5, 1, 5, 9, 5});
    list.set_cmp_func(item_cmp);
    EXPECT_EQ(list.find(&items[0]), nullptr);
    for (ITEM& item : items)
        list.append(&item);
    for (bool sorted : {false, true}) {
        std::vector<int> run;
        for (SLIST::NODE* n = list.find_first(&items[4]); n; n = list.find_next(n))
            run.push_back(tag_of(n));
        EXPECT_EQ(run, (std::vector<int>{0, 2, 4})) << sorted;
        list.sort(false);
    }
    EXPECT_EQ(tags(list), (std::vector<int>{1, 0, 2, 4, 3}));
    list.set_find_cmp_func([](const void* key, const void* item) {
        const ITEM probe{-*static_cast<const int*>(key), -1};
        return item_cmp(&probe, item);
    });
    const struct { int key; int pred, succ; } cases[] = {{0, -1, 1}, {-1, 1, 1}, {-7, 4, 3}, {-9, 3, 3}, {-10, 3, -1}};
    for (const auto& c : cases) {
        EXPECT_EQ(tag_of(list.find_insert_pred(&c.key)), c.pred) << c.key;
        EXPECT_EQ(tag_of(list.find_insert_succ(&c.key)), c.succ) << c.key;
    }
    SLIST copy(&zone);
    copy.copy(&list);
    EXPECT_EQ(tag_of(copy.find(&cases[3].key)), 3);
}

// Of each run of equal items the last in list order stays (a1, b, a2 gives
// b, a2). Merging a list into itself doubles it once; a list in sorted order
// that takes in more items sorts again; a copy takes the compare function.
TEST_F(SlistTest, EditingKeepsLinksConsistent) {
    std::vector<ITEM> items = items_of({5, 4, 3, 2, 1, 0});
    SLIST::NODE* n0 = list.append(&items[0]);
    list.append(&items[2]);
    list.insert(&items[1], list.find(&items[2]));
    SLIST one(&zone), other(&zone), copy(&zone);
    one.append(&items[3]);
    list.premerge(&one);
    list.insert(&items[4], nullptr);
    other.append(&items[5]);
    other.merge(&other);
    other.premerge(&list);
    EXPECT_EQ(tags(other), (std::vector<int>{3, 0, 1, 2, 4, 5, 5}));
    list.set_cmp_func(item_cmp);
    list.sort(false);
    list.premerge(&other);
    copy.copy(&list);
    copy.sort(false);
    EXPECT_EQ(tags(copy), (std::vector<int>{5, 5, 4, 4, 3, 3, 2, 2, 1, 1, 0, 0}));
    EXPECT_EQ(list.uniq(), 6u);
    EXPECT_EQ(tags(list), (std::vector<int>{5, 4, 3, 2, 1, 0}));

    EXPECT_TRUE(list.erase(n0));
    EXPECT_EQ(n0->mylist(), nullptr);
    EXPECT_TRUE(list.erase(static_cast<const void*>(&items[2])));
    EXPECT_EQ(list.remove_first(), &items[5]);
    EXPECT_EQ(list.remove_last(), &items[1]);
    list.prepend(nullptr);
    EXPECT_EQ(list.purge(), 1u);
    EXPECT_EQ(tags(list), (std::vector<int>{4, 3}));
    list.clear();
    EXPECT_EQ(list.remove_first(), nullptr);
}

// Without a compare function insert_sorted appends.
TEST_F(SlistTest, MisuseIsReportedAndTheListCarriesOn) {
    std::vector<ITEM> items = items_of({2, 1});
    SLIST other(&zone);
    SLIST::NODE* foreign = other.append(&items[0]);
    const std::string err = stderr_of([&] {
        list.insert_sorted(&items[0]);
        list.insert_sorted(&items[1]);
        unsigned long index = 0;
        EXPECT_FALSE(list.find_index(&items[0], index, nullptr));
        EXPECT_FALSE(list.erase(foreign));
        list.insert(&items[1], foreign);
    });
    EXPECT_EQ(tags(list), (std::vector<int>{0, 1, 1}));
    EXPECT_EQ(tags(other), (std::vector<int>{0}));
    const std::string no_cmp = ">> application error: SLIST::find_index: Use set_cmp_func to specify compare function\n";
    EXPECT_EQ(err, no_cmp + no_cmp + no_cmp + ">> application error: SLIST::erase: node does not belong to this list\n"
                                              ">> application error: SLIST::insert: node does not belong to this list\n");
}

}  // namespace

#include "support/CONTAINERS/sdslist.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/mzone.h"
#include "support/text_capture.h"

namespace {

// An item with a sort key and a tag telling equal keys apart.
struct ITEM {
    int key, tag;
};

int item_cmp(const void* a, const void* b) {
    const int x = static_cast<const ITEM*>(a)->key, y = static_cast<const ITEM*>(b)->key;
    return x < y ? -1 : (x > y ? 1 : 0);
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
// three equal keys that is the middle one. An appended item makes the next
// insertion sort the list first. The table grows to the count plus one.
TEST_F(SlistTest, InsertSortedGoesBeforeTheEntryFound) {
    ITEM fives[] = {{5, 0}, {5, 1}, {5, 2}, {5, 3}}, mixed[] = {{3, 0}, {1, 1}, {2, 2}};
    list.set_cmp_func(item_cmp);
    unsigned long index = 99;
    for (ITEM& item : fives)
        index = list.insert_sorted(&item);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(tags(list), (std::vector<int>{2, 3, 1, 0}));
    EXPECT_EQ(list.sorted_table_capacity(), 5u);
    SLIST other(&zone);
    other.set_cmp_func(item_cmp);
    other.append(&mixed[0]);
    other.append(&mixed[1]);
    EXPECT_EQ(other.insert_sorted(&mixed[2]), 1u);
    EXPECT_EQ(tags(other), (std::vector<int>{1, 2, 0}));
}

// find_next walks a run of equals by table position, and once the list is in
// sorted order by its links.
TEST_F(SlistTest, SearchesFindFirstAndNext) {
    ITEM items[] = {{5, 0}, {1, 1}, {5, 2}, {9, 3}, {5, 4}};
    list.set_cmp_func(item_cmp);
    unsigned long index = 7;
    EXPECT_FALSE(list.find_index(&items[0], index, item_cmp));
    EXPECT_EQ(index, 0u);
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
    EXPECT_EQ(tag_of(list.find_insert_pred(&items[3])), 3);   // an equal entry is its own predecessor
}

// Of each run of equal items one stays. Merging a list into itself doubles
// it once.
TEST_F(SlistTest, EditingKeepsLinksConsistent) {
    ITEM items[] = {{5, 0}, {4, 1}, {3, 2}, {2, 3}, {1, 4}};
    list.append(&items[0]);
    list.append(&items[2]);
    list.insert(&items[1], list.find(&items[2]));
    list.prepend(&items[3]);
    list.insert(&items[4], nullptr);
    EXPECT_EQ(tags(list), (std::vector<int>{3, 0, 1, 2, 4}));
    list.merge(&list);
    list.set_cmp_func(item_cmp);
    list.sort(false);
    EXPECT_EQ(list.uniq(), 5u);
    EXPECT_EQ(tags(list), (std::vector<int>{4, 3, 2, 1, 0}));
    SLIST::NODE* middle = list.find(&items[2]);
    EXPECT_TRUE(list.erase(middle));
    EXPECT_EQ(middle->mylist(), nullptr);
    EXPECT_EQ(list.remove_first(), &items[4]);
    list.prepend(nullptr);
    EXPECT_EQ(list.purge(), 1u);
    EXPECT_EQ(tags(list), (std::vector<int>{3, 1, 0}));
}

// Without a compare function insert_sorted appends.
TEST_F(SlistTest, MisuseIsReportedAndTheListCarriesOn) {
    ITEM items[] = {{2, 0}, {1, 1}};
    SLIST other(&zone);
    SLIST::NODE* foreign = other.append(&items[0]);
    const std::string err = stderr_of([&] {
        list.insert_sorted(&items[0]);
        list.insert_sorted(&items[1]);
        EXPECT_FALSE(list.erase(foreign));
    });
    EXPECT_EQ(tags(list), (std::vector<int>{0, 1}));
    const std::string no_cmp = ">> application error: SLIST::find_index: Use set_cmp_func to specify compare function\n";
    EXPECT_EQ(err, no_cmp + no_cmp + ">> application error: SLIST::erase: node does not belong to this list\n");
}

}  // namespace

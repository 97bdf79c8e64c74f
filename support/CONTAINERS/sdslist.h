#ifndef ARWREN_SUPPORT_CONTAINERS_SDSLIST_H
#define ARWREN_SUPPORT_CONTAINERS_SDSLIST_H

#include <cstdio>

class MZONE;

// A doubly linked list of untyped item pointers. It can be kept in and
// searched in the order of a compare function through a table of its nodes
// (the sorted table). Nodes and tables are carved from a memory zone and
// never freed singly; misuse is reported through USER_MSG and the operation
// carries on as far as it can.
//
// Searching for an item uses the find compare function when one is set (so
// that a probe of another type, such as a bare key, can be compared with the
// items), else the sort compare function; both take (probe or item, item).
class SLIST {
public:
    typedef int (*CMP_FUNC)(const void*, const void*);

    class NODE {
    public:
        void* item() const { return item_; }
        SLIST* mylist() const { return list_; }
        unsigned position() const { return position_; }

    private:
        friend class SLIST;
        void* item_;
        NODE* next_;
        NODE* prev_;
        SLIST* list_;        // null once the node has been unlinked
        unsigned position_;  // index in the sorted table when it was built
    };

    explicit SLIST(MZONE* zone);
    SLIST(const SLIST&) = delete;
    SLIST& operator=(const SLIST&) = delete;

    void set_cmp_func(CMP_FUNC cmp);
    void set_find_cmp_func(CMP_FUNC cmp);
    bool is_cmp_func() const { return cmp_ != nullptr; }

    NODE* append(void* item);
    NODE* prepend(void* item);
    // Inserts in compare order when a sort compare function is set, else
    // appends.
    NODE* add(void* item);
    // Inserts before `before`; a null `before` appends.
    NODE* insert(void* item, NODE* before);
    // Inserts in compare order, before the entry that find_index finds, and
    // returns the item's index in the sorted table.
    unsigned long insert_sorted(void* item);

    bool erase(NODE* node);
    // Erases the first node (in list order) holding exactly this pointer.
    bool erase(const void* item);
    void* remove_first();
    void* remove_last();
    void clear();

    // merge appends and premerge prepends copies of another list's items;
    // copy replaces this list's items and compare functions by the other's.
    void merge(SLIST* other);
    void premerge(SLIST* other);
    void copy(SLIST* other);

    void sort(bool force);
    // Of each run of items that compare equal, keeps only the last one in
    // list order. Returns the number of nodes removed.
    unsigned uniq();
    // Removes the nodes whose item is null. Returns the number removed.
    unsigned purge();

    // Without any compare function, find and find_first look for the very
    // pointer and find_next for the next node holding it.
    NODE* find(const void* item);
    NODE* find_first(const void* item);
    NODE* find_next(NODE* node);
    bool find_index(const void* item, unsigned long& index, CMP_FUNC cmp);
    NODE* find_insert_pred(const void* item);
    NODE* find_insert_succ(const void* item);

    // end() is the last node, so that iteration runs either way:
    // for (n = begin(); n; n = next(n)) and for (n = end(); n; n = prev(n)).
    NODE* begin() const { return head_; }
    NODE* end() const { return tail_; }
    NODE* next(const NODE* node) const { return node ? node->next_ : nullptr; }
    NODE* prev(const NODE* node) const { return node ? node->prev_ : nullptr; }
    unsigned size() const { return count_; }
    bool is_empty() const { return count_ == 0; }

    void build_sorted_table();
    void clear_sorted_table() { table_valid_ = false; }
    void grow_sorted_table(int n);
    unsigned sorted_table_capacity() const { return capacity_; }

    void dump(FILE* out) const;

    // Orders two item pointers as unsigned numbers.
    static int ptr_cmp(const void* a, const void* b);

private:
    static int stable_itemcmp(const NODE* a, const NODE* b);
    NODE* new_node(void* item);
    void link_before(NODE* node, NODE* before);
    void unlink(NODE* node);
    void invalidate_order();
    CMP_FUNC search_cmp() const { return find_cmp_ ? find_cmp_ : cmp_; }
    unsigned long lower_bound(const void* item, CMP_FUNC cmp, unsigned long last) const;
    NODE* find_pointer(NODE* from, const void* item) const;

    NODE* head_;
    NODE* tail_;
    NODE** table_;
    CMP_FUNC cmp_;
    CMP_FUNC find_cmp_;
    unsigned count_;
    unsigned capacity_;
    bool sorted_;        // list order is compare order
    bool table_valid_;   // table_ holds every node in compare order
    MZONE* zone_;
};

#endif

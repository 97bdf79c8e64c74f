#include "support/CONTAINERS/sdslist.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "support/mzone.h"
#include "support/user_msg.h"

namespace {

const char kNoCmpFunc[] = "Use set_cmp_func to specify compare function";

// Misuse is an application error: it is reported with the operation as the
// title, and the caller carries on.
void report_misuse(const char* title, const char* text) {
    USER_MSG::get_umsg_obj()->apperror("%s: %s", title, text);
}

}  // namespace

SLIST::SLIST(MZONE* zone)
    : head_(nullptr), tail_(nullptr), table_(nullptr), cmp_(nullptr), find_cmp_(nullptr),
      count_(0), capacity_(0), sorted_(false), table_valid_(false), zone_(zone) {}

void SLIST::set_cmp_func(CMP_FUNC cmp) {
    cmp_ = cmp;
    invalidate_order();
}

void SLIST::set_find_cmp_func(CMP_FUNC cmp) { find_cmp_ = cmp; }

SLIST::NODE* SLIST::new_node(void* item) {
    NODE* node = new (zone_->alloc(sizeof(NODE))) NODE;
    node->item_ = item;
    node->next_ = nullptr;
    node->prev_ = nullptr;
    node->list_ = nullptr;
    node->position_ = 0;
    return node;
}

// Links a fresh node before `before`, or at the tail when `before` is null.
void SLIST::link_before(NODE* node, NODE* before) {
    node->list_ = this;
    node->next_ = before;
    node->prev_ = before ? before->prev_ : tail_;
    if (node->prev_)
        node->prev_->next_ = node;
    else
        head_ = node;
    if (before)
        before->prev_ = node;
    else
        tail_ = node;
    ++count_;
}

// The unlinked node keeps its own links, so that a caller walking the list
// may still step from a node it has just erased.
void SLIST::unlink(NODE* node) {
    if (node->prev_)
        node->prev_->next_ = node->next_;
    else
        head_ = node->next_;
    if (node->next_)
        node->next_->prev_ = node->prev_;
    else
        tail_ = node->prev_;
    node->list_ = nullptr;
    --count_;
}

void SLIST::invalidate_order() {
    sorted_ = false;
    table_valid_ = false;
}

SLIST::NODE* SLIST::append(void* item) {
    NODE* node = new_node(item);
    link_before(node, nullptr);
    invalidate_order();
    return node;
}

SLIST::NODE* SLIST::prepend(void* item) {
    NODE* node = new_node(item);
    link_before(node, head_);
    invalidate_order();
    return node;
}

SLIST::NODE* SLIST::add(void* item) {
    if (!cmp_)
        return append(item);
    const unsigned long index = insert_sorted(item);  // may move the table
    return table_[index];
}

SLIST::NODE* SLIST::insert(void* item, NODE* before) {
    if (before && before->list_ != this) {
        report_misuse("SLIST::insert", "node does not belong to this list");
        before = nullptr;
    }
    NODE* node = new_node(item);
    link_before(node, before);
    invalidate_order();
    return node;
}

// The new item goes before the entry that find_index lands on. Among items
// that compare equal that is whichever one the binary search meets first, so
// equal items do not keep the order in which they were inserted.
unsigned long SLIST::insert_sorted(void* item) {
    if (!cmp_) {
        report_misuse("SLIST::find_index", kNoCmpFunc);
        append(item);
        return count_ - 1;
    }
    NODE* node = new_node(item);
    sort(false);
    unsigned long index = 0;
    find_index(item, index, cmp_);
    const unsigned long shifted = count_ - index;
    grow_sorted_table(static_cast<int>(count_ + 1));
    link_before(node, index < count_ ? table_[index] : nullptr);
    std::memmove(table_ + index + 1, table_ + index, shifted * sizeof(NODE*));
    zone_->adjust_mempoolsz();
    table_[index] = node;
    node->position_ = static_cast<unsigned>(index);   // mutants: skip (read only after the table is rebuilt)
    sorted_ = true;
    table_valid_ = true;
    return index;
}

bool SLIST::erase(NODE* node) {
    if (!node || node->list_ != this) {
        report_misuse("SLIST::erase", "node does not belong to this list");
        return false;
    }
    unlink(node);
    table_valid_ = false;
    return true;
}

bool SLIST::erase(const void* item) {
    NODE* node = find_pointer(head_, item);
    return node ? erase(node) : false;
}

void* SLIST::remove_first() {
    if (!head_)
        return nullptr;
    void* item = head_->item_;
    erase(head_);
    return item;
}

void* SLIST::remove_last() {
    if (!tail_)
        return nullptr;
    void* item = tail_->item_;
    erase(tail_);
    return item;
}

// The nodes stay in the zone; they are marked as unlinked so that a stale
// node handed back later is recognised as foreign.
void SLIST::clear() {
    for (NODE* node = head_; node; node = node->next_)
        node->list_ = nullptr;
    head_ = nullptr;
    tail_ = nullptr;
    count_ = 0;
    invalidate_order();
}

void SLIST::merge(SLIST* other) {
    if (!other || other->count_ == 0)
        return;
    // Counted, so that merging a list into itself doubles it once.
    NODE* from = other->head_;
    for (unsigned n = other->count_; n > 0; --n, from = from->next_)
        link_before(new_node(from->item_), nullptr);
    invalidate_order();
}

void SLIST::premerge(SLIST* other) {
    if (!other || other->count_ == 0)
        return;
    NODE* from = other->tail_;
    for (unsigned n = other->count_; n > 0; --n, from = from->prev_)
        link_before(new_node(from->item_), head_);
    invalidate_order();
}

void SLIST::copy(SLIST* other) {
    if (!other || other == this)
        return;
    clear();
    cmp_ = other->cmp_;
    find_cmp_ = other->find_cmp_;
    merge(other);
}

// A forced sort recomputes the order even when the list is believed to be
// in order, since the items themselves may have changed.
void SLIST::sort(bool force) {
    if (force)
        invalidate_order();
    if (sorted_ || count_ == 0)
        return;
    build_sorted_table();
    for (unsigned i = 0; i < count_; ++i) {
        NODE* node = table_[i];
        node->prev_ = i > 0 ? table_[i - 1] : nullptr;
        node->next_ = i + 1 < count_ ? table_[i + 1] : nullptr;
    }
    head_ = table_[0];
    tail_ = table_[count_ - 1];
    sorted_ = true;
}

// The sorted table is ordered by the stable comparison, so within a run of
// equal items the table follows list order: removing the earlier node of
// each equal pair keeps the last item of the run.
unsigned SLIST::uniq() {
    if (!cmp_ || count_ < 2)
        return 0;
    build_sorted_table();
    const unsigned n = count_;
    unsigned removed = 0;
    for (unsigned i = 0; i + 1 < n; ++i) {
        if (cmp_(table_[i]->item_, table_[i + 1]->item_) == 0) {
            unlink(table_[i]);
            ++removed;
        }
    }
    if (removed)
        table_valid_ = false;
    return removed;
}

unsigned SLIST::purge() {
    unsigned removed = 0;
    for (NODE* node = head_; node;) {
        NODE* next = node->next_;
        if (!node->item_) {
            unlink(node);
            ++removed;
        }
        node = next;
    }
    if (removed)
        table_valid_ = false;
    return removed;
}

SLIST::NODE* SLIST::find_pointer(NODE* from, const void* item) const {
    for (NODE* node = from; node; node = node->next_)
        if (node->item_ == item)
            return node;
    return nullptr;
}

SLIST::NODE* SLIST::find(const void* item) {
    CMP_FUNC cmp = search_cmp();
    if (!cmp)
        return find_pointer(head_, item);
    unsigned long index;
    return find_index(item, index, cmp) ? table_[index] : nullptr;
}

SLIST::NODE* SLIST::find_first(const void* item) {
    CMP_FUNC cmp = search_cmp();
    if (!cmp)
        return find_pointer(head_, item);
    unsigned long index;
    if (!find_index(item, index, cmp))
        return nullptr;
    return table_[lower_bound(item, cmp, index)];
}

// The next node, in compare order, whose item compares equal to this one's.
// While the list is in sorted order that is simply the next node; otherwise
// the node's position is its index in the freshly built table.
SLIST::NODE* SLIST::find_next(NODE* node) {
    if (!node || node->list_ != this)
        return nullptr;
    if (!cmp_)
        return find_pointer(node->next_, node->item_);
    NODE* next;
    if (sorted_) {
        next = node->next_;
    } else {
        build_sorted_table();
        const unsigned index = node->position_ + 1;
        next = index < count_ ? table_[index] : nullptr;
    }
    return next && cmp_(node->item_, next->item_) == 0 ? next : nullptr;
}

// Binary search of the sorted table. When the item is not found, `index` is
// where it would be inserted.
bool SLIST::find_index(const void* item, unsigned long& index, CMP_FUNC cmp) {
    if (count_ == 0) {
        index = 0;
        return false;
    }
    if (!cmp || !cmp_) {
        report_misuse("SLIST::find_index", kNoCmpFunc);
        index = count_;
        return false;
    }
    build_sorted_table();
    int64_t lo = 0;
    int64_t hi = static_cast<int64_t>(count_) - 1;
    int64_t mid = 0;
    int result = 0;
    while (lo <= hi) {
        mid = (lo + hi) / 2;
        result = cmp(item, table_[mid]->item_);
        if (result == 0) {
            index = static_cast<unsigned long>(mid);
            return true;
        }
        if (result < 0)
            hi = mid - 1;
        else
            lo = mid + 1;
    }
    index = static_cast<unsigned long>(result < 0 ? mid : mid + 1);
    return false;
}

// The first index in [0, last] whose item compares equal to `item`, given
// that the item at `last` does.
unsigned long SLIST::lower_bound(const void* item, CMP_FUNC cmp, unsigned long last) const {
    unsigned long lo = 0;
    unsigned long hi = last;
    while (lo < hi) {
        const unsigned long mid = lo + (hi - lo) / 2;
        if (cmp(item, table_[mid]->item_) > 0)
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo;
}

SLIST::NODE* SLIST::find_insert_pred(const void* item) {
    unsigned long index;
    if (find_index(item, index, search_cmp()))
        return table_[index];
    return table_valid_ && index > 0 ? table_[index - 1] : nullptr;
}

SLIST::NODE* SLIST::find_insert_succ(const void* item) {
    unsigned long index;
    find_index(item, index, search_cmp());
    return table_valid_ && index < count_ ? table_[index] : nullptr;
}

int SLIST::stable_itemcmp(const NODE* a, const NODE* b) {
    const int result = a->list_->cmp_(a->item_, b->item_);
    if (result != 0)
        return result;
    return a->position_ < b->position_ ? -1 : (a->position_ > b->position_ ? 1 : 0);
}

// Positions are first the list order, the tie-breaker of the stable
// comparison, and afterwards each node's index in the table.
void SLIST::build_sorted_table() {
    if (count_ == 0 || table_valid_)
        return;
    grow_sorted_table(static_cast<int>(count_));
    unsigned index = 0;
    for (NODE* node = head_; node; node = node->next_) {
        node->position_ = index;
        table_[index++] = node;
    }
    if (!cmp_) {
        // Every item compares equal: the table keeps list order.
        report_misuse("SLIST::stable_itemcmp", kNoCmpFunc);
    } else {
        // A merge sort, which stays within the table even when a caller's
        // compare function is inconsistent.
        std::stable_sort(table_, table_ + count_,
                         [](const NODE* a, const NODE* b) { return stable_itemcmp(a, b) < 0; });
        for (unsigned i = 0; i < count_; ++i)
            table_[i]->position_ = i;
    }
    table_valid_ = true;
}

// Grows by a quarter beyond the request; the old table is left to the zone.
void SLIST::grow_sorted_table(int n) {
    if (n < 1 || capacity_ >= static_cast<unsigned>(n))
        return;
    const unsigned wanted = static_cast<unsigned>(n);
    const unsigned capacity = capacity_ < 1 ? wanted : wanted + wanted / 4;
    NODE** table = static_cast<NODE**>(zone_->alloc(capacity * sizeof(NODE*)));
    if (table_)
        std::memcpy(table, table_, capacity_ * sizeof(NODE*));
    table_ = table;
    capacity_ = capacity;
}

void SLIST::dump(FILE* out) const {
    if (!out)
        out = stdout;
    std::fprintf(out, "SLIST:  0x%08lx\n", static_cast<unsigned long>(reinterpret_cast<uintptr_t>(this)));
    std::fprintf(out, "SIZE:     %08ld\n", static_cast<long>(count_));
    std::fprintf(out, "ITEMS:\n");
    int number = 0;
    for (const NODE* node = head_; node; node = node->next_)
        std::fprintf(out, "%-10d:  0x%08lx  0x%08lx\n", number++,
                     static_cast<unsigned long>(reinterpret_cast<uintptr_t>(node)),
                     static_cast<unsigned long>(reinterpret_cast<uintptr_t>(node->item_)));
    std::fprintf(out, "\n");
}

int SLIST::ptr_cmp(const void* a, const void* b) {
    const uintptr_t x = reinterpret_cast<uintptr_t>(a);
    const uintptr_t y = reinterpret_cast<uintptr_t>(b);
    return x < y ? -1 : (x > y ? 1 : 0);
}

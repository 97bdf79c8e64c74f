#include "support/CONTAINERS/sdshash.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <new>

#include "support/mzone.h"
#include "support/user_msg.h"

namespace {

const char kMixAdd[] = "cannot mix hash key types";
const char kMixSearch[] = "cannot mix key types";
const char kForeignNode[] = "node is not in this table";

void report_misuse(const char* title, const char* text) {
    USER_MSG::get_umsg_obj()->apperror("%s: %s", title, text);
}

unsigned long key_word_at(const void* key_word) {
    return *static_cast<const unsigned long*>(key_word);
}

// A compare function is given entry records; the key word is one
// dereference away through the record's first word.
unsigned long record_key(const void* record) {
    return key_word_at(static_cast<const SHASH::ENTRY*>(record)->key_ptr);
}

// The row count as an unsigned divisor, or 0 when it is not positive.
unsigned long row_divisor(int rows) { return rows > 0 ? static_cast<unsigned long>(rows) : 0; }

}  // namespace

SHASH::SHASH(MZONE* zone, HASH_FUNC hash, CMP_FUNC cmp, int rows) : zone_(zone), own_zone_(false) {
    init(hash, cmp, rows);
}

SHASH::SHASH(HASH_FUNC hash, CMP_FUNC cmp, int rows)
    : zone_(new MZONE(1024, "SHASH", 0)), own_zone_(true) {
    init(hash, cmp, rows);
}

SHASH::~SHASH() {
    if (own_zone_)
        delete zone_;
}

// The rows are carved from the zone like everything else; a list holds no
// resources of its own, so they need no destruction.
void SHASH::init(HASH_FUNC hash, CMP_FUNC cmp, int rows) {
    if (rows < 1) {
        report_misuse("SHASH::SHASH", "the table needs at least one row");
        rows = 1;
    }
    cmp_ = cmp;   // mutants: skip (kept for the record; the rows hold the function in use)
    hash_ = hash;
    size_ = 0;
    nrows_ = rows;
    key_type_ = KEY_NONE;
    rows_ = static_cast<SLIST*>(zone_->alloc(static_cast<size_t>(rows) * sizeof(SLIST)));
    for (int i = 0; i < rows; ++i) {
        new (&rows_[i]) SLIST(zone_);
        rows_[i].set_cmp_func(cmp);
    }
}

// The first key decides the table's key type; a key of the other type is
// reported, and the caller's operation still goes ahead.
void SHASH::check_key_type(KEY_TYPE type, const char* title, const char* text) {
    if (key_type_ != KEY_NONE && key_type_ != type)
        report_misuse(title, text);
}

SLIST* SHASH::row_of(const ENTRY* entry) const {
    // The result is reduced again so that a caller's hash function can
    // never index past the rows.
    const unsigned long row = hash_ ? hash_(entry->key_ptr, nrows_) % static_cast<unsigned long>(nrows_) : 0;
    return &rows_[row];
}

SHASH::NODE* SHASH::add_entry(unsigned long key_word, void* value) {
    ENTRY* entry = static_cast<ENTRY*>(zone_->alloc(sizeof(ENTRY)));
    entry->key_word = key_word;
    entry->key_ptr = &entry->key_word;
    entry->value = value;
    SLIST* row = row_of(entry);
    NODE* node = row->add(entry);
    ++size_;
    return node;
}

SHASH::NODE* SHASH::add(unsigned long key, void* value) {
    check_key_type(KEY_SCALAR, "SHASH::add (scalar)", kMixAdd);
    if (key_type_ == KEY_NONE)
        key_type_ = KEY_SCALAR;
    return add_entry(key, value);
}

SHASH::NODE* SHASH::add(const void* key, void* value) {
    check_key_type(KEY_POINTER, "SHASH::add (pointer)", kMixAdd);
    if (key_type_ == KEY_NONE)
        key_type_ = KEY_POINTER;
    return add_entry(static_cast<unsigned long>(reinterpret_cast<uintptr_t>(key)), value);
}

// Searches build a probe record on the stack and look only in its row.
SHASH::NODE* SHASH::find(unsigned long key) {
    check_key_type(KEY_SCALAR, "SHASH::find (scalar)", kMixSearch);
    ENTRY probe = {nullptr, nullptr, key};
    probe.key_ptr = &probe.key_word;
    return row_of(&probe)->find(&probe);
}

SHASH::NODE* SHASH::find(const void* key) {
    check_key_type(KEY_POINTER, "SHASH::find (pointer)", kMixSearch);
    ENTRY probe = {nullptr, nullptr, static_cast<unsigned long>(reinterpret_cast<uintptr_t>(key))};
    probe.key_ptr = &probe.key_word;
    return row_of(&probe)->find(&probe);
}

SHASH::NODE* SHASH::find_first(unsigned long key) {
    check_key_type(KEY_SCALAR, "SHASH::find_first (scalar)", kMixSearch);
    ENTRY probe = {nullptr, nullptr, key};
    probe.key_ptr = &probe.key_word;
    return row_of(&probe)->find_first(&probe);
}

SHASH::NODE* SHASH::find_first(const void* key) {
    check_key_type(KEY_POINTER, "SHASH::find_first (pointer)", kMixSearch);
    ENTRY probe = {nullptr, nullptr, static_cast<unsigned long>(reinterpret_cast<uintptr_t>(key))};
    probe.key_ptr = &probe.key_word;
    return row_of(&probe)->find_first(&probe);
}

bool SHASH::erase(unsigned long key) {
    check_key_type(KEY_SCALAR, "SHASH::erase (scalar)", kMixSearch);
    ENTRY probe = {nullptr, nullptr, key};
    probe.key_ptr = &probe.key_word;
    NODE* node = row_of(&probe)->find_first(&probe);
    return node ? erase(node) : false;
}

bool SHASH::erase(const void* key) {
    check_key_type(KEY_POINTER, "SHASH::erase (pointer)", kMixSearch);
    ENTRY probe = {nullptr, nullptr, static_cast<unsigned long>(reinterpret_cast<uintptr_t>(key))};
    probe.key_ptr = &probe.key_word;
    NODE* node = row_of(&probe)->find_first(&probe);
    return node ? erase(node) : false;
}

bool SHASH::erase(NODE* node) {
    if (row_index(node) < 0) {
        report_misuse("SHASH::erase", kForeignNode);
        return false;
    }
    node->mylist()->erase(node);
    --size_;
    return true;
}

void SHASH::update(NODE* node, void* value) {
    if (row_index(node) < 0) {
        report_misuse("SHASH::update", kForeignNode);
        return;
    }
    entry(node)->value = value;
}

// The row that holds the node, or -1 when the node is not in this table.
int SHASH::row_index(const NODE* node) const {
    if (!node || !node->mylist())
        return -1;
    const std::less<const SLIST*> before;
    const SLIST* list = node->mylist();
    if (before(list, rows_) || !before(list, rows_ + nrows_))
        return -1;
    return static_cast<int>(list - rows_);
}

SHASH::NODE* SHASH::first_from(int row) const {
    for (; row < nrows_; ++row)
        if (!rows_[row].is_empty())
            return rows_[row].begin();
    return nullptr;
}

SHASH::NODE* SHASH::last_before(int row) const {
    while (--row >= 0)
        if (!rows_[row].is_empty())
            return rows_[row].end();
    return nullptr;
}

SHASH::NODE* SHASH::begin() const { return first_from(0); }

SHASH::NODE* SHASH::end() const { return last_before(nrows_); }

SHASH::NODE* SHASH::next(const NODE* node) const {
    const int row = row_index(node);
    if (row < 0)
        return nullptr;
    NODE* next = rows_[row].next(node);
    return next ? next : first_from(row + 1);
}

SHASH::NODE* SHASH::prev(const NODE* node) const {
    const int row = row_index(node);
    if (row < 0)
        return nullptr;
    NODE* prev = rows_[row].prev(node);
    return prev ? prev : last_before(row);
}

SHASH::NODE* SHASH::find_next(NODE* node) {
    return row_index(node) < 0 ? nullptr : node->mylist()->find_next(node);
}

void SHASH::set_cmp_func(CMP_FUNC cmp) {
    cmp_ = cmp;   // mutants: skip (kept for the record; the rows hold the function in use)
    for (int i = 0; i < nrows_; ++i)
        rows_[i].set_cmp_func(cmp);
}

// Empties every row; the records stay in the zone. With no keys left the
// table may take either key type again.
void SHASH::clear() {
    for (int i = 0; i < nrows_; ++i)
        rows_[i].clear();
    size_ = 0;
    key_type_ = KEY_NONE;
}

void SHASH::dump(FILE* out) const {
    if (!out)
        out = stdout;
    int empty = 0;
    for (int i = 0; i < nrows_; ++i)
        if (rows_[i].is_empty())
            ++empty;
    std::fprintf(out, "SHASH:  0x%08lx\n", static_cast<unsigned long>(reinterpret_cast<uintptr_t>(this)));
    std::fprintf(out, "SIZE:     %08d\n", static_cast<int>(size_));
    std::fprintf(out, "ROWS:     %08d\n", nrows_);
    std::fprintf(out, "  - %d/%d Rows are empty\n", empty, nrows_);
    for (int i = 0; i < nrows_; ++i)
        if (!rows_[i].is_empty())
            std::fprintf(out, "  - Row %d has %d entries\n", i, static_cast<int>(rows_[i].size()));
    std::fprintf(out, "\n");
}

const void* SHASH::pointer_key(const NODE* node) {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(entry(node)->key_word));
}

unsigned long UINT32_hash(const void* key_word, int rows) {
    const unsigned long divisor = row_divisor(rows);
    return divisor ? key_word_at(key_word) % divisor : 0;
}

// Pointers are at least word aligned, so their two low bits carry nothing.
unsigned long ptr_hash(const void* key_word, int rows) {
    const unsigned long divisor = row_divisor(rows);
    return divisor ? (key_word_at(key_word) >> 2) % divisor : 0;
}

// The classic shift-and-fold string hash over 32 bits. Bytes are read as
// signed characters, so bytes above 0x7f subtract; the top nibble is folded
// back into bits 4-7 and cleared, which keeps h below 0x10000000.
unsigned long str_hash(const void* key_word, int rows) {
    const unsigned long divisor = row_divisor(rows);
    const char* text = reinterpret_cast<const char*>(static_cast<uintptr_t>(key_word_at(key_word)));
    if (!divisor || !text || !*text)
        return 0;
    uint32_t h = 0;
    for (const char* p = text; *p; ++p) {
        h = (h << 4) + static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
        const uint32_t g = h & 0xF0000000u;
        if (g != 0) {
            h ^= g >> 24;
            h &= ~g;
        }
    }
    return h % divisor;
}

int UINT32_cmp(const void* a, const void* b) {
    const unsigned long x = record_key(a);
    const unsigned long y = record_key(b);
    return x < y ? -1 : (x > y ? 1 : 0);
}

// A null string sorts before every other string.
int str_cmp(const void* a, const void* b) {
    const char* x = reinterpret_cast<const char*>(static_cast<uintptr_t>(record_key(a)));
    const char* y = reinterpret_cast<const char*>(static_cast<uintptr_t>(record_key(b)));
    if (!x || !y)
        return x ? 1 : (y ? -1 : 0);
    return std::strcmp(x, y);
}

#ifndef ARWREN_SUPPORT_CONTAINERS_SDSHASH_H
#define ARWREN_SUPPORT_CONTAINERS_SDSHASH_H

#include <cstdio>

#include "support/CONTAINERS/sdslist.h"

class MZONE;

// A hash table of key/value pairs with a fixed number of rows chosen at
// construction (it never grows or rehashes). Each row is an SLIST of entry
// records kept in the order of the compare function, so keys that compare
// equal sit together (find_first gives the first of them). Keys are either all scalars
// (unsigned long) or all pointers; mixing them is reported and tolerated.
// All memory comes from a zone, the caller's or one the table makes itself.
class SHASH {
public:
    typedef SLIST::NODE NODE;
    // Receives a pointer to the key word and the row count.
    typedef unsigned long (*HASH_FUNC)(const void* key_word, int rows);
    // Receives two entry records (the probe first when searching).
    typedef SLIST::CMP_FUNC CMP_FUNC;

    // The item of every row node. The first word points at the key word of
    // the same record, so a compare function reaches the key through one
    // dereference of the record it is given.
    struct ENTRY {
        const void* key_ptr;     // &key_word
        void* value;
        unsigned long key_word;  // the scalar key, or the pointer key's address
    };
    static_assert(sizeof(unsigned long) == sizeof(void*), "a key word holds a pointer");
    static_assert(sizeof(ENTRY) == 3 * sizeof(void*), "an entry is three words");

    enum KEY_TYPE { KEY_NONE = 0, KEY_POINTER = 1, KEY_SCALAR = 2 };

    SHASH(MZONE* zone, HASH_FUNC hash, CMP_FUNC cmp, int rows);
    SHASH(HASH_FUNC hash, CMP_FUNC cmp, int rows);
    ~SHASH();
    SHASH(const SHASH&) = delete;
    SHASH& operator=(const SHASH&) = delete;

    NODE* add(unsigned long key, void* value);
    NODE* add(const void* key, void* value);
    NODE* find(unsigned long key);
    NODE* find(const void* key);
    NODE* find_first(unsigned long key);
    NODE* find_first(const void* key);
    // Erasing by key removes the first entry with that key.
    bool erase(unsigned long key);
    bool erase(const void* key);
    bool erase(NODE* node);
    void update(NODE* node, void* value);

    // Iteration runs row by row; end() is the last entry, so that
    // for (n = end(); n; n = prev(n)) walks backwards.
    NODE* begin() const;
    NODE* end() const;
    NODE* next(const NODE* node) const;
    NODE* prev(const NODE* node) const;
    // The next entry whose key compares equal to this one's.
    NODE* find_next(NODE* node);

    // Entries already added stay in the rows the old function chose.
    void set_hash_func(HASH_FUNC hash) { hash_ = hash; }
    void set_cmp_func(CMP_FUNC cmp);

    unsigned size() const { return size_; }
    int rows() const { return nrows_; }
    KEY_TYPE key_type() const { return key_type_; }
    void clear();
    void dump(FILE* out) const;

    static void* value(const NODE* node) { return entry(node)->value; }
    static unsigned long scalar_key(const NODE* node) { return entry(node)->key_word; }
    static const void* pointer_key(const NODE* node);

private:
    static ENTRY* entry(const NODE* node) { return static_cast<ENTRY*>(node->item()); }
    void init(HASH_FUNC hash, CMP_FUNC cmp, int rows);
    void check_key_type(KEY_TYPE type, const char* title, const char* text);
    NODE* add_entry(unsigned long key_word, void* value);
    SLIST* row_of(const ENTRY* entry) const;
    int row_index(const NODE* node) const;
    NODE* first_from(int row) const;
    NODE* last_before(int row) const;

    SLIST* rows_;
    CMP_FUNC cmp_;
    HASH_FUNC hash_;
    unsigned size_;
    int nrows_;
    MZONE* zone_;
    bool own_zone_;
    KEY_TYPE key_type_;
};

// Ready-made hash functions: each takes a pointer to the key word and
// returns a row below `rows` (0 when rows is not positive).
unsigned long str_hash(const void* key_word, int rows);
unsigned long ptr_hash(const void* key_word, int rows);
unsigned long UINT32_hash(const void* key_word, int rows);

// Ready-made compare functions on two entry records.
int str_cmp(const void* a, const void* b);
int UINT32_cmp(const void* a, const void* b);

#endif

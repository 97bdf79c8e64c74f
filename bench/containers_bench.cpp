// Times 100,000 sorted insertions into one list. Each insertion costs a
// binary search of the sorted table (about log2(n) comparisons) plus a shift
// of the table entries after the insertion point; the list is never re-sorted
// as a whole, so the comparison count stays near n * log2(n).
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "support/CONTAINERS/sdslist.h"
#include "support/mzone.h"

namespace {

unsigned long long comparisons = 0;

int counting_cmp(const void* a, const void* b) {
    ++comparisons;
    const uint32_t x = *static_cast<const uint32_t*>(a);
    const uint32_t y = *static_cast<const uint32_t*>(b);
    return x < y ? -1 : (x > y ? 1 : 0);
}

// A fixed xorshift sequence, so that every run inserts the same keys.
std::vector<uint32_t> make_keys(size_t n) {
    std::vector<uint32_t> keys(n);
    uint32_t state = 2463534242u;
    for (uint32_t& key : keys) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        key = state;
    }
    return keys;
}

}  // namespace

int main() {
    const size_t count = 100000;
    std::vector<uint32_t> keys = make_keys(count);
    MZONE zone(1 << 16, "bench", 0);
    SLIST list(&zone);
    list.set_cmp_func(counting_cmp);

    const auto start = std::chrono::steady_clock::now();
    for (uint32_t& key : keys)
        list.insert_sorted(&key);
    const auto stop = std::chrono::steady_clock::now();

    const double ms = std::chrono::duration<double, std::milli>(stop - start).count();
    const double bound = static_cast<double>(count) * std::log2(static_cast<double>(count));
    std::printf("insert_sorted x %zu: %.1f ms, %llu comparisons (n*log2(n) = %.0f, %.2f per insert)\n",
                count, ms, comparisons, bound, static_cast<double>(comparisons) / static_cast<double>(count));
    return list.size() == count ? 0 : 1;
}

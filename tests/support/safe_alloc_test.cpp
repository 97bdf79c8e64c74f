#include "support/safe_alloc.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

namespace {

// A zero-byte request must not pass for a failure.
TEST(SafeAllocTest, ZeroBytesStillAllocate) {
    void* none = safemalloc(0);
    EXPECT_NE(none, nullptr);
    free(none);
}

#if defined(__SANITIZE_ADDRESS__)
#define ARWREN_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ARWREN_ASAN 1
#endif
#endif

#ifndef ARWREN_ASAN
// The sanitizers' allocator reports huge requests itself instead of
// returning null, so this runs only in plain builds.
TEST(SafeAllocDeathTest, FailureEndsProcess) {
    EXPECT_EXIT(safemalloc(SIZE_MAX / 2), testing::ExitedWithCode(1), "^ERROR: out of memory\n$");
    EXPECT_EXIT(safecalloc(SIZE_MAX / 2, 4), testing::ExitedWithCode(1), "^ERROR: out of memory\n$");
    EXPECT_EXIT(saferealloc(nullptr, SIZE_MAX / 2), testing::ExitedWithCode(1), "^ERROR: out of memory\n$");
}
#endif

}  // namespace

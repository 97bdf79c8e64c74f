// Member contents kept between the index pass and the copy: where they can
// be read back, in which order they are handed out, the bound, the pool's
// file and what happens when it cannot be written.

#include "ar/lib/ar_content_pool.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "ar/lib/ar_member.h"
#include "common/scratch_dir.h"
#include "support/fhm_file.h"
#include "support/file_handle_manager.h"

namespace {

const unsigned char* bytes_of(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

// The file is made beside the archive under its name, the process id and
// ".pool", never over a file that exists, and leaves no name behind; a file
// of that name made later is not the pool's to remove.
TEST(ContentPool, KeepsWithinTheBoundAndHandsOutInOrder) {
    SCRATCH_DIR scratch;
    const std::string beside = scratch.write("lib.a", ""), own = "lib.a." + std::to_string(getpid()) + ".pool";
    const int handles = FILE_HANDLE_MANAGER::instance()->handle_count();
    AR_MEMBER a{}, b{}, c{};
    {
        AR_CONTENT_POOL pool(10);
        scratch.write(own, "someone else's");
        EXPECT_FALSE(pool.keep(beside.c_str(), &a, bytes_of("first"), 5));
        EXPECT_EQ(scratch.read(own), "someone else's");
        std::remove(scratch.path(own).c_str());
        pool.clear();
        EXPECT_TRUE(pool.keep(beside.c_str(), &a, bytes_of("first"), 5));
        EXPECT_FALSE(pool.keep(beside.c_str(), &b, bytes_of("too long"), 8));
        EXPECT_TRUE(pool.keep(beside.c_str(), &c, bytes_of("third"), 5));
        EXPECT_EQ(scratch.names(), std::vector<std::string>{"lib.a"});
        scratch.write(own, "made later");
        pool.restore_files();
        EXPECT_TRUE(pool.finish_keeping());
        const std::pair<AR_MEMBER*, int64_t> takes[] = {{&c, -1}, {&a, 0}, {&b, -1}, {&c, 5}, {&c, -1}};
        for (const auto& take : takes)
            EXPECT_EQ(pool.take(take.first), take.second);   // in order, each once, never b
        char back[10];
        ASSERT_EQ(pool.file()->read_at(back, 10, 0), 10);
        EXPECT_EQ(std::string(back, 10), "firstthird");
        pool.clear();
        EXPECT_EQ(pool.take(&a), -1);
        std::remove(scratch.path(own).c_str());
        EXPECT_TRUE(pool.keep(beside.c_str(), &b, bytes_of("again"), 5));
        EXPECT_EQ(pool.take(&b), 0);
        scratch.write(own, "made later");
    }
    EXPECT_EQ(FILE_HANDLE_MANAGER::instance()->handle_count(), handles);
    EXPECT_EQ(scratch.read(own), "made later");
}

// When the pool's file cannot take what is kept, at once or when the
// stream's buffer is flushed at the end, nothing is handed out, not even
// members kept before, and nothing more is kept. The file size limit makes
// the writes fail (in a child process).
int keep_beyond_the_size_limit(const std::string& beside, bool at_the_end) {
    signal(SIGXFSZ, SIG_IGN);
    AR_MEMBER small{}, large{};
    AR_CONTENT_POOL pool;
    const rlimit limit{2, 2};
    if (!pool.keep(beside.c_str(), &small, bytes_of("small"), 5) || setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return 2;
    const std::string big(256 * 1024, 'b');
    if (!at_the_end && pool.keep(beside.c_str(), &large, bytes_of(big), big.size()))
        return 3;
    if (pool.finish_keeping() || pool.take(&small) != -1 || pool.keep(beside.c_str(), &large, bytes_of("x"), 1))
        return 4;
    return 0;
}

TEST(ContentPool, AFileThatCannotBeWrittenHandsOutNothing) {
    SCRATCH_DIR scratch;
    const std::string beside = scratch.write("lib.a", "");
    for (bool at_the_end : {false, true})
        EXPECT_EXIT(_exit(keep_beyond_the_size_limit(beside, at_the_end)), testing::ExitedWithCode(0), "") << at_the_end;
}

}  // namespace

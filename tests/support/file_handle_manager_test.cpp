#include "support/file_handle_manager.h"

#include <gtest/gtest.h>

#include <climits>
#include <dirent.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "common/scratch_dir.h"

namespace {

TEST(FileHandleManagerTest, ReopenModeTable) {
    struct CASE {
        const char* mode;
        const char* reopen;
    } const cases[] = {
        {"r", "r"},     {"rb", "rb"},   {"r+", "r+"},   {"r+b", "r+b"}, {"rb+", "r+b"},
        {"rt", "r"},    {"w", "r+"},    {"wb", "r+b"},  {"w+", "r+"},   {"w+b", "r+b"},
        {"wb+", "r+b"}, {"a", "a"},     {"ab", "ab"},   {"a+", "a+"},   {"a+b", "a+b"},
        {"ab+", "a+b"}, {"x", "r"},     {"", "r"},      {"R", "r"},     {"r  b", "r"},
    };
    for (const CASE& c : cases)
        EXPECT_STREQ(FILE_HANDLE_MANAGER::detect_reopen_mode(c.mode), c.reopen) << c.mode;
    EXPECT_STREQ(FILE_HANDLE_MANAGER::detect_reopen_mode(nullptr), "r");
}

// Thirteen small files, each holding 64 copies of its own letter followed
// by its position, so that a read shows both which file and where.
class ManagedFiles : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(scratch.ok());
        for (int i = 0; i < 13; ++i) {
            std::string bytes;
            for (int k = 0; k < 64; ++k)
                bytes += static_cast<char>('a' + i), bytes += static_cast<char>(k);
            names.push_back(scratch.write("f" + std::to_string(i), bytes));
        }
    }

    // Reads two bytes and returns the position byte, or -1.
    static int read_pair(FHM_FILE* file, int letter) {
        unsigned char pair[2];
        FILE* stream = file->fp();
        if (stream == nullptr || fread(pair, 1, 2, stream) != 2 || pair[0] != letter)
            return -1;
        return pair[1];
    }

    SCRATCH_DIR scratch;
    std::vector<std::string> names;
    FILE_HANDLE_MANAGER manager;
};

TEST_F(ManagedFiles, ThirteenthOpenEvictsLeastRecentlyUsed) {
    std::vector<FHM_FILE*> files;
    for (int i = 0; i < 12; ++i) {
        files.push_back(manager.open(names[i].c_str(), "rb"));
        ASSERT_NE(files.back(), nullptr);
        ASSERT_EQ(read_pair(files[i], 'a' + i), 0);
    }
    ASSERT_EQ(read_pair(files[0], 'a'), 1);   // file 1 is now the oldest
    ASSERT_EQ(read_pair(files[1], 'b'), 1);   // and now file 2
    files.push_back(manager.open(names[12].c_str(), "rb"));
    ASSERT_NE(files[12], nullptr);
    EXPECT_EQ(manager.open_count(), 12);
    EXPECT_FALSE(files[2]->is_open());
    for (int i = 0; i < 13; ++i) {
        if (i != 2) {
            EXPECT_TRUE(files[i]->is_open()) << i;
        }
    }

    // The evicted file carries on where it stopped; its reopen evicts file 3.
    EXPECT_EQ(read_pair(files[2], 'c'), 1);
    EXPECT_EQ(read_pair(files[2], 'c'), 2);
    EXPECT_EQ(files[2]->reopen_count(), 1);
    EXPECT_FALSE(files[3]->is_open());
    EXPECT_EQ(read_pair(files[3], 'd'), 1);
    EXPECT_EQ(manager.open_count(), 12);
    for (FHM_FILE* file : files)
        EXPECT_EQ(fhm_close(file), 0);
    EXPECT_EQ(manager.open_count(), 0);
    EXPECT_EQ(manager.handle_count(), 0);
}

TEST_F(ManagedFiles, WrittenFileSurvivesEviction) {
    FHM_FILE* out = manager.open(scratch.path("out").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    EXPECT_STREQ(out->mode(), "r+b");
    fputs("hello", out->fp());
    std::vector<FHM_FILE*> others;
    for (int i = 0; i < 12; ++i)
        others.push_back(manager.open(names[i].c_str(), "rb"));
    ASSERT_FALSE(out->is_open());
    fputs(", world", out->fp());
    EXPECT_EQ(out->reopen_count(), 1);
    EXPECT_EQ(fhm_close(out), 0);
    EXPECT_EQ(scratch.read("out"), "hello, world");
    for (FHM_FILE* file : others)
        fhm_close(file);
}

TEST_F(ManagedFiles, LockedFilesAreNeverEvicted) {
    std::vector<FHM_FILE*> files;
    for (int i = 0; i < 12; ++i)
        files.push_back(manager.open(names[i].c_str(), "rb"));
    files[0]->lock(true);
    FHM_FILE* extra = manager.open(names[12].c_str(), "rb");
    ASSERT_NE(extra, nullptr);
    EXPECT_TRUE(files[0]->is_open());
    EXPECT_FALSE(files[1]->is_open());

    for (FHM_FILE* file : files)
        file->lock(true);
    extra->lock(true);
    files[1]->lock(false);
    EXPECT_EQ(manager.open(names[1].c_str(), "rb"), nullptr);   // every slot locked
    EXPECT_EQ(files[1]->fp(), nullptr);                          // cannot come back either
    extra->lock(false);
    EXPECT_NE(files[1]->fp(), nullptr);
    EXPECT_FALSE(extra->is_open());
    for (FHM_FILE* file : files)
        fhm_close(file);
    fhm_close(extra);
}

TEST_F(ManagedFiles, UseStampsSurviveCounterWrap) {
    manager.set_use_counter(UINT_MAX - 5);
    std::vector<FHM_FILE*> files;
    for (int i = 0; i < 12; ++i)
        files.push_back(manager.open(names[i].c_str(), "rb"));
    FHM_FILE* extra = manager.open(names[12].c_str(), "rb");
    EXPECT_FALSE(files[0]->is_open());
    for (int i = 1; i < 12; ++i)
        EXPECT_TRUE(files[i]->is_open()) << i;
    for (FHM_FILE* file : files)
        fhm_close(file);
    fhm_close(extra);
}

TEST_F(ManagedFiles, HandleTableCompactsThenGrows) {
    FILE_HANDLE_MANAGER small(4);
    std::vector<FHM_FILE*> files;
    for (int i = 0; i < 4; ++i)
        files.push_back(small.open(names[i].c_str(), "rb"));
    fhm_close(files[0]);
    fhm_close(files[2]);
    files.push_back(small.open(names[4].c_str(), "rb"));    // fills a hole
    EXPECT_EQ(small.capacity(), 4);
    files.push_back(small.open(names[5].c_str(), "rb"));
    files.push_back(small.open(names[6].c_str(), "rb"));    // table full: grows
    EXPECT_GT(small.capacity(), 4);
    EXPECT_EQ(small.handle_count(), 5);
    const int letters[] = {'b', 'd', 'e', 'f', 'g'};
    const int kept[] = {1, 3, 4, 5, 6};
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(read_pair(files[kept[k]], letters[k]), 0);
    for (int k : kept)
        EXPECT_EQ(fhm_close(files[k]), 0);
}

TEST_F(ManagedFiles, ManyMoreHandlesThanStreams) {
    std::vector<FHM_FILE*> files;
    for (int i = 0; i < 1100; ++i)
        files.push_back(manager.open(names[i % 13].c_str(), "rb"));
    EXPECT_GT(manager.capacity(), 1024);
    EXPECT_EQ(manager.open_count(), 12);
    for (int i = 0; i < 1100; i += 97)
        EXPECT_EQ(read_pair(files[i], 'a' + i % 13), 0) << i;
    for (FHM_FILE* file : files)
        fhm_close(file);
    EXPECT_EQ(manager.handle_count(), 0);
}

// With the process out of descriptors, opening evicts and retries. Runs in
// a child process; the result is its exit status.
int open_twelve_with_few_descriptors(const std::vector<std::string>& names) {
    int in_use = 0;
    if (DIR* fds = opendir("/proc/self/fd")) {
        while (readdir(fds) != nullptr)
            ++in_use;
        closedir(fds);
    }
    rlimit saved;
    if (in_use == 0 || getrlimit(RLIMIT_NOFILE, &saved) != 0)
        return 3;
    rlimit tight{static_cast<rlim_t>(in_use + 2), saved.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &tight) != 0)
        return 3;
    int status = 0;
    {
        FILE_HANDLE_MANAGER local;
        std::vector<FHM_FILE*> files;
        for (int i = 0; i < 12 && status == 0; ++i) {
            files.push_back(local.open(names[i].c_str(), "rb"));
            if (files.back() == nullptr)
                status = 2;
        }
        for (int i = 0; i < 12 && status == 0; ++i) {
            unsigned char pair[2];
            FILE* stream = files[i]->fp();
            if (stream == nullptr || fread(pair, 1, 2, stream) != 2 || pair[0] != 'a' + i)
                status = 4;
        }
        if (status == 0 && local.open_count() == 12)
            status = 5;   // the limit did not bite
    }
    setrlimit(RLIMIT_NOFILE, &saved);
    return status;
}

TEST_F(ManagedFiles, DescriptorShortageEvictsAndRetries) {
    EXPECT_EXIT(_exit(open_twelve_with_few_descriptors(names)), testing::ExitedWithCode(0), "");
}

TEST(FhmTest, StandardStreamsAreNeverClosed) {
    EXPECT_EQ(fhm_stdin()->fp(), stdin);
    EXPECT_EQ(fhm_stdout()->fp(), stdout);
    EXPECT_STREQ(fhm_stderr()->name(), "(stderr)");
    EXPECT_STREQ(fhm_stdin()->name(), "(stdin)");
    EXPECT_EQ(fhm_close(fhm_stdout()), 0);
    EXPECT_EQ(fhm_close(fhm_stderr()), 0);
    EXPECT_EQ(fhm_stdout()->fp(), stdout);
    EXPECT_EQ(fhm_close(nullptr), EOF);
}

TEST(FhmTest, ProcessManagerOpensAndCloses) {
    SCRATCH_DIR scratch;
    std::string name = scratch.write("one", "abc");
    FHM_FILE* file = fhm_open(name.c_str(), "r");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->manager(), FILE_HANDLE_MANAGER::instance());
    EXPECT_EQ(fgetc(file->fp()), 'a');
    EXPECT_EQ(fhm_close(file), 0);
    EXPECT_EQ(fhm_open(scratch.path("none").c_str(), "r"), nullptr);
}

}  // namespace

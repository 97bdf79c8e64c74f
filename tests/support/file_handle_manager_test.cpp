#include "support/file_handle_manager.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/scratch_dir.h"

namespace {

TEST(FileHandleManagerTest, ReopenModeTable) {
    const struct { const char* mode; const char* reopen; } cases[] = {
        {"r", "r"},     {"rb", "rb"},   {"r+", "r+"},   {"rb+", "r+b"}, {"rt", "r"},    {"w", "r+"},
        {"wb", "r+b"},  {"w+", "r+"},   {"wb+", "r+b"}, {"a", "a"},     {"ab", "ab"},   {"ab+", "a+b"},
        {"x", "r"},     {"", "r"},      {"R", "r"},     {"r  b", "r"},  {nullptr, "r"},
    };
    for (const auto& c : cases)
        EXPECT_STREQ(FILE_HANDLE_MANAGER::detect_reopen_mode(c.mode), c.reopen) << (c.mode ? c.mode : "null");
}

// Thirteen files, each holding 64 copies of its own letter followed by the
// copy's position, so that a read shows both which file and where.
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

    // Opens count files through manager, going round the thirteen.
    std::vector<FHM_FILE*> open_files(FILE_HANDLE_MANAGER& manager, int count) {
        std::vector<FHM_FILE*> files;
        for (int i = 0; i < count; ++i)
            files.push_back(manager.open(names[i % 13].c_str(), "rb"));
        return files;
    }

    // Reads two bytes and returns the position byte, or -1.
    static int read_pair(FHM_FILE* file, int letter) {
        unsigned char pair[2];
        FILE* stream = file->fp();
        if (stream == nullptr || fread(pair, 1, 2, stream) != 2 || pair[0] != letter)
            return -1;
        return pair[1];
    }

    static void close_all(const std::vector<FHM_FILE*>& files) {
        for (FHM_FILE* file : files)
            EXPECT_EQ(fhm_close(file), 0);
    }

    SCRATCH_DIR scratch;
    std::vector<std::string> names;
};

// Also with use stamps that wrap around while the files are opened.
TEST_F(ManagedFiles, ThirteenthOpenEvictsLeastRecentlyUsed) {
    for (unsigned start : {0u, UINT_MAX - 5}) {
        FILE_HANDLE_MANAGER manager;
        manager.set_use_counter(start);
        std::vector<FHM_FILE*> files = open_files(manager, 12);
        for (int i = 0; i < 12; ++i)
            ASSERT_EQ(read_pair(files[i], 'a' + i), 0);
        ASSERT_EQ(read_pair(files[0], 'a'), 1);   // file 1 is now the oldest
        ASSERT_EQ(read_pair(files[1], 'b'), 1);   // and now file 2
        files.push_back(manager.open(names[12].c_str(), "rb"));
        EXPECT_EQ(manager.open_count(), 12);
        for (int i = 0; i < 13; ++i)
            EXPECT_EQ(files[i]->is_open(), i != 2) << i;

        // The evicted file carries on where it stopped; its reopen evicts file 3.
        EXPECT_EQ(read_pair(files[2], 'c'), 1);
        EXPECT_EQ(read_pair(files[2], 'c'), 2);
        EXPECT_EQ(files[2]->reopen_count(), 1);
        EXPECT_FALSE(files[3]->is_open());
        EXPECT_EQ(read_pair(files[3], 'd'), 1);
        close_all(files);
        EXPECT_EQ(manager.handle_count(), 0);
    }
}

// Closed handles leave holes that are squeezed out only when the table is
// full, and only then does it grow. A file that cannot be opened costs no
// other file its stream.
TEST_F(ManagedFiles, HandleTableCompactsThenGrows) {
    FILE_HANDLE_MANAGER manager(4);
    std::vector<FHM_FILE*> files = open_files(manager, 4);
    EXPECT_EQ(fhm_close(files[1]), 0);
    EXPECT_EQ(fhm_close(files[2]), 0);
    files[1] = manager.open(names[4].c_str(), "rb");
    files[2] = manager.open(names[5].c_str(), "rb");
    EXPECT_EQ(manager.handle_count(), 4);
    EXPECT_EQ(manager.capacity(), 4);
    for (int i = 0; i < 96; ++i)
        files.push_back(manager.open(names[i % 13].c_str(), "rb"));
    EXPECT_EQ(manager.handle_count(), 100);
    EXPECT_EQ(manager.open(scratch.path("missing").c_str(), "rb"), nullptr);
    EXPECT_EQ(manager.open_count(), 11);   // one slot was freed for it
    for (int i = 0; i < 100; i += 7)
        EXPECT_EQ(read_pair(files[i], i < 4 ? "aefd"[i] : 'a' + (i - 4) % 13), 0) << i;
    close_all(files);
    EXPECT_EQ(manager.handle_count(), 0);
}

// Positioned reads stop at the end of the file (whatever errno says), reopen
// an evicted file, take what a lent view holds wholly, and leave the stream
// where it was.
TEST_F(ManagedFiles, PositionedReadsLeaveTheStreamWhereItWas) {
    FILE_HANDLE_MANAGER manager;
    FHM_FILE* file = manager.open(names[0].c_str(), "rb");
    ASSERT_EQ(read_pair(file, 'a'), 0);
    unsigned char bytes[4];
    EXPECT_EQ(file->read_at(bytes, 4, 126), 2);   // the file has 128 bytes
    errno = EINTR;
    EXPECT_EQ(file->read_at(bytes, 4, 200), 0);
    std::vector<FHM_FILE*> others = open_files(manager, 12);
    ASSERT_FALSE(file->is_open());
    const unsigned char lent[] = "WXYZ";
    file->set_view(lent, 10, 4);
    const struct { size_t at; std::string bytes; } cases[] = {{10, "WXYZ"}, {12, std::string("a\6a\7", 4)}, {9, "\4a\5a"}};
    for (const auto& c : cases) {
        ASSERT_EQ(file->read_at(bytes, 4, c.at), 4);
        EXPECT_EQ(std::string(bytes, bytes + 4), c.bytes) << c.at;
    }
    file->clear_view();
    ASSERT_EQ(file->read_at(bytes, 1, 10), 1);
    EXPECT_EQ(bytes[0], 'a');
    EXPECT_EQ(read_pair(file, 'a'), 1);
    close_all(others);
    EXPECT_EQ(fhm_close(file), 0);
}

// A file written with "wb" reopens as "r+b": not truncated, and readable.
// Output still in a stream's buffer is flushed before a positioned read; a
// stream that cannot be read refuses.
TEST_F(ManagedFiles, WrittenFilesSurviveEvictionAndFlushForPositionedReads) {
    FILE_HANDLE_MANAGER manager;
    FHM_FILE* out = manager.open(scratch.path("out").c_str(), "wb");
    FHM_FILE* append = manager.open(scratch.path("append").c_str(), "ab");
    FHM_FILE* update = manager.open(scratch.path("update").c_str(), "w+b");
    char bytes[16] = {};
    for (FHM_FILE* file : {out, append, update}) {
        EXPECT_FALSE(file->is_read_only());
        fputs("hello", file->fp());
    }
    EXPECT_EQ(out->read_at(bytes, 5, 0), -1);
    EXPECT_EQ(append->read_at(bytes, 5, 0), -1);
    EXPECT_EQ(update->read_at(bytes, sizeof bytes, 0), 5);
    EXPECT_STREQ(bytes, "hello");
    std::vector<FHM_FILE*> others = open_files(manager, 12);
    ASSERT_FALSE(out->is_open());
    fputs(", world", out->fp());
    EXPECT_EQ(out->reopen_count(), 1);
    EXPECT_EQ(out->read_at(bytes, 12, 0), 12);
    EXPECT_EQ(std::string(bytes, 12), "hello, world");
    EXPECT_TRUE(others[0]->is_read_only());
    close_all(others);
    close_all({out, append, update});
}

TEST(FhmTest, StandardStreamsAreNeverClosed) {
    EXPECT_EQ(fhm_stdin()->fp(), stdin);
    EXPECT_STREQ(fhm_stderr()->name(), "(stderr)");
    EXPECT_EQ(fhm_close(fhm_stdout()), 0);
    EXPECT_EQ(fhm_close(fhm_stderr()), 0);
    EXPECT_EQ(fhm_stdout()->fp(), stdout);
    EXPECT_EQ(fhm_close(nullptr), EOF);
}

}  // namespace

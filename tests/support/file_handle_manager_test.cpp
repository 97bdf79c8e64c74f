#include "support/file_handle_manager.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "common/scratch_dir.h"

namespace {

TEST(FileHandleManagerTest, ReopenModeTable) {
    const struct { const char* mode; const char* reopen; } cases[] = {
        {"rb+", "r+b"}, {"rt", "r"}, {"w", "r+"}, {"wb+", "r+b"}, {"ab+", "a+b"}, {"x", "r"}, {"r  b", "r"}, {nullptr, "r"}};
    for (const auto& c : cases)
        EXPECT_STREQ(FILE_HANDLE_MANAGER::detect_reopen_mode(c.mode), c.reopen) << (c.mode ? c.mode : "null");
}

// Thirteen files, each holding 64 copies of its own letter followed by the
// copy's position, so that a read shows both which file and where. The
// manager keeps twelve streams open.
class ManagedFiles : public testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 13; ++i) {
            std::string bytes;
            for (int k = 0; k < 64; ++k)
                bytes += std::string{static_cast<char>('a' + i), static_cast<char>(k)};
            names.push_back(scratch.write("f" + std::to_string(i), bytes));
        }
    }

    std::vector<FHM_FILE*> open_files(FILE_HANDLE_MANAGER& manager, int count) {
        std::vector<FHM_FILE*> files;
        for (int i = 0; i < count; ++i)
            files.push_back(manager.open(names[i].c_str(), "rb"));
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

// Also with use stamps that wrap around while the files are opened. The
// evicted file carries on where it stopped; its reopen evicts the next oldest.
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
        EXPECT_EQ(read_pair(files[2], 'c'), 1);
        EXPECT_EQ(files[2]->reopen_count(), 1);
        EXPECT_EQ(read_pair(files[3], 'd'), 1);
        EXPECT_EQ(manager.handle_count(), 13);
        close_all(files);
        EXPECT_EQ(manager.handle_count(), 0);
    }
}

// Positioned reads stop at the end of the file, reopen an evicted file,
// take what a lent view holds wholly, and leave the stream where it was. A
// file written with "wb" reopens as "r+b": not truncated, and readable; its
// buffered output is flushed before a positioned read.
TEST_F(ManagedFiles, PositionedReadsLeaveTheStreamWhereItWas) {
    FILE_HANDLE_MANAGER manager;
    FHM_FILE* file = manager.open(names[12].c_str(), "rb");
    FHM_FILE* out = manager.open(scratch.path("out").c_str(), "wb");
    ASSERT_EQ(read_pair(file, 'm'), 0);
    unsigned char bytes[16];
    EXPECT_EQ(file->read_at(bytes, 4, 126), 2);   // the file has 128 bytes
    fputs("hello", out->fp());
    EXPECT_EQ(out->read_at(bytes, 5, 0), -1);
    std::vector<FHM_FILE*> others = open_files(manager, 12);
    ASSERT_FALSE(file->is_open() || out->is_open());
    const unsigned char lent[] = "WXYZ";
    file->set_view(lent, 10, 4);
    for (size_t at : {10, 12}) {
        ASSERT_EQ(file->read_at(bytes, 4, at), 4);
        EXPECT_EQ(std::string(bytes, bytes + 4), at == 10 ? "WXYZ" : std::string("m\6m\7", 4)) << at;
    }
    file->clear_view();
    ASSERT_EQ(file->read_at(bytes, 1, 10), 1);
    EXPECT_EQ(bytes[0], 'm');
    EXPECT_EQ(read_pair(file, 'm'), 1);
    fputs(", world", out->fp());
    EXPECT_EQ(out->read_at(bytes, 12, 0), 12);
    EXPECT_EQ(std::string(bytes, bytes + 12), "hello, world");
    close_all(others);
    close_all({file, out});
}

TEST(FhmTest, StandardStreamsAreNeverClosed) {
    EXPECT_EQ(fhm_close(fhm_stdout()), 0);
    EXPECT_EQ(fhm_stdout()->fp(), stdout);
    EXPECT_EQ(fhm_close(nullptr), EOF);
}

}  // namespace

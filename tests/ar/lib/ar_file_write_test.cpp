// Writing archives where the front end cannot reach: the header limits, and
// that a failed or abandoned rewrite, at whatever stage, leaves the old
// archive as it was and nothing beside it.

#include "archive_test_env.h"
#include "common/elf_builder.h"
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "support/fhm_file.h"
#include "support/file_handle_manager.h"

namespace {

using B = ARCHIVE_BUILDER;

class ArchiveWrite : public ARCHIVE_TEST {
protected:
    const std::string old_ = B(B::NU_LONG_NAME).member("short.o", "abc", 5).member("a_long_member_name.o", "xy", 6).bytes();

    void expect_old_archive_alone() {
        EXPECT_EQ(read("lib.a"), old_);
        EXPECT_EQ(dir_.names(), std::vector<std::string>{"lib.a"});
    }
};

// The size field takes at most 8 digits; NU long-name offsets sit in the
// 6-character uid field.
TEST_F(ArchiveWrite, HeaderLimits) {
    auto ar = open_archive("new.a");
    ASSERT_TRUE(ar->open_new_ar(AR_ABI_NU_LONG_NAME));
    AR_MEMBER* m = ar->new_member("big.o", 0, 99999999, nullptr);
    EXPECT_TRUE(ar->write_header(m));
    m->size = 100000000;
    EXPECT_FALSE(ar->write_header(m));
    m->size = 0;
    m->long_name_offset = 999999;
    EXPECT_TRUE(ar->write_header(m));
    m->long_name_offset = 1000000;
    EXPECT_FALSE(ar->write_header(m));
    EXPECT_EQ(recorded_errors(), (ERRORS{{6, "Member file too large: 'big.o'"}, {7, "Archive file name table too large"}}));
    ar->cleanup();
    EXPECT_TRUE(dir_.names().empty());
    // A long-name table past the limit stops the write.
    recorded_errors().clear();
    ar = open_archive("new.a");
    add_file(*ar, std::string(99999999, 'n'), "x", "x.o");
    EXPECT_FALSE(ar->write_archive(AR_ABI_POSIX));
    EXPECT_EQ(recorded_errors(), (ERRORS{{6, "Member file too large: '//'"}}));
}

// A disk that fills up, under a file size limit in a child process: the
// write fails with its message, whether the flush at the end is the first
// to fail or the writing of an index or a long-name table larger than the
// stream's buffer is.
int write_beyond_the_size_limit(const std::string& archive, const std::string& member, int32_t size, int count,
                                const std::string& message) {
    signal(SIGXFSZ, SIG_IGN);
    AR_FILE ar(archive.c_str(), nullptr, record_error);
    for (int i = 0; i < count; ++i)
        ar.add_member(ar.new_member((std::string(100, 'n') + std::to_string(i)).c_str(), 1, size, member.c_str()));
    const rlimit limit{50000, 50000};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return 2;
    return ar.write_archive(AR_ABI_POSIX) || recorded_errors() != ERRORS{{4, message}};
}

TEST_F(ArchiveWrite, FullDiskFailsTheWrite) {
    ELF_BUILDER elf;
    elf.symbol(std::string(100, 's'), 1, 2, 0xfff1).repeated(3000);   // 300 KB of index
    const struct {
        std::string bytes;
        int count;
        std::string message;
    } cases[] = {
        {std::string(100000, 'm'), 1, "Cannot write archive: '" + path("new.a") + "'"},
        {"m", 3000, "Cannot write name_table"},
        {elf.bytes(), 1, "Cannot write symbol table"},
    };
    for (const auto& c : cases) {
        const std::string member = write("m.o", c.bytes);
        EXPECT_EXIT(_exit(write_beyond_the_size_limit(path("new.a"), member, int32_t(c.bytes.size()), c.count, c.message)),
                    testing::ExitedWithCode(0), "") << c.message;
    }
}

// A member file that cannot be opened, or is shorter than its recorded size,
// stops the rewrite; cleanup, or abandoning the archive, puts the old one back.
TEST_F(ArchiveWrite, FailedRewriteLeavesOldArchive) {
    for (bool shrunk : {false, true}) {
        recorded_errors().clear();
        write("lib.a", old_);
        auto ar = open_archive("lib.a");
        ar->add_member(ar->new_member("f.o", 1, 10, path("f.o").c_str()));
        if (shrunk)
            write("f.o", "abc");
        EXPECT_FALSE(ar->write_archive(AR_ABI_POSIX));
        const ERRORS expected = {shrunk ? RECORDED_ERROR{3, "Error writing archive"}
                                        : RECORDED_ERROR{2, "Cannot open file: '" + path("f.o") + "'"}};
        EXPECT_EQ(recorded_errors().at(0), expected.at(0));
        if (shrunk) {
            ar.reset();
            std::remove(path("f.o").c_str());
        } else {
            EXPECT_EQ(dir_.names().size(), 2u);   // the half-written archive and the old one aside
            ar->cleanup();
            EXPECT_STREQ(ar->name(), path("lib.a").c_str());
        }
        expect_old_archive_alone();
    }
}

// Whatever point a rewrite stops at, cleanup restores the old archive, and
// repeating it is harmless.
TEST_F(ArchiveWrite, CleanupAtEveryStageRestoresOldArchive) {
    const int handles = FILE_HANDLE_MANAGER::instance()->handle_count();
    for (int stage = 0; stage < 4; ++stage) {
        SCOPED_TRACE(stage);
        write("lib.a", old_);
        auto ar = open_archive("lib.a");
        ASSERT_TRUE(ar->open_new_ar(AR_ABI_KEEP));
        if (stage >= 1)
            ar->calculate_long_name_offsets();
        ASSERT_TRUE(stage < 2 || ar->write_long_name_table());
        ASSERT_TRUE(stage < 3 || ar->write_member(ar->first_member()));
        for (int twice = 0; twice < 2; ++twice) {
            ar->cleanup();
            expect_old_archive_alone();
            EXPECT_EQ(FILE_HANDLE_MANAGER::instance()->handle_count(), handles);
        }
    }
}

// An archive that cannot be moved aside (here it vanished after it was
// opened) or created stops the rewrite before anything is written; once an
// archive has been written, its old input is gone, and writing again is
// refused rather than truncating the new one.
TEST_F(ArchiveWrite, ArchiveThatCannotBeMovedOrCreatedOrWrittenTwice) {
    write("lib.a", old_);
    FHM_FILE* input = fhm_open(path("lib.a").c_str(), "rb");
    AR_FILE vanished(path("vanished.a").c_str(), input, record_error);
    EXPECT_FALSE(vanished.write_archive(AR_ABI_KEEP));
    vanished.cleanup();
    fhm_close(input);
    AR_FILE uncreatable(path("lib.a/new.a").c_str(), nullptr, record_error);
    EXPECT_FALSE(uncreatable.write_archive(AR_ABI_KEEP));
    EXPECT_EQ(recorded_errors(), (ERRORS{{5, "Cannot create new archive"},
                                         {5, "Cannot create archive: '" + path("lib.a/new.a") + "'"}}));
    expect_old_archive_alone();

    recorded_errors().clear();
    auto ar = open_archive("lib.a");
    ASSERT_TRUE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_FALSE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_EQ(recorded_errors(), (ERRORS{{3, "Cannot read file: 'short.o'"}}));
    expect_old_archive_alone();
}

}  // namespace

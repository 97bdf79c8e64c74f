// Writing archives where the front end cannot reach: the header limits, and
// that a failed or abandoned rewrite leaves the old archive as it was and
// nothing beside it.

#include "archive_test_env.h"
#include "support/fhm_file.h"

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
        EXPECT_EQ(recorded_errors().at(0), (shrunk ? RECORDED_ERROR{3, "Error writing archive"}
                                                   : RECORDED_ERROR{2, "Cannot open file: '" + path("f.o") + "'"}));
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

// Once an archive has been written, its old input is gone, and writing
// again is refused rather than truncating the new one.
TEST_F(ArchiveWrite, WrittenArchiveIsNotWrittenTwice) {
    write("lib.a", old_);
    auto ar = open_archive("lib.a");
    ASSERT_TRUE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_FALSE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_EQ(recorded_errors(), (ERRORS{{3, "Cannot read file: 'short.o'"}}));
    expect_old_archive_alone();
}

}  // namespace

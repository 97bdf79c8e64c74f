// Writing archives: exact bytes in every format, size limits, and that a
// failed or interrupted rewrite leaves the old archive as it was.

#include <sys/stat.h>

#include "ar/lib/ar_header.h"
#include "archive_test_env.h"
#include "common/archive_builder.h"
#include "support/fhm_file.h"

namespace {

using B = ARCHIVE_BUILDER;

class ArchiveWrite : public ARCHIVE_TEST {};

struct MEMBER_DATA {
    std::string name;
    std::string data;
    long date;
};

// Names from 14 to 17 characters, odd, even and empty contents.
const std::vector<MEMBER_DATA> MEMBERS = {
    {"abcdefghijk.14", "odd", 100},          {"abcdefghijkl.15", "even", 200},
    {"abcdefghijklm.16", "", 300},           {"abcdefghijklmn.17", "x", 400},
    {"short.o", "contents\n", 500},          {"another_long_name.o", "yz", 600},
};

std::string build(B::FORM form, const std::vector<MEMBER_DATA>& members)
{
    B builder(form);
    for (const MEMBER_DATA& m : members)
        builder.member(m.name, m.data, m.date);
    return builder.bytes();
}

// Every format read is rewritten as asked; 0 keeps the format read, and an
// archive read without a long-name table becomes POSIX.
TEST_F(ArchiveWrite, RewritesExactBytesInEveryFormat)
{
    struct CASE {
        B::FORM from;
        AR_ABI abi;
        B::FORM to;
    } cases[] = {
        {B::POSIX, AR_ABI_ORIGINAL, B::ORIGINAL},  {B::POSIX, AR_ABI_NU_LONG_NAME, B::NU_LONG_NAME},
        {B::NU_LONG_NAME, AR_ABI_POSIX, B::POSIX}, {B::POSIX, AR_ABI_KEEP, B::POSIX},
        {B::NU_LONG_NAME, AR_ABI_KEEP, B::NU_LONG_NAME}, {B::ORIGINAL, AR_ABI_KEEP, B::POSIX},
    };
    for (const CASE& c : cases) {
        write("lib.a", build(c.from, MEMBERS));
        auto ar = open_archive("lib.a");
        ASSERT_TRUE(ar->write_archive(c.abi)) << c.from << "->" << c.abi;
        std::vector<MEMBER_DATA> expected = MEMBERS;
        if (c.from == B::ORIGINAL) {
            for (MEMBER_DATA& m : expected)
                m.name = m.name.substr(0, 15);
        }
        EXPECT_EQ(read("lib.a"), build(c.to, expected)) << c.from << "->" << c.abi;
        EXPECT_EQ(entries(), std::set<std::string>{"lib.a"});
        EXPECT_TRUE(recorded_errors().empty());
    }
}

TEST_F(ArchiveWrite, ShortNamesNeedNoTableInAnyFormat)
{
    std::vector<MEMBER_DATA> members = {{"a.o", "1", 1}, {"exactly15chars_", "22", 2}};
    for (AR_ABI abi : {AR_ABI_ORIGINAL, AR_ABI_NU_LONG_NAME, AR_ABI_POSIX}) {
        write("lib.a", build(B::POSIX, members));
        auto ar = open_archive("lib.a");
        ASSERT_TRUE(ar->write_archive(abi));
        EXPECT_EQ(ar->long_name_table_size(), 0);
        EXPECT_EQ(read("lib.a"), build(B::ORIGINAL, members)) << abi;
    }
}

TEST_F(ArchiveWrite, NewArchiveFromFilesRoundTrips)
{
    auto ar = open_archive("new.a");
    for (const MEMBER_DATA& m : MEMBERS) {
        std::string file = write(m.name, m.data);
        ar->add_member(ar->new_member(m.name.c_str(), int32_t(m.date), int32_t(m.data.size()),
                                      file.c_str()));
    }
    ASSERT_TRUE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_EQ(read("new.a"), build(B::POSIX, MEMBERS));
    auto back = open_archive("new.a");
    int i = 0;
    for (AR_MEMBER* m = back->first_member(); m != nullptr; m = m->next, ++i) {
        EXPECT_EQ(m->name, MEMBERS[size_t(i)].name);
        EXPECT_EQ(m->date, MEMBERS[size_t(i)].date);
        EXPECT_EQ(m->size, int32_t(MEMBERS[size_t(i)].data.size()));
    }
    EXPECT_EQ(i, int(MEMBERS.size()));
}

// Replacing and deleting members: kept members are copied from the old
// archive, replaced ones from their files.
TEST_F(ArchiveWrite, EditsCopyKeptMembersAndReadReplacedOnes)
{
    write("lib.a", build(B::POSIX, MEMBERS));
    auto ar = open_archive("lib.a");
    AR_MEMBER* replaced = ar->find_member("short.o");
    std::string file = write("short.o", "new contents");
    replaced->path = ar->zone()->strdup(file.c_str());
    replaced->size = 12;
    replaced->date = 999;
    replaced->data_offset = 0;
    ar->delete_member(ar->find_member("abcdefghijklm.16"));
    ASSERT_TRUE(ar->write_archive(AR_ABI_KEEP));
    std::vector<MEMBER_DATA> expected = MEMBERS;
    expected.erase(expected.begin() + 2);
    expected[3] = {"short.o", "new contents", 999};
    EXPECT_EQ(read("lib.a"), build(B::POSIX, expected));
    // The old archive is gone now; writing again must not truncate the new one.
    EXPECT_FALSE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_EQ(read("lib.a"), build(B::POSIX, expected));
    EXPECT_EQ(entries(), (std::set<std::string>{"lib.a", "short.o"}));
}

TEST_F(ArchiveWrite, HeaderLimits)
{
    auto ar = open_archive("lib.a");
    ASSERT_TRUE(ar->open_new_ar(AR_ABI_NU_LONG_NAME));
    AR_MEMBER* m = ar->new_member("big.o", 0, AR_MAX_MEMBER_SIZE, nullptr);
    EXPECT_TRUE(ar->write_header(m));
    m->size = AR_MAX_MEMBER_SIZE + 1;
    EXPECT_FALSE(ar->write_header(m));
    m->size = 0;
    m->long_name_offset = 999999;
    EXPECT_TRUE(ar->write_header(m));
    m->long_name_offset = 1000000;
    EXPECT_FALSE(ar->write_header(m));
    ASSERT_EQ(recorded_errors().size(), 2u);
    EXPECT_EQ(recorded_errors()[0].code, AR_MEMBER_TOO_LARGE);
    EXPECT_EQ(recorded_errors()[0].message, "Member file too large: 'big.o'");
    EXPECT_EQ(recorded_errors()[1].code, AR_NAME_TABLE_TOO_LARGE);
    EXPECT_EQ(recorded_errors()[1].message, "Archive file name table too large");
    ar->cleanup();
    EXPECT_TRUE(entries().empty());
}

// A member file that cannot be opened stops the rewrite; cleanup puts the
// old archive back byte for byte and leaves no other file behind.
TEST_F(ArchiveWrite, FailedRewriteLeavesOldArchive)
{
    const std::string old = build(B::NU_LONG_NAME, MEMBERS);
    write("lib.a", old);
    auto ar = open_archive("lib.a");
    ar->add_member(ar->new_member("gone.o", 1, 4, path("gone.o").c_str()));
    EXPECT_FALSE(ar->write_archive(AR_ABI_POSIX));
    ASSERT_FALSE(recorded_errors().empty());
    EXPECT_EQ(recorded_errors()[0].code, AR_OPEN_ERROR);
    EXPECT_EQ(recorded_errors()[0].message, "Cannot open file: '" + path("gone.o") + "'");
    EXPECT_EQ(entries().size(), 2u);  // the half-written archive and the old one aside
    ar->cleanup();
    EXPECT_EQ(read("lib.a"), old);
    EXPECT_EQ(entries(), std::set<std::string>{"lib.a"});
    EXPECT_STREQ(ar->name(), path("lib.a").c_str());
}

// A member file shorter than its recorded size is a read failure.
TEST_F(ArchiveWrite, ShrunkenMemberFileIsAReadError)
{
    const std::string old = build(B::POSIX, MEMBERS);
    write("lib.a", old);
    auto ar = open_archive("lib.a");
    ar->add_member(ar->new_member("shrunk.o", 1, 10, write("shrunk.o", "abc").c_str()));
    EXPECT_FALSE(ar->write_archive(AR_ABI_KEEP));
    ASSERT_EQ(recorded_errors().size(), 1u);
    EXPECT_EQ(recorded_errors()[0].code, AR_FILE_READ_ERROR);
    EXPECT_EQ(recorded_errors()[0].message, "Error writing archive");
    ar.reset();  // abandoning the rewrite must not lose the old archive either
    EXPECT_EQ(read("lib.a"), old);
    EXPECT_EQ(entries(), (std::set<std::string>{"lib.a", "shrunk.o"}));
}

// Whatever point a rewrite stops at, cleanup restores the old archive.
TEST_F(ArchiveWrite, CleanupAtEveryStageRestoresOldArchive)
{
    const std::string old = build(B::POSIX, MEMBERS);
    for (int stage = 0; stage < 4; ++stage) {
        write("lib.a", old);
        auto ar = open_archive("lib.a");
        ASSERT_TRUE(ar->open_new_ar(AR_ABI_KEEP));
        if (stage >= 1)
            ar->calculate_long_name_offsets();
        if (stage >= 2) {
            ASSERT_TRUE(ar->write_long_name_table());
        }
        if (stage >= 3) {
            ASSERT_TRUE(ar->write_member(ar->first_member()));
        }
        ar->cleanup();
        EXPECT_EQ(read("lib.a"), old) << stage;
        EXPECT_EQ(entries(), std::set<std::string>{"lib.a"}) << stage;
        ar->cleanup();  // repeating it is harmless
        EXPECT_EQ(read("lib.a"), old) << stage;
    }
}

// An archive that cannot be moved aside (here: it vanished after it was
// opened) stops the rewrite before anything is written.
TEST_F(ArchiveWrite, ArchiveThatCannotBeMovedAsideIsLeftAlone)
{
    const std::string old = build(B::POSIX, MEMBERS);
    write("lib.a", old);
    FHM_FILE* input = fhm_open(path("lib.a").c_str(), "rb");
    ASSERT_NE(input, nullptr);
    AR_FILE ar(path("vanished.a").c_str(), input, record_error);
    EXPECT_FALSE(ar.write_archive(AR_ABI_KEEP));
    ASSERT_EQ(recorded_errors().size(), 1u);
    EXPECT_EQ(recorded_errors()[0].code, AR_CREATE_ERROR);
    EXPECT_EQ(recorded_errors()[0].message, "Cannot create new archive");
    ar.cleanup();
    fhm_close(input);
    EXPECT_EQ(read("lib.a"), old);
    EXPECT_EQ(entries(), std::set<std::string>{"lib.a"});
}

TEST_F(ArchiveWrite, UncreatableArchiveIsReported)
{
    write("file", "x");
    AR_FILE ar(path("file/new.a").c_str(), nullptr, record_error);
    EXPECT_FALSE(ar.write_archive(AR_ABI_KEEP));
    ASSERT_EQ(recorded_errors().size(), 1u);
    EXPECT_EQ(recorded_errors()[0].code, AR_CREATE_ERROR);
    EXPECT_EQ(recorded_errors()[0].message, "Cannot create archive: '" + path("file/new.a") + "'");
}

}  // namespace

// Writing archives: exact bytes in every format, size limits, and that a
// failed or interrupted rewrite leaves the old archive as it was.

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
const std::vector<MEMBER_DATA> SHORT_NAMES = {{"a.o", "1", 1}, {"exactly15chars_", "22", 2}};

std::string build(B::FORM form, const std::vector<MEMBER_DATA>& members)
{
    B builder(form);
    for (const MEMBER_DATA& m : members)
        builder.member(m.name, m.data, m.date);
    return builder.bytes();
}

// Every format read is rewritten as asked; AR_ABI_KEEP keeps the format
// read, and an archive read without a long-name table becomes POSIX. Short
// names need no table in any format.
TEST_F(ArchiveWrite, RewritesExactBytesInEveryFormat)
{
    const struct {
        B::FORM from;
        AR_ABI abi;
        B::FORM to;
    } cases[] = {
        {B::POSIX, AR_ABI_ORIGINAL, B::ORIGINAL},  {B::POSIX, AR_ABI_NU_LONG_NAME, B::NU_LONG_NAME},
        {B::NU_LONG_NAME, AR_ABI_POSIX, B::POSIX}, {B::POSIX, AR_ABI_KEEP, B::POSIX},
        {B::NU_LONG_NAME, AR_ABI_KEEP, B::NU_LONG_NAME}, {B::ORIGINAL, AR_ABI_KEEP, B::POSIX},
    };
    for (const auto& c : cases) {
        for (const std::vector<MEMBER_DATA>* members : {&MEMBERS, &SHORT_NAMES}) {
            SCOPED_TRACE(testing::Message() << c.from << "->" << c.abi << " with " << members->size() << " members");
            write("lib.a", build(c.from, *members));
            ASSERT_TRUE(open_archive("lib.a")->write_archive(c.abi));
            std::vector<MEMBER_DATA> expected = *members;
            for (MEMBER_DATA& m : expected)
                m.name = c.from == B::ORIGINAL ? m.name.substr(0, 15) : m.name;
            EXPECT_EQ(read("lib.a"), build(c.to, expected));
            EXPECT_EQ(entries(), std::set<std::string>{"lib.a"});
            EXPECT_TRUE(recorded_errors().empty());
        }
    }
}

// The size field holds at most 8 digits; NU long-name offsets sit in the
// 6-character uid field.
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

// Members kept from the old archive and from files, small enough to be read
// whole or larger than a block, odd and empty, are copied byte for byte,
// and nothing but the archive is left beside the files. Extraction copies
// from the archive the same way.
TEST_F(ArchiveWrite, CopiesMembersFromEverySource)
{
    const size_t block = AR_BLOCK_READER::BLOCK_SIZE;
    std::string big_old(block + 3, 'o'), big_new(2 * block + 1, 'n');
    big_old[block] = big_new[block] = '|';
    write("lib.a", B().member("kept.o", "kept", 1).member("big_old.bin", big_old, 2).bytes());
    auto ar = open_archive("lib.a");
    const struct {
        const char* name;
        std::string data;
    } files[] = {{"small.o", "small"}, {"big_new.bin", big_new}, {"empty.o", ""}};
    for (const auto& f : files)
        ar->add_member(ar->new_member(f.name, 3, int32_t(f.data.size()), write(f.name, f.data).c_str()));
    ASSERT_TRUE(ar->write_archive(AR_ABI_POSIX));
    EXPECT_TRUE(recorded_errors().empty());
    B expected;
    expected.member("kept.o", "kept", 1).member("big_old.bin", big_old, 2);
    for (const auto& f : files)
        expected.member(f.name, f.data, 3);
    EXPECT_EQ(read("lib.a"), expected.bytes());
    EXPECT_EQ(entries(), (std::set<std::string>{"lib.a", "small.o", "big_new.bin", "empty.o"}));

    ar = open_archive("lib.a");
    const std::string contents[] = {"kept", big_old, "small", big_new, ""};
    size_t i = 0;
    for (AR_MEMBER* m = ar->first_member(); m != nullptr; m = m->next, ++i) {
        FHM_FILE* out = fhm_open(path("out").c_str(), "wb");
        EXPECT_EQ(ar->copy_member(m, out), 0);
        fhm_close(out);
        EXPECT_EQ(read("out"), contents[i]) << m->name;
    }
    EXPECT_EQ(i, 5u);
    // Through the stream interface the same bytes, padded when asked.
    AR_MEMBER* big = ar->find_member("big_old.bin");
    FHM_FILE* out = fhm_open(path("out").c_str(), "wb");
    EXPECT_EQ(copy_file(ar->open_member(big), out, big->size, true), 0);
    fhm_close(out);
    EXPECT_EQ(read("out"), big_old + "\n");
}

// A member file that cannot be opened, or is shorter than its recorded size,
// stops the rewrite; cleanup or abandoning the archive puts the old archive
// back byte for byte and leaves no other file behind.
TEST_F(ArchiveWrite, FailedRewriteLeavesOldArchive)
{
    const std::string old = build(B::NU_LONG_NAME, MEMBERS);
    const struct {
        const char* file;
        const char* contents;   // null: no such file
        int code;
        std::string message;
    } cases[] = {
        {"gone.o", nullptr, AR_OPEN_ERROR, "Cannot open file: '" + path("gone.o") + "'"},
        {"shrunk.o", "abc", AR_FILE_READ_ERROR, "Error writing archive"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        recorded_errors().clear();
        write("lib.a", old);
        if (c.contents)
            write(c.file, c.contents);
        auto ar = open_archive("lib.a");
        ar->add_member(ar->new_member(c.file, 1, 10, path(c.file).c_str()));
        EXPECT_FALSE(ar->write_archive(AR_ABI_POSIX));
        ASSERT_FALSE(recorded_errors().empty());
        EXPECT_EQ(recorded_errors()[0].code, c.code);
        EXPECT_EQ(recorded_errors()[0].message, c.message);
        if (c.contents) {
            EXPECT_EQ(recorded_errors().size(), 1u);
            ar.reset();
        } else {
            EXPECT_EQ(entries().size(), 2u);   // the half-written archive and the old one aside
            ar->cleanup();
            EXPECT_STREQ(ar->name(), path("lib.a").c_str());
        }
        EXPECT_EQ(read("lib.a"), old);
        EXPECT_EQ(entries(), (c.contents ? std::set<std::string>{"lib.a", c.file} : std::set<std::string>{"lib.a"}));
    }
}

// Whatever point a rewrite stops at, cleanup restores the old archive, and
// repeating it is harmless.
TEST_F(ArchiveWrite, CleanupAtEveryStageRestoresOldArchive)
{
    const std::string old = build(B::POSIX, MEMBERS);
    for (int stage = 0; stage < 4; ++stage) {
        SCOPED_TRACE(stage);
        write("lib.a", old);
        auto ar = open_archive("lib.a");
        ASSERT_TRUE(ar->open_new_ar(AR_ABI_KEEP));
        if (stage >= 1)
            ar->calculate_long_name_offsets();
        ASSERT_TRUE(stage < 2 || ar->write_long_name_table());
        ASSERT_TRUE(stage < 3 || ar->write_member(ar->first_member()));
        for (int twice = 0; twice < 2; ++twice) {
            ar->cleanup();
            EXPECT_EQ(read("lib.a"), old);
            EXPECT_EQ(entries(), std::set<std::string>{"lib.a"});
        }
    }
}

// An archive that cannot be moved aside (here: it vanished after it was
// opened) or created stops the rewrite before anything is written.
TEST_F(ArchiveWrite, UnrenamableOrUncreatableArchiveIsReported)
{
    const std::string old = build(B::POSIX, MEMBERS);
    write("lib.a", old);
    FHM_FILE* input = fhm_open(path("lib.a").c_str(), "rb");
    ASSERT_NE(input, nullptr);
    AR_FILE vanished(path("vanished.a").c_str(), input, record_error);
    EXPECT_FALSE(vanished.write_archive(AR_ABI_KEEP));
    vanished.cleanup();
    fhm_close(input);
    EXPECT_EQ(read("lib.a"), old);

    AR_FILE uncreatable(path("lib.a/new.a").c_str(), nullptr, record_error);
    EXPECT_FALSE(uncreatable.write_archive(AR_ABI_KEEP));
    ASSERT_EQ(recorded_errors().size(), 2u);
    EXPECT_EQ(recorded_errors()[0].code, AR_CREATE_ERROR);
    EXPECT_EQ(recorded_errors()[0].message, "Cannot create new archive");
    EXPECT_EQ(recorded_errors()[1].code, AR_CREATE_ERROR);
    EXPECT_EQ(recorded_errors()[1].message, "Cannot create archive: '" + path("lib.a/new.a") + "'");
    EXPECT_EQ(entries(), std::set<std::string>{"lib.a"});
}

}  // namespace

// Reading archives: the three name forms, padding, special members and
// corrupt input with its exact messages.

#include <cstring>

#include "common/archive_builder.h"
#include "archive_test_env.h"

namespace {

using B = ARCHIVE_BUILDER;

class ArchiveRead : public ARCHIVE_TEST {};

// Names of 14 to 17 characters around the 16-character long-name boundary,
// read back from each form; the original form has lost what passed 15.
TEST_F(ArchiveRead, ReadsAllThreeFormsAroundTheLongNameBoundary)
{
    const std::vector<std::string> names = {"abcdefghijk.14", "abcdefghijkl.15",
                                            "abcdefghijklm.16", "abcdefghijklmn.17"};
    struct CASE {
        B::FORM form;
        AR_ABI format;
        std::vector<std::string> expected;
    } cases[] = {
        {B::ORIGINAL, AR_ABI_KEEP,
         {"abcdefghijk.14", "abcdefghijkl.15", "abcdefghijklm.1", "abcdefghijklmn."}},
        {B::NU_LONG_NAME, AR_ABI_NU_LONG_NAME, names},
        {B::POSIX, AR_ABI_POSIX, names},
    };
    for (const CASE& c : cases) {
        B builder(c.form);
        for (size_t i = 0; i < names.size(); ++i)
            builder.member(names[i], std::string(i + 1, char('a' + i)), 1000 + long(i));
        write("lib.a", builder.bytes());
        auto ar = open_archive("lib.a");
        EXPECT_TRUE(ar->is_archive());
        EXPECT_EQ(ar->format(), c.format) << c.form;
        EXPECT_EQ(member_names(*ar), c.expected) << c.form;
        int i = 0;
        for (AR_MEMBER* m = ar->first_member(); m != nullptr; m = m->next, ++i) {
            EXPECT_EQ(m->date, 1000 + i);
            EXPECT_EQ(m->size, i + 1);
            EXPECT_EQ(m->data_offset, int32_t(builder.header_offset(size_t(i)) + 60));
            EXPECT_EQ(m->path, nullptr);
        }
        EXPECT_TRUE(recorded_errors().empty()) << c.form;
    }
}

// A long-name table whose second name sits at offset 12.
std::string posix_table_archive(const std::string& name_field, const std::string& more = "")
{
    std::string table = "abcdefghij/\nlong_name_at_twelve.o/\n" + more;
    return "!<arch>\n" + B::header("//", "", "", table.size()) + B::padded(table, "\n") +
           B::header(name_field, "0", "0", 3) + "abc\n";
}

struct EDGE {
    const char* what;
    std::string bytes;
    std::vector<std::string> names;  // members read before any error
    int code;                        // 0: no error
    const char* message;
};

TEST_F(ArchiveRead, EdgeCasesAndCorruptInput)
{
    // Short and long distances between headers: both ways of moving on.
    std::string good =
        B().member("a.o", "abc", 5).member("big.o", std::string(1001, 'x')).member("b.o", "xy", 6)
            .bytes();
    const std::string arch = path("lib.a");
    const std::string bad_header = "Corrupt member header: '" + arch + "'";
    const std::string bad_name = "Corrupt member name: '" + arch + "'";
    const std::string short_header = "Cannot read member header: '" + arch + "'";
    const std::vector<EDGE> cases = {
        {"magic only", "!<arch>\n", {}, 0, ""},
        {"odd size padded", good, {"a.o", "big.o", "b.o"}, 0, ""},
        {"slash digits", posix_table_archive("/12"), {"long_name_at_twelve.o"}, 0, ""},
        {"slash offset zero", posix_table_archive("/0"), {"abcdefghij"}, 0, ""},
        {"slash non-digits", posix_table_archive("/1x"), {"/1x"}, 0, ""},
        {"offset at table size", posix_table_archive("/35"), {}, 1, bad_name.c_str()},
        {"offset inside table", posix_table_archive("/34"), {""}, 0, ""},
        {"blank date", B().member("a.o", "abc").field(B::DATE, "").bytes(), {}, 1,
         bad_header.c_str()},
        {"blank uid", B().member("a.o", "abc").field(B::UID, "").bytes(), {}, 1,
         bad_header.c_str()},
        {"blank size", B().member("a.o", "abc").field(B::SIZE, "").bytes(), {}, 1,
         bad_header.c_str()},
        {"negative size", B().member("a.o", "abc").field(B::SIZE, "-4").bytes(), {}, 1,
         bad_header.c_str()},
        {"bad terminator", B().member("a.o", "abc").field(B::END, "`x").bytes(), {}, 1,
         bad_header.c_str()},
        {"blank mode and gid ignored",
         B().member("a.o", "abc").field(B::MODE, "").field(B::GID, "zz").bytes(), {"a.o"}, 0, ""},
        {"short header at end", good + "b.o/   12", {"a.o", "big.o", "b.o"}, 1,
         short_header.c_str()},
        {"bad second member", B().member("a.o", "abc").member("b.o", "x").field(B::DATE, "").bytes(),
         {"a.o"}, 1, bad_header.c_str()},
    };
    for (const EDGE& c : cases) {
        recorded_errors().clear();
        write("lib.a", c.bytes);
        auto ar = open_archive("lib.a");
        EXPECT_EQ(member_names(*ar), c.names) << c.what;
        if (c.code == 0) {
            EXPECT_TRUE(recorded_errors().empty()) << c.what << ": " << recorded_errors()[0].message;
        } else {
            ASSERT_FALSE(recorded_errors().empty()) << c.what;
            EXPECT_EQ(recorded_errors()[0].code, c.code) << c.what;
            EXPECT_EQ(recorded_errors()[0].message, c.message) << c.what;
        }
    }
}

// The special members are exempt from the date and uid checks.
TEST_F(ArchiveRead, SpecialMembersMayHaveBlankDates)
{
    std::string index = std::string("\0\0\0\0", 4);
    std::string table = "a_rather_long_member.o/\n";
    std::string bytes = "!<arch>\n" + B::header("/", "", "", index.size()) + index +
                        B::header("//", "", "", table.size()) + table +
                        B::header("/0", "7", "0", 1) + "z\n";
    write("lib.a", bytes);
    auto ar = open_archive("lib.a");
    EXPECT_TRUE(recorded_errors().empty());
    EXPECT_EQ(member_names(*ar), std::vector<std::string>{"a_rather_long_member.o"});
    EXPECT_EQ(ar->first_member()->date, 7);
}

TEST_F(ArchiveRead, NuShortNameMustAgreeWithTheTable)
{
    B builder(B::NU_LONG_NAME);
    builder.member("a_rather_long_member.o", "abc");
    write("ok.a", builder.bytes());
    EXPECT_EQ(member_names(*open_archive("ok.a")),
              std::vector<std::string>{"a_rather_long_member.o"});
    builder.field(B::NAME, "a_rather_lonX/");
    write("bad.a", builder.bytes());
    open_archive("bad.a");
    ASSERT_EQ(recorded_errors().size(), 1u);
    EXPECT_EQ(recorded_errors()[0].message, "Corrupt member name: '" + path("bad.a") + "'");
}

// The stored index is read only on request; both ways of padding an odd
// index are accepted.
TEST_F(ArchiveRead, ReadsTheStoredIndex)
{
    for (bool pad_counted : {true, false}) {
        B builder;
        builder.member("a.o", "abc").member("b.o", "defg")
               .index({{"alpha", 0}, {"beta", 1}, {"gamma", 1}}, pad_counted);
        write("lib.a", builder.bytes());
        AR_FILE ar(path("lib.a").c_str(), nullptr, record_error);
        ASSERT_TRUE(ar.read_headers(true));
        ar.create_toc();
        EXPECT_EQ(member_names(ar), (std::vector<std::string>{"a.o", "b.o"}));
        ASSERT_EQ(ar.symbol_count(), 3);
        std::vector<std::pair<std::string, int32_t>> got;
        for (AR_SYMBOL* s = ar.first_symbol(); s != nullptr; s = s->next)
            got.push_back({s->name, s->offset});
        std::vector<std::pair<std::string, int32_t>> want = {
            {"alpha", int32_t(builder.header_offset(0))},
            {"beta", int32_t(builder.header_offset(1))},
            {"gamma", int32_t(builder.header_offset(1))}};
        EXPECT_EQ(got, want);
        EXPECT_TRUE(recorded_errors().empty());
    }
}

TEST_F(ArchiveRead, IndexClaimingMoreEntriesThanItHoldsIsRefused)
{
    std::string index = std::string("\x7f\0\0\0", 4) + std::string(8, '\0');
    write("lib.a", "!<arch>\n" + B::header("/", "0", "0", index.size()) + index);
    AR_FILE ar(path("lib.a").c_str(), nullptr, record_error);
    EXPECT_FALSE(ar.read_headers(true));
    ASSERT_EQ(recorded_errors().size(), 1u);
    EXPECT_EQ(recorded_errors()[0].message, "Cannot read symbol table: '" + path("lib.a") + "'");
}

// A table size beyond the file is refused before anything is allocated.
TEST_F(ArchiveRead, NameTableBeyondTheFileIsRefused)
{
    write("lib.a", "!<arch>\n" + B::header("//", "0", "0", 99999999) + "abc/\n");
    auto ar = open_archive("lib.a");
    ASSERT_FALSE(recorded_errors().empty());
    EXPECT_EQ(recorded_errors()[0].message, "Cannot read name table: '" + path("lib.a") + "'");
}

TEST_F(ArchiveRead, MissingFileIsANewEmptyArchive)
{
    auto ar = open_archive("none.a");
    EXPECT_FALSE(ar->has_input());
    EXPECT_FALSE(ar->is_archive());
    EXPECT_EQ(ar->first_member(), nullptr);
    write("text.a", "not an archive at all");
    EXPECT_FALSE(open_archive("text.a")->is_archive());
}

}  // namespace

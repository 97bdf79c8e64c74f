// Reading archives: the three name forms, padding, special members and
// corrupt input with its exact messages.

#include "archive_test_env.h"
#include "common/archive_builder.h"

namespace {

using B = ARCHIVE_BUILDER;

class ArchiveRead : public ARCHIVE_TEST {};

// Names of 14 to 17 characters around the 16-character long-name boundary,
// read back from each form; the original form has lost what passed 15.
TEST_F(ArchiveRead, ReadsAllThreeFormsAroundTheLongNameBoundary)
{
    const std::vector<std::string> names = {"abcdefghijk.14", "abcdefghijkl.15",
                                            "abcdefghijklm.16", "abcdefghijklmn.17"};
    const struct {
        B::FORM form;
        AR_ABI format;
        std::vector<std::string> expected;
    } cases[] = {
        {B::ORIGINAL, AR_ABI_KEEP,
         {"abcdefghijk.14", "abcdefghijkl.15", "abcdefghijklm.1", "abcdefghijklmn."}},
        {B::NU_LONG_NAME, AR_ABI_NU_LONG_NAME, names},
        {B::POSIX, AR_ABI_POSIX, names},
    };
    for (const auto& c : cases) {
        B builder(c.form);
        for (size_t i = 0; i < names.size(); ++i)
            builder.member(names[i], std::string(i + 1, char('a' + i)), 1000 + long(i));
        write("lib.a", builder.bytes());
        auto ar = open_archive("lib.a");
        EXPECT_EQ(ar->format(), c.format) << c.form;
        EXPECT_EQ(member_names(*ar), c.expected) << c.form;
        int i = 0;
        for (AR_MEMBER* m = ar->first_member(); m != nullptr; m = m->next, ++i) {
            EXPECT_EQ(m->date, 1000 + i);
            EXPECT_EQ(m->size, i + 1);
            EXPECT_EQ(m->data_offset, int32_t(builder.header_offset(size_t(i)) + 60));
        }
        EXPECT_TRUE(recorded_errors().empty()) << c.form;
    }
}

// A POSIX long-name table whose second name sits at offset 12, followed by
// one member with the given name field.
std::string posix_table_archive(const std::string& name_field)
{
    std::string table = "abcdefghij/\nlong_name_at_twelve.o/\n";
    return "!<arch>\n" + B::header("//", "", "", table.size()) + B::padded(table) +
           B::header(name_field, "0", "0", 3) + "abc\n";
}

TEST_F(ArchiveRead, EdgeCasesAndCorruptInput)
{
    // Short and long distances between headers: both ways of moving on.
    const std::string good =
        B().member("a.o", "abc", 5).member("big.o", std::string(1001, 'x')).member("b.o", "xy", 6).bytes();
    // The index and the name table are exempt from the date and uid checks.
    const std::string table = "a_rather_long_member.o/\n";
    const std::string special = "!<arch>\n" + B::header("/", "", "", 4) + std::string(4, '\0') +
                                B::header("//", "", "", table.size()) + table + B::header("/0", "7", "0", 1) + "z\n";
    const std::string arch = path("lib.a");
    const std::string header = "Corrupt member header: '" + arch + "'";
    const std::string name = "Corrupt member name: '" + arch + "'";
    const struct {
        const char* what;
        std::string bytes;
        std::vector<std::string> names;   // members read before any error
        std::string message;              // empty: no error
    } cases[] = {
        {"magic only", "!<arch>\n", {}, ""},
        {"odd size padded", good, {"a.o", "big.o", "b.o"}, ""},
        {"slash digits", posix_table_archive("/12"), {"long_name_at_twelve.o"}, ""},
        {"slash offset zero", posix_table_archive("/0"), {"abcdefghij"}, ""},
        {"slash non-digits", posix_table_archive("/1x"), {"/1x"}, ""},
        {"offset at table size", posix_table_archive("/35"), {}, name},
        {"offset inside table", posix_table_archive("/34"), {""}, ""},
        {"special members with blank dates", special, {"a_rather_long_member.o"}, ""},
        {"blank date", B().member("a.o", "abc").field(B::DATE, "").bytes(), {}, header},
        {"blank uid", B().member("a.o", "abc").field(B::UID, "").bytes(), {}, header},
        {"blank size", B().member("a.o", "abc").field(B::SIZE, "").bytes(), {}, header},
        {"negative size", B().member("a.o", "abc").field(B::SIZE, "-4").bytes(), {}, header},
        {"bad terminator", B().member("a.o", "abc").field(B::END, "`x").bytes(), {}, header},
        {"blank mode and gid ignored", B().member("a.o", "abc").field(B::MODE, "").field(B::GID, "zz").bytes(),
         {"a.o"}, ""},
        {"short header at end", good + "b.o/   12", {"a.o", "big.o", "b.o"}, "Cannot read member header: '" + arch + "'"},
        {"bad second member", B().member("a.o", "abc").member("b.o", "x").field(B::DATE, "").bytes(), {"a.o"}, header},
        {"NU short name disagrees with the table",
         B(B::NU_LONG_NAME).member("a_rather_long_member.o", "abc").field(B::NAME, "a_rather_lonX/").bytes(), {}, name},
        {"name table beyond the file", "!<arch>\n" + B::header("//", "0", "0", 99999999) + "abc/\n", {},
         "Cannot read name table: '" + arch + "'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        recorded_errors().clear();
        write("lib.a", c.bytes);
        auto ar = open_archive("lib.a");
        EXPECT_EQ(member_names(*ar), c.names);
        if (c.message.empty()) {
            EXPECT_TRUE(recorded_errors().empty()) << recorded_errors()[0].message;
        } else {
            ASSERT_FALSE(recorded_errors().empty());
            EXPECT_EQ(recorded_errors()[0].code, AR_READ_ERROR);
            EXPECT_EQ(recorded_errors()[0].message, c.message);
        }
    }
}

// The stored index is read only on request; both ways of padding an odd
// index are accepted, names cut short stay inside the data, and one that
// claims more entries than it holds is refused.
TEST_F(ArchiveRead, ReadsTheStoredIndex)
{
    for (bool pad_counted : {true, false}) {
        B builder;
        builder.member("a.o", "abc").member("b.o", "defg").index({{"alpha", 0}, {"beta", 1}, {"gamma", 1}},
                                                                 pad_counted);
        write("lib.a", builder.bytes());
        AR_FILE ar(path("lib.a").c_str(), nullptr, record_error);
        ASSERT_TRUE(ar.read_headers(true));
        ar.create_toc();
        EXPECT_EQ(member_names(ar), (std::vector<std::string>{"a.o", "b.o"}));
        std::vector<std::pair<std::string, int32_t>> got;
        for (AR_SYMBOL* s = ar.first_symbol(); s != nullptr; s = s->next)
            got.push_back({s->name, s->offset});
        const int32_t a = int32_t(builder.header_offset(0)), b = int32_t(builder.header_offset(1));
        EXPECT_EQ(got, (std::vector<std::pair<std::string, int32_t>>{{"alpha", a}, {"beta", b}, {"gamma", b}}));
        EXPECT_EQ(ar.symbol_count(), 3);
        EXPECT_TRUE(recorded_errors().empty());
    }
    // Names that run to the end of the data: the entries past them are empty.
    const std::string cut = std::string("\0\0\0\3", 4) + std::string(12, '\0') + "ab";
    write("lib.a", "!<arch>\n" + B::header("/", "0", "0", cut.size()) + cut);
    AR_FILE cut_short(path("lib.a").c_str(), nullptr, record_error);
    ASSERT_TRUE(cut_short.read_headers(true));
    std::vector<std::string> names;
    for (AR_SYMBOL* s = cut_short.first_symbol(); s != nullptr; s = s->next)
        names.push_back(s->name);
    EXPECT_EQ(names, (std::vector<std::string>{"ab", "", ""}));
    const std::string index = std::string("\x7f\0\0\0", 4) + std::string(8, '\0');
    write("lib.a", "!<arch>\n" + B::header("/", "0", "0", index.size()) + index);
    AR_FILE ar(path("lib.a").c_str(), nullptr, record_error);
    EXPECT_FALSE(ar.read_headers(true));
    ASSERT_EQ(recorded_errors().size(), 1u);
    EXPECT_EQ(recorded_errors()[0].code, AR_READ_ERROR);
    EXPECT_EQ(recorded_errors()[0].message, "Cannot read symbol table: '" + path("lib.a") + "'");
}

// Only the exact magic makes an archive; a missing file is a new, empty one.
TEST_F(ArchiveRead, OnlyTheExactMagicIsAnArchive)
{
    auto missing = open_archive("none.a");
    EXPECT_FALSE(missing->has_input());
    EXPECT_FALSE(missing->is_archive());
    EXPECT_EQ(missing->first_member(), nullptr);
    for (const char* head : {"!<arch>\n", "!<arch>", "!<arch>\r\n", "!<thin>\n", "!<ARCH>\n", "text"}) {
        write("x.a", head);
        AR_FILE ar(path("x.a").c_str(), nullptr, record_error);
        EXPECT_EQ(ar.is_archive(), std::string(head) == "!<arch>\n") << head;
    }
}

}  // namespace

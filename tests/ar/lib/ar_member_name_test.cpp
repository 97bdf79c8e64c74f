// Which names each format stores, and that everything written reads back
// as the same members, names, sizes and bytes, while a name that could not
// is refused before the archive is touched.

#include "ar/lib/ar_member_name.h"
#include "archive_test_env.h"
#include "common/archive_builder.h"
#include "support/fhm_file.h"

namespace {

using B = ARCHIVE_BUILDER;

const AR_ABI kFormats[] = {AR_ABI_ORIGINAL, AR_ABI_NU_LONG_NAME, AR_ABI_POSIX};

// Names at and around the special members, the "/digits" references, the
// long-name boundary and the table's separators; each with whether the
// original, NU long-name and POSIX formats can store it.
const struct {
    std::string name;
    bool original, nu, posix;
} kNames[] = {
    {"", false, false, false},
    {"/", false, false, false},
    {"//", false, false, false},
    {"<filenames>", false, false, false},
    {"<filenames>/", false, false, false},
    {"<filenames", true, true, true},
    {"filenames>", true, true, true},
    {"<filenames>x", true, true, true},
    {"///", true, true, false},
    {"/0", true, true, false},
    {"/ 12", true, true, false},
    {"/12/", true, true, false},
    {"a/b", true, true, false},
    {" ", true, true, true},
    {"a b", true, true, true},
    {" lead", true, true, true},
    {"trail ", true, true, true},
    {"14_characters_", true, true, true},
    {"15_characters__", true, true, true},
    {"16_characters___", true, true, true},
    {"17_characters____", true, true, true},
    {"14_with_blank ", true, true, true},
    {"15_with_blank  ", true, true, false},
    {"15 with blank_x", true, true, false},
    {" 14_leading_bl", true, true, true},
    {"16 with blanks  ", true, true, true},
    {"17 with blanks   ", true, true, true},
    {"new\nline", true, true, true},
    {"long_name_with_a\nnewline", true, false, false},
    {"long_name_with_a/slash", true, false, false},
    {"<filenames>_long_name", true, true, true},
    {"/0_and_a_long_name", true, false, false},
};

TEST(MemberName, StorableNamesPerFormat)
{
    for (const auto& n : kNames) {
        EXPECT_EQ(ar_name_storable(n.name.c_str(), AR_ABI_ORIGINAL), n.original) << "'" << n.name << "'";
        EXPECT_EQ(ar_name_storable(n.name.c_str(), AR_ABI_NU_LONG_NAME), n.nu) << "'" << n.name << "'";
        EXPECT_EQ(ar_name_storable(n.name.c_str(), AR_ABI_POSIX), n.posix) << "'" << n.name << "'";
    }
}

class MemberNameRoundTrip : public ARCHIVE_TEST {
protected:
    using MEMBERS = std::vector<std::pair<std::string, std::string>>;

    // Replaces lib.a's members by the given ones (name, contents) and
    // writes it in format; reads it back or checks that it was refused.
    void expect_round_trip(AR_ABI format, const MEMBERS& members, bool storable, const std::string& old)
    {
        auto ar = open_archive("lib.a");
        ar->delete_member(ar->first_member());
        for (size_t i = 0; i < members.size(); ++i) {
            const std::string file = write("file_" + std::to_string(i), members[i].second);
            ar->add_member(ar->new_member(members[i].first.c_str(), 7, int32_t(members[i].second.size()),
                                          file.c_str()));
        }
        if (!storable) {
            EXPECT_FALSE(ar->write_archive(format));
            ASSERT_EQ(recorded_errors().size(), 1u);
            EXPECT_EQ(recorded_errors()[0].code, AR_CREATE_ERROR);
            const std::string& name = members[members.size() - 2].first;
            EXPECT_EQ(recorded_errors()[0].message, "Member name cannot be stored in the " +
                                                        std::string(ar_format_name(format)) +
                                                        " format: '" + name + "'");
            EXPECT_EQ(read("lib.a"), old);
            return;
        }
        ASSERT_TRUE(ar->write_archive(format));
        ar.reset();
        auto back = open_archive("lib.a");
        EXPECT_TRUE(recorded_errors().empty());
        size_t i = 0;
        for (AR_MEMBER* m = back->first_member(); m != nullptr; m = m->next, ++i) {
            ASSERT_LT(i, members.size());
            const std::string& name = members[i].first;
            EXPECT_EQ(m->name, format == AR_ABI_ORIGINAL ? name.substr(0, 15) : name);
            ASSERT_EQ(m->size, int32_t(members[i].second.size()));
            std::string bytes(size_t(m->size), '\0');
            FILE* fp = back->open_member(m)->fp();
            ASSERT_EQ(fread(&bytes[0], 1, bytes.size(), fp), bytes.size());
            EXPECT_EQ(bytes, members[i].second);
        }
        EXPECT_EQ(i, members.size());
    }
};

// Every name in every format, first in the archive and after a long name:
// it either reads back (the original format keeping 15 characters) with the
// same size and bytes, like the members around it, or the write is refused
// with the name and the archive stays byte for byte as it was.
TEST_F(MemberNameRoundTrip, WhatIsWrittenReadsBackOrIsRefused)
{
    const std::string old = B().member("before.o", "old").bytes();
    for (AR_ABI format : kFormats) {
        for (const auto& n : kNames) {
            const std::string data = "contents of " + n.name;
            const std::vector<std::pair<std::string, std::string>> layouts[] = {
                {{n.name, data}, {"z", "zz"}},
                {{"first_long_member_name", "1"}, {n.name, data}, {"z", "zz"}},
            };
            for (const auto& members : layouts) {
                SCOPED_TRACE(testing::Message() << "format " << format << ", name '" << n.name
                                                << "' at " << (members.size() == 2 ? "first" : "second"));
                recorded_errors().clear();
                write("lib.a", old);
                expect_round_trip(format, members, ar_name_storable(n.name.c_str(), format), old);
            }
        }
    }
}

}  // namespace

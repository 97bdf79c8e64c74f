// Which names each format stores, and that every name it stores reads back
// as itself with its own bytes, while a name it cannot store is refused
// before the archive is touched.

#include "ar/lib/ar_member_name.h"

#include <iterator>

#include "archive_test_env.h"
#include "support/fhm_file.h"

namespace {

// Names at and around the special members, the "/digits" references, the
// long-name boundary and the table's separators; each with whether the
// original, NU long-name and POSIX formats can store it.
const struct {
    std::string name;
    bool original, nu, posix;
} kNames[] = {
    {"", false, false, false}, {"/", false, false, false}, {"//", false, false, false},
    {"<filenames>", false, false, false}, {"<filenames>/", false, false, false}, {"<filenames>x", true, true, true},
    {"/0", true, true, false}, {"a/b", true, true, false}, {"trail ", true, true, true},
    {"15_characters__", true, true, true}, {"16_characters___", true, true, true},
    {"15_with_blank  ", true, true, false}, {"15 with blank_x", true, true, false},
    {"16 with blanks  ", true, true, true}, {"new\nline", true, true, true},
    {"long_name_with_a\nnewline", true, false, false}, {"long_name_with_a/slash", true, false, false},
};

class MemberName : public ARCHIVE_TEST {};

// In each format: every storable name, after a long one, is written and
// read back (the original format keeping 15 characters) with its bytes; a
// name it cannot store is refused with its name and the archive left as it was.
TEST_F(MemberName, WhatIsStorableReadsBackAndTheRestIsRefused) {
    const std::string old = ARCHIVE_BUILDER().member("before.o", "old").bytes();
    const struct {
        AR_ABI format;
        const char* text;
        bool (*storable)(size_t);
    } formats[] = {
        {AR_ABI_ORIGINAL, "original", [](size_t i) { return kNames[i].original; }},
        {AR_ABI_NU_LONG_NAME, "NU long-name", [](size_t i) { return kNames[i].nu; }},
        {AR_ABI_POSIX, "POSIX", [](size_t i) { return kNames[i].posix; }},
    };
    for (const auto& f : formats) {
        SCOPED_TRACE(f.text);
        recorded_errors().clear();
        write("lib.a", old);
        auto ar = open_archive("lib.a");
        ar->delete_member(ar->first_member());
        add_file(*ar, "first_long_member_name", "1", "first");
        std::vector<std::pair<std::string, std::string>> expected = {
            {f.format == AR_ABI_ORIGINAL ? "first_long_memb" : "first_long_member_name", "1"}};
        for (size_t i = 0; i < std::size(kNames); ++i) {
            const std::string& name = kNames[i].name;
            EXPECT_EQ(ar_name_storable(name.c_str(), f.format), f.storable(i)) << "'" << name << "'";
            if (!f.storable(i))
                continue;
            add_file(*ar, name, "contents of " + name, "file_" + std::to_string(i));
            expected.push_back({f.format == AR_ABI_ORIGINAL ? name.substr(0, 15) : name, "contents of " + name});
        }
        ASSERT_TRUE(ar->write_archive(f.format));
        ar = open_archive("lib.a");
        EXPECT_TRUE(recorded_errors().empty());
        std::vector<std::pair<std::string, std::string>> back;
        for (AR_MEMBER* m = ar->first_member(); m != nullptr; m = m->next) {
            std::string bytes(size_t(m->size), '\0');
            FHM_FILE* in = ar->open_member(m);
            EXPECT_EQ(fread(&bytes[0], 1, bytes.size(), in->fp()), bytes.size());
            back.push_back({m->name, bytes});
        }
        EXPECT_EQ(back, expected);
        write("lib.a", old);
        ar = open_archive("lib.a");
        add_file(*ar, "/", "x", "file");
        EXPECT_FALSE(ar->write_archive(f.format));
        EXPECT_EQ(recorded_errors(), (ERRORS{{5, std::string("Member name cannot be stored in the ") + f.text + " format: '/'"}}));
        EXPECT_EQ(read("lib.a"), old);
    }
}

}  // namespace

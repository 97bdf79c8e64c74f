// The symbol index built while writing: which symbols qualify, their order,
// and offsets that point at each defining member's header.

#include "archive_test_env.h"
#include "common/archive_builder.h"
#include "common/elf_builder.h"

namespace {

using B = ARCHIVE_BUILDER;

enum : unsigned { LOCAL = 0, GLOBAL = 1, WEAK = 2 };
enum : unsigned { NOTYPE = 0, OBJECT = 1, FUNC = 2, SECTION = 3 };
constexpr uint16_t UNDEF = 0, ABS = 0xfff1, COMMON = 0xfff2;

std::string first_object()
{
    ELF_BUILDER elf(ELF_BUILDER::LITTLE);
    unsigned text = elf.section(".text", 1, std::string(16, '\x01'));
    elf.symbol("", LOCAL, SECTION, uint16_t(text))
       .symbol("local_fn", LOCAL, FUNC, uint16_t(text))
       .symbol("shared", GLOBAL, FUNC, uint16_t(text), 0, 4)
       .symbol("undefined_ref", GLOBAL, NOTYPE, UNDEF)
       .symbol("weak_fn", WEAK, FUNC, uint16_t(text), 4, 4)
       .symbol("absolute", GLOBAL, NOTYPE, ABS, 0x1234)
       .symbol("common_block", GLOBAL, OBJECT, COMMON, 4, 8)
       .symbol("weak_common", WEAK, OBJECT, COMMON, 4, 8)
       .symbol("", GLOBAL, FUNC, uint16_t(text), 8);
    return elf.bytes();
}

std::string second_object()
{
    ELF_BUILDER elf(ELF_BUILDER::BIG);
    unsigned data = elf.section(".data", 1, "abcde");
    elf.symbol("shared", GLOBAL, OBJECT, uint16_t(data), 0, 4)
       .symbol("only_here", GLOBAL, OBJECT, uint16_t(data), 4, 1)
       .symbol(std::string(5000, 'T'), GLOBAL, FUNC, uint16_t(data), 0, 1);   // C++ can
    return elf.bytes();
}

class ArchiveIndex : public ARCHIVE_TEST {};

// Globals and weaks that are defined, absolute or common, in member order and
// symbol-table order, duplicates and nameless ones included; text members
// add nothing. The whole archive is compared, so the index's size (which
// counts its own pad byte) and every offset are checked, with and without a
// long-name table in front of the members.
TEST_F(ArchiveIndex, IndexesDefinitionsAndPointsAtMemberHeaders)
{
    const std::string long_obj = "a_long_object_name.o";
    struct CASE {
        AR_ABI abi;
        B::FORM form;
    } cases[] = {{AR_ABI_ORIGINAL, B::ORIGINAL}, {AR_ABI_NU_LONG_NAME, B::NU_LONG_NAME},
                 {AR_ABI_KEEP, B::POSIX}};   // a new archive is POSIX unless told otherwise
    for (const CASE& c : cases) {
        auto ar = open_archive(("lib" + std::to_string(c.abi) + ".a").c_str());
        const std::vector<std::pair<std::string, std::string>> members = {
            {"notes.txt", "odd"}, {long_obj, first_object()}, {"b.o", second_object()}};
        B expected(c.form);
        for (const auto& m : members) {
            std::string file = write(m.first, m.second);
            ar->add_member(ar->new_member(m.first.c_str(), 42, int32_t(m.second.size()),
                                          file.c_str()));
            expected.member(c.form == B::ORIGINAL ? m.first.substr(0, 15) : m.first, m.second, 42);
        }
        expected.index({{"shared", 1}, {"weak_fn", 1}, {"absolute", 1}, {"common_block", 1},
                        {"weak_common", 1}, {"", 1}, {"shared", 2}, {"only_here", 2},
                        {std::string(5000, 'T'), 2}});
        ASSERT_TRUE(ar->write_archive(c.abi)) << c.abi;
        EXPECT_EQ(ar->symbol_count(), 9);
        EXPECT_EQ(read(("lib" + std::to_string(c.abi) + ".a").c_str()), expected.bytes()) << c.abi;
        EXPECT_TRUE(recorded_errors().empty());
    }
}

// Rewriting after a delete drops the deleted member's symbols and moves the
// remaining offsets to the new layout; the old index is never reused.
TEST_F(ArchiveIndex, DeleteRebuildsTheIndex)
{
    B before;
    before.member("a.o", first_object()).member("b.o", second_object())
          .index({{"stale", 0}});
    write("lib.a", before.bytes());
    auto ar = open_archive("lib.a");
    ar->delete_member(ar->find_member("a.o"));
    ASSERT_TRUE(ar->write_archive(AR_ABI_KEEP));
    B after;
    after.member("b.o", second_object())
         .index({{"shared", 0}, {"only_here", 0}, {std::string(5000, 'T'), 0}});
    EXPECT_EQ(read("lib.a"), after.bytes());
    EXPECT_EQ(ar->first_symbol()->member, ar->first_member());
    // The old archive is gone now; writing again must not truncate the new one.
    EXPECT_FALSE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_EQ(read("lib.a"), after.bytes());
}

// The index obeys the member size limit of 99999999 bytes, counting its
// count word and its padding byte: the largest name that fits leaves it at
// 99999998 bytes; one more character would make it 100000000.
TEST_F(ArchiveIndex, StopsAtTheMemberSizeLimit)
{
    std::string name(99999990, 'n');
    for (size_t length : {name.size() - 1, name.size()}) {
        SCOPED_TRACE(length);
        recorded_errors().clear();
        name[length] = '\0';
        auto ar = open_archive("lib.a");
        const bool fits = length < name.size();
        EXPECT_EQ(ar->add_symbol_entry(name.c_str(), nullptr), fits);
        EXPECT_EQ(ar->symbol_count(), fits ? 1 : 0);
        if (!fits) {
            ASSERT_EQ(recorded_errors().size(), 1u);
            EXPECT_EQ(recorded_errors()[0].code, AR_MEMBER_TOO_LARGE);
            EXPECT_EQ(recorded_errors()[0].message, "Member file too large: '/'");
        }
        name[length] = 'n';
    }
}

// A member whose symbols pass the limit stops the whole index: no later
// member is looked at, and the write fails with the archive untouched.
TEST_F(ArchiveIndex, MemberPassingTheLimitStopsTheWrite)
{
    ELF_BUILDER big, after;
    big.symbol(std::string(40000, 'n'), GLOBAL, FUNC, ABS).repeated(3000);   // 120 MB of names
    after.symbol("after", GLOBAL, FUNC, ABS);
    const std::string old = B().member("keep.txt", "x").bytes();
    write("lib.a", old);
    auto ar = open_archive("lib.a");
    for (const auto& m : {std::make_pair("big.o", big.bytes()), std::make_pair("after.o", after.bytes())})
        ar->add_member(ar->new_member(m.first, 1, int32_t(m.second.size()), write(m.first, m.second).c_str()));
    EXPECT_FALSE(ar->write_archive(AR_ABI_KEEP));
    ASSERT_EQ(recorded_errors().size(), 1u);
    EXPECT_EQ(recorded_errors()[0].message, "Member file too large: '/'");
    ar.reset();
    EXPECT_EQ(read("lib.a"), old);
}

}  // namespace

// The symbol index's size limit: the member size limit of 99999999 bytes,
// counting the index's count word and its padding byte. The front end's
// tests show what the index holds.

#include "archive_test_env.h"
#include "common/elf_builder.h"

namespace {

class ArchiveIndex : public ARCHIVE_TEST {};

// The largest name that fits leaves the index at 99999998 bytes; one more
// character would make it 100000000.
TEST_F(ArchiveIndex, StopsAtTheMemberSizeLimit) {
    std::string name(99999990, 'n');
    for (size_t length : {name.size() - 1, name.size()}) {
        SCOPED_TRACE(length);
        recorded_errors().clear();
        name[length] = '\0';
        auto ar = open_archive("lib.a");
        const bool fits = length < name.size();
        EXPECT_EQ(ar->add_symbol_entry(name.c_str(), nullptr), fits);
        EXPECT_EQ(ar->symbol_count(), fits ? 1 : 0);
        EXPECT_EQ(recorded_errors().size(), fits ? 0u : 1u);
        name[length] = 'n';
    }
}

// A member whose symbols pass the limit stops the whole index: the write
// fails with the archive untouched.
TEST_F(ArchiveIndex, MemberPassingTheLimitStopsTheWrite) {
    ELF_BUILDER big, after;
    big.symbol(std::string(40000, 'n'), 1, 2, 0xfff1).repeated(3000);   // 120 MB of names
    after.symbol("after", 1, 2, 0xfff1);
    const std::string old = ARCHIVE_BUILDER().member("keep.txt", "x").bytes();
    write("lib.a", old);
    auto ar = open_archive("lib.a");
    add_file(*ar, "big.o", big.bytes(), "big.o");
    add_file(*ar, "after.o", after.bytes(), "after.o");
    EXPECT_FALSE(ar->write_archive(AR_ABI_KEEP));
    EXPECT_EQ(recorded_errors(), (ERRORS{{6, "Member file too large: '/'"}}));   // from the first member only
    ar.reset();
    EXPECT_EQ(read("lib.a"), old);
}

}  // namespace

// The symbol index's size limit: the member size limit of 99999999 bytes,
// counting the index's count word and its padding byte. The front end's
// tests show what the index holds.

#include "archive_test_env.h"

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

}  // namespace

#include "ar/member_selection.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ar/ar_options.h"

namespace {

// Holds a file list in the shape AR_OPTIONS expects.
struct FILE_LIST {
    explicit FILE_LIST(std::vector<std::string> names) : storage(std::move(names)) {
        for (std::string& name : storage)
            pointers.push_back(name.data());
        options.files = pointers.data();
        options.nfiles = static_cast<int>(pointers.size());
    }
    std::vector<std::string> storage;
    std::vector<char*> pointers;
    AR_OPTIONS options{};
};

std::string selected(MEMBER_SELECTION& selection, const char* member) {
    const char* path = selection.select(member);
    return path != nullptr ? path : "(none)";
}

TEST(MemberSelectionTest, FirstPendingEntryByBaseName) {
    FILE_LIST list({"dir/f.obj", "f.obj", "g.obj", "x/y/G.obj", "f.obj"});
    MEMBER_SELECTION selection(&list.options);
    struct {
        const char* member;
        const char* path;
    } steps[] = {
        {"f.obj", "dir/f.obj"},  // directory part ignored for matching, kept in the path
        {"g.obj", "g.obj"},
        {"g.obj", "(none)"},     // each entry selects once
        {"G.obj", "x/y/G.obj"},  // names are case-sensitive
        {"f.obj", "f.obj"},
        {"f.obj", "f.obj"},
        {"f.obj", "(none)"},
        {"dir", "(none)"},
        {"", "(none)"},
    };
    for (const auto& step : steps)
        EXPECT_EQ(selected(selection, step.member), step.path) << step.member;
    for (int i = 0; i < list.options.nfiles; i++)
        EXPECT_EQ(list.options.files[i], nullptr) << i;
}

// An empty list selects every member by its own name; entries dealt with
// elsewhere (cleared by the caller) are passed over.
TEST(MemberSelectionTest, EmptyListAndClearedEntries) {
    FILE_LIST none({});
    MEMBER_SELECTION all(&none.options);
    EXPECT_EQ(selected(all, "a.o"), "a.o");
    EXPECT_EQ(selected(all, "a.o"), "a.o");
    FILE_LIST list({"a/k.o", "b/k.o", "c/k.o"});
    MEMBER_SELECTION selection(&list.options);
    list.options.files[0] = list.options.files[2] = nullptr;
    EXPECT_EQ(selected(selection, "k.o"), "b/k.o");
    EXPECT_EQ(selected(selection, "k.o"), "(none)");
}

TEST(MemberSelectionTest, ManyMembersAgainstManyFiles) {
    // Twenty thousand of each: a scan of the list per member would be
    // hundreds of millions of comparisons.
    const int count = 20000;
    std::vector<std::string> names;
    for (int i = 0; i < count; i++)
        names.push_back("d" + std::to_string(i % 7) + "/m" + std::to_string(count - 1 - i) + ".o");
    FILE_LIST list(names);
    MEMBER_SELECTION selection(&list.options);
    int found = 0;
    for (int i = 0; i < count; i++) {
        std::string member = "m" + std::to_string(i) + ".o";
        found += selection.select(member.c_str()) != nullptr;
    }
    EXPECT_EQ(found, count);
}

}  // namespace

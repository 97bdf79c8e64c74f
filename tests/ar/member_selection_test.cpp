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

// Each entry selects once, the first pending one of a base name first;
// entries cleared by the caller are passed over.
TEST(MemberSelectionTest, FirstPendingEntryByBaseName) {
    FILE_LIST list({"dir/f.obj", "f.obj", "g.obj", "x/y/G.obj", "f.obj", "a/k.o", "b/k.o", "c/k.o"});
    MEMBER_SELECTION selection(&list.options);
    list.options.files[5] = list.options.files[7] = nullptr;
    const struct {
        const char* member;
        const char* path;
    } steps[] = {
        {"f.obj", "dir/f.obj"}, {"g.obj", "g.obj"}, {"g.obj", "(none)"},
        {"G.obj", "x/y/G.obj"},   // names are case-sensitive
        {"f.obj", "f.obj"}, {"f.obj", "f.obj"}, {"f.obj", "(none)"}, {"dir", "(none)"}, {"", "(none)"},
        {"k.o", "b/k.o"}, {"k.o", "(none)"},
    };
    for (const auto& step : steps)
        EXPECT_EQ(selected(selection, step.member), step.path) << step.member;
    for (int i = 0; i < list.options.nfiles; i++)
        EXPECT_EQ(list.options.files[i], nullptr) << i;
    // An empty list selects every member by its own name, again and again.
    FILE_LIST none({});
    MEMBER_SELECTION all(&none.options);
    EXPECT_EQ(selected(all, "a.o"), "a.o");
    EXPECT_EQ(selected(all, "a.o"), "a.o");
}

}  // namespace

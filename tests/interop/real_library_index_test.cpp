// arwren rebuilds the ARM C, maths and C++ libraries from their own members
// and must index them as GNU ar does, except where a symbol's ELF binding
// is one the archiver deliberately treats as unknown.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "ar_image.h"
#include "elf_symbol_reader.h"
#include "host_tools.h"

namespace {

// Where two index listings part, for the failure message.
std::string first_difference(const INDEX_PAIRS& ours, const INDEX_PAIRS& theirs) {
    size_t i = 0;
    while (i < ours.size() && i < theirs.size() && ours[i] == theirs[i])
        ++i;
    auto show = [&](const INDEX_PAIRS& p) {
        return i < p.size() ? p[i].first + " in " + p[i].second : std::string("<end>");
    };
    return "entry " + std::to_string(i) + " (of " + std::to_string(ours.size()) + " / " +
           std::to_string(theirs.size()) + "): " + show(ours) + ", expected " + show(theirs);
}

// A definition GNU ar lists but arwren must not: the archiver maps any ELF
// binding other than local, global and weak (STB_GNU_UNIQUE among them) to
// "unknown", and a reserved section index other than ABS and COMMON to an
// unknown kind; neither is a global or weak definition, so neither is
// indexed. GNU ar indexes both.
bool gnu_only(const ELF_SYMBOL_FACTS& s) {
    return !arwren_indexes(s) && s.shndx != kShnUndef &&
           (s.binding == kStbGnuUnique || s.binding == kStbGlobal || s.binding == kStbWeak);
}

// Archives the files of src with arwren and with GNU ar, in the same order,
// and checks that arwren's index is GNU ar's without exactly the gnu_only
// entries (every one of which GNU ar must have), that its size counts its
// own padding byte, and that nm reads it. Returns the number left out.
int compare_with_gnu_ar(const SCRATCH_DIR& scratch, const std::vector<std::string>& names,
                        size_t min_entries) {
    std::vector<std::string> ours{"aq", scratch.path("arwren.a")};
    std::vector<std::string> gnu{"ar", "rcs", scratch.path("gnu.a")};
    ours.insert(ours.end(), names.begin(), names.end());
    gnu.insert(gnu.end(), names.begin(), names.end());
    RUN_RESULT made = run_arwren(ours, scratch.path("members"));
    EXPECT_TRUE(made.status == 0 && made.out.empty() && made.err.empty()) << describe(ours, made);
    AR_IMAGE our_image, gnu_image;
    EXPECT_TRUE(run_ok(gnu, scratch.path("members")));
    EXPECT_TRUE(our_image.parse(scratch.read("arwren.a"))) << our_image.error;
    EXPECT_TRUE(gnu_image.parse(scratch.read("gnu.a"))) << gnu_image.error;
    if (our_image.member_names() != names || gnu_image.member_names() != names) {
        ADD_FAILURE() << "the archives differ in their members";
        return -1;
    }
    std::map<std::pair<std::string, std::string>, int> left_out;  // (symbol, member) -> count
    int total = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_TRUE(our_image.members[i].data == gnu_image.members[i].data) << names[i];
        for (const ELF_SYMBOL_FACTS& s : read_elf32_symbols(gnu_image.members[i].data))
            if (gnu_only(s)) {
                ++left_out[{s.name, names[i]}];
                ++total;
            }
    }
    INDEX_PAIRS expected;
    for (const auto& entry : gnu_image.index_by_member())
        if (left_out[entry] > 0)
            --left_out[entry];
        else
            expected.push_back(entry);
    for (const auto& entry : left_out)
        EXPECT_EQ(entry.second, 0) << "GNU ar did not index " << entry.first.first << " in "
                                   << entry.first.second;
    EXPECT_GE(expected.size(), min_entries);
    const INDEX_PAIRS actual = our_image.index_by_member();
    EXPECT_TRUE(actual == expected) << first_difference(actual, expected) << "; " << total
                                    << " symbols are deliberately left out";
    uint64_t size = 4;
    for (const auto& entry : our_image.index)
        size += 4 + entry.first.size() + 1;
    EXPECT_EQ(our_image.index_size, size + (size & 1));

    RUN_RESULT nm = run_process({"nm", "--print-armap", scratch.path("arwren.a")});
    EXPECT_EQ(nm.status, 0);
    EXPECT_EQ(nm.err, "");
    INDEX_PAIRS nm_pairs = nm_armap(nm.out);
    EXPECT_TRUE(nm_pairs == actual) << "nm: " << first_difference(nm_pairs, actual);
    return total;
}

class REAL_LIBRARY_INDEX : public ::testing::TestWithParam<const char*> {};

TEST_P(REAL_LIBRARY_INDEX, MatchesGnuArAndNmReadsIt) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("nm", "binutils"));
    const std::string library = kNewlibDir + "/" + GetParam();
    ASSERT_TRUE(have_file(library, "libnewlib-arm-none-eabi, libstdc++-arm-none-eabi-newlib"));
    SCRATCH_DIR scratch;
    std::vector<std::string> names;
    ASSERT_TRUE(gnu_ar_members(library, names, scratch.subdir("members")));
    // ar x would silently merge members of the same name.
    ASSERT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    compare_with_gnu_ar(scratch, names, names.size());
}

INSTANTIATE_TEST_SUITE_P(Newlib, REAL_LIBRARY_INDEX,
                         ::testing::Values("libc.a", "libm.a", "libstdc++.a"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             return name == "libstdc++.a" ? std::string("libstdcxx")
                                                          : name.substr(0, name.find('.'));
                         });

// A symbol bound STB_GNU_UNIQUE, beside ordinary globals: GNU ar indexes
// it, arwren must not, and the comparison must see exactly that one entry.
TEST(UniqueBinding, IsTheOnlyDifferenceFromGnuAr) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("nm", "binutils"));
    ASSERT_TRUE(have_tool("arm-none-eabi-as", "binutils-arm-none-eabi"));
    SCRATCH_DIR scratch;
    const std::string src = scratch.subdir("members");
    scratch.write("members/unique.s",
                  ".data\n.globl only_once\n.type only_once, %gnu_unique_object\n"
                  "only_once: .word 1\n.globl plain_before\nplain_before: .word 2\n");
    scratch.write("members/plain.s", ".text\n.globl plain_after\nplain_after: .word 3\n");
    ASSERT_TRUE(run_ok({"arm-none-eabi-as", "unique.s", "-o", "unique.o"}, src));
    ASSERT_TRUE(run_ok({"arm-none-eabi-as", "plain.s", "-o", "plain.o"}, src));
    EXPECT_EQ(compare_with_gnu_ar(scratch, {"unique.o", "plain.o"}, 1), 1);
}

}  // namespace

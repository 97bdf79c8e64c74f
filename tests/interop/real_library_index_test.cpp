// arwren rebuilds the ARM C, maths and C++ libraries from their own members
// and must index them as GNU ar does, except where a symbol's ELF binding
// is one the archiver deliberately treats as unknown.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "ar_image.h"
#include "elf_symbol_reader.h"
#include "host_tools.h"
#include "process_run.h"
#include "scratch_dir.h"

namespace {

using INDEX_PAIRS = std::vector<std::pair<std::string, std::string>>;
using NAME_COUNTS = std::map<std::string, std::map<std::string, int>>;

// Where two index listings part, with a little context, for the failure.
std::string first_difference(const INDEX_PAIRS& ours, const INDEX_PAIRS& theirs,
                             const char* our_label = "arwren") {
    size_t i = 0;
    while (i < ours.size() && i < theirs.size() && ours[i] == theirs[i])
        ++i;
    if (i == ours.size() && i == theirs.size())
        return "identical";
    auto show = [&](const INDEX_PAIRS& p) {
        return i < p.size() ? p[i].first + " in " + p[i].second : std::string("<end>");
    };
    return "entry " + std::to_string(i) + " (of " + std::to_string(ours.size()) + " / " +
           std::to_string(theirs.size()) + "): " + our_label + " has " + show(ours) +
           ", expected " + show(theirs);
}

// A definition GNU ar lists but arwren must not: the archiver maps any ELF
// binding other than local, global and weak (STB_GNU_UNIQUE among them) to
// "unknown", and a reserved section index other than ABS and COMMON to an
// unknown kind; neither is a global or weak definition, so neither is
// indexed. GNU ar indexes both kinds of symbol.
bool gnu_only(const ELF_SYMBOL_FACTS& s) {
    if (arwren_indexes(s) || s.shndx == kShnUndef)
        return false;
    return s.binding == kStbGnuUnique || s.binding == kStbGlobal || s.binding == kStbWeak;
}

NAME_COUNTS gnu_only_symbols(const AR_IMAGE& archive, int& total) {
    NAME_COUNTS counts;
    total = 0;
    for (const AR_IMAGE::MEMBER& member : archive.members()) {
        std::vector<ELF_SYMBOL_FACTS> symbols;
        read_elf32_symbols(member.data, symbols);
        for (const ELF_SYMBOL_FACTS& s : symbols) {
            if (gnu_only(s)) {
                ++counts[member.name][s.name];
                ++total;
            }
        }
    }
    return counts;
}

// GNU ar's index with exactly the gnu_only entries taken out; every one of
// them must have been there.
::testing::AssertionResult without_gnu_only(const INDEX_PAIRS& gnu, NAME_COUNTS counts,
                                            INDEX_PAIRS& kept) {
    for (const auto& entry : gnu) {
        int& left = counts[entry.second][entry.first];
        if (left > 0)
            --left;
        else
            kept.push_back(entry);
    }
    for (const auto& member : counts)
        for (const auto& name : member.second)
            if (name.second != 0)
                return ::testing::AssertionFailure()
                       << "GNU ar did not index " << name.first << " in " << member.first;
    return ::testing::AssertionSuccess();
}

// The "/" size counts the padding NUL, unlike every other member's size.
uint64_t expected_index_size(const AR_IMAGE& archive) {
    uint64_t size = 4;
    for (const AR_IMAGE::INDEX_ENTRY& entry : archive.index())
        size += 4 + entry.symbol.size() + 1;
    return size + (size & 1);
}

// The index block of nm --print-armap (opened by the given heading) as
// (symbol, member) pairs.
INDEX_PAIRS nm_armap(const std::string& out, const std::string& heading) {
    INDEX_PAIRS pairs;
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line) && line != heading) {
    }
    while (std::getline(lines, line) && !line.empty()) {
        size_t in = line.rfind(" in ");
        pairs.emplace_back(line.substr(0, in), in == std::string::npos ? "" : line.substr(in + 4));
    }
    return pairs;
}

// Builds an archive of the files with arwren and with GNU ar, in the same
// order, and checks that arwren's index is GNU ar's without exactly the
// entries arwren must leave out, and that nm and llvm-nm read it. Returns
// the number of entries left out.
int compare_with_gnu_ar(const SCRATCH_DIR& scratch, const std::string& src,
                        const std::vector<std::string>& names, size_t min_entries) {
    const std::string ours = scratch.at("arwren.a");
    const std::string gnu = scratch.at("gnu.a");
    std::vector<std::string> args{"aq", ours};
    args.insert(args.end(), names.begin(), names.end());
    RUN_RESULT made = run_arwren(args, src);
    std::vector<std::string> gnu_args{"ar", "rcs", gnu};
    gnu_args.insert(gnu_args.end(), names.begin(), names.end());
    AR_IMAGE our_image, gnu_image;
    if (made.status != 0 || !made.out.empty() || !made.err.empty()) {
        ADD_FAILURE() << describe(args, made);
        return -1;
    }
    if (!run_ok(gnu_args, src) || !our_image.parse(read_bytes(ours)) ||
        !gnu_image.parse(read_bytes(gnu)) || our_image.member_names() != names) {
        ADD_FAILURE() << "archives differ in their members: " << our_image.error();
        return -1;
    }
    for (size_t i = 0; i < names.size(); ++i)
        EXPECT_TRUE(our_image.members()[i].data == gnu_image.members()[i].data) << names[i];

    int gnu_only_total = 0;
    NAME_COUNTS gnu_only_names = gnu_only_symbols(gnu_image, gnu_only_total);
    INDEX_PAIRS expected;
    EXPECT_TRUE(without_gnu_only(gnu_image.index_by_member(), gnu_only_names, expected));
    EXPECT_GE(expected.size(), min_entries);
    INDEX_PAIRS actual = our_image.index_by_member();
    EXPECT_TRUE(actual == expected) << first_difference(actual, expected) << "; " << gnu_only_total
                                    << " symbols are deliberately left out";
    EXPECT_EQ(our_image.index_size(), expected_index_size(our_image));

    RUN_RESULT nm = run_process({"nm", "--print-armap", ours});
    EXPECT_EQ(nm.status, 0);
    EXPECT_EQ(nm.err, "");
    INDEX_PAIRS nm_pairs = nm_armap(nm.out, "Archive index:");
    EXPECT_TRUE(nm_pairs == actual) << first_difference(nm_pairs, actual, "nm");

    RUN_RESULT llvm_nm = run_process({"llvm-nm", "--print-armap", ours});
    EXPECT_EQ(llvm_nm.status, 0);
    EXPECT_EQ(llvm_nm.err, "");
    INDEX_PAIRS llvm_pairs = nm_armap(llvm_nm.out, "Archive map");
    EXPECT_TRUE(llvm_pairs == actual) << first_difference(llvm_pairs, actual, "llvm-nm");
    return gnu_only_total;
}

struct LIBRARY_CASE {
    const char* file;
    const char* package;
};

class REAL_LIBRARY_INDEX : public ::testing::TestWithParam<LIBRARY_CASE> {};

TEST_P(REAL_LIBRARY_INDEX, MatchesGnuArAndNmReadsIt) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("nm", "binutils"));
    ASSERT_TRUE(have_tool("llvm-nm", "llvm"));
    const std::string library = std::string(kNewlibDir) + "/" + GetParam().file;
    ASSERT_TRUE(have_file(library, GetParam().package));

    SCRATCH_DIR scratch;
    const std::string src = scratch.subdir("members");
    std::vector<std::string> names;
    ASSERT_TRUE(gnu_ar_extract(library, src, names));
    // ar x would silently merge members of the same name.
    ASSERT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());

    compare_with_gnu_ar(scratch, src, names, names.size());
}

// A symbol bound STB_GNU_UNIQUE, beside ordinary globals: GNU ar indexes
// it, arwren must not, and the comparison must see exactly that one entry.
TEST(UniqueBinding, IsTheOnlyDifferenceFromGnuAr) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("nm", "binutils"));
    ASSERT_TRUE(have_tool("llvm-nm", "llvm"));
    ASSERT_TRUE(have_tool("arm-none-eabi-as", "binutils-arm-none-eabi"));
    SCRATCH_DIR scratch;
    const std::string src = scratch.subdir("members");
    write_bytes(src + "/unique.s",
                ".data\n.globl only_once\n.type only_once, %gnu_unique_object\n"
                "only_once: .word 1\n.globl plain_before\nplain_before: .word 2\n");
    write_bytes(src + "/plain.s", ".text\n.globl plain_after\nplain_after: .word 3\n");
    ASSERT_TRUE(run_ok({"arm-none-eabi-as", "unique.s", "-o", "unique.o"}, src));
    ASSERT_TRUE(run_ok({"arm-none-eabi-as", "plain.s", "-o", "plain.o"}, src));
    const std::vector<std::string> names{"unique.o", "plain.o"};
    int gnu_only_total = compare_with_gnu_ar(scratch, src, names, 1);
    EXPECT_EQ(gnu_only_total, 1);
}

INSTANTIATE_TEST_SUITE_P(Newlib, REAL_LIBRARY_INDEX,
                         ::testing::Values(LIBRARY_CASE{"libc.a", "libnewlib-arm-none-eabi"},
                                           LIBRARY_CASE{"libm.a", "libnewlib-arm-none-eabi"},
                                           LIBRARY_CASE{"libstdc++.a",
                                                        "libstdc++-arm-none-eabi-newlib"}),
                         [](const ::testing::TestParamInfo<LIBRARY_CASE>& info) {
                             std::string name = info.param.file;
                             name = name.substr(0, name.find('.'));
                             return name == "libstdc++" ? std::string("libstdcxx") : name;
                         });

}  // namespace

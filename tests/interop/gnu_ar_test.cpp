// arwren beside GNU ar and llvm-ar: the ARM C, maths and C++ libraries
// rewritten by arwren carry the index their distribution's GNU ar gave them;
// objects of both byte orders are indexed as GNU ar indexes them; GNU ar
// reads every name arwren stores in the POSIX form.
#include <algorithm>
#include <filesystem>

#include "host_tools.h"

namespace {

// What a program prints, or the failure.
std::string output(const std::vector<std::string>& argv) {
    RUN_RESULT r;
    ::testing::AssertionResult ok = run_ok(argv, "", &r);
    return ok ? r.out : ok.message();
}

class RealLibrary : public ::testing::TestWithParam<const char*> {};

// arwren rewrites a copy of the library in place: GNU ar and llvm-ar list
// the same members, GNU ar prints the same bytes, and nm reads the same
// index as in the original.
TEST_P(RealLibrary, RewrittenWithTheDistributionsIndex) {
    ASSERT_TRUE(have_tools({{"ar", "binutils"}, {"nm", "binutils"}, {"llvm-ar", "llvm"}}));
    const std::string library = kNewlibDir + "/" + GetParam();
    SCRATCH_DIR scratch;
    const std::string copy = scratch.path("lib.a");
    ASSERT_TRUE(std::filesystem::copy_file(library, copy))
        << "Debian packages libnewlib-arm-none-eabi, libstdc++-arm-none-eabi-newlib";
    ASSERT_TRUE(run_ok(arwren_argv({"rq", "lib.a"}), scratch.dir()));
    EXPECT_NE(scratch.read("lib.a"), SCRATCH_DIR::read_file(library));
    EXPECT_EQ(output({"ar", "t", copy}), output({"ar", "t", library}));
    EXPECT_EQ(output({"llvm-ar", "t", copy}), output({"ar", "t", library}));
    EXPECT_TRUE(output({"ar", "p", copy}) == output({"ar", "p", library}));
    const std::vector<std::string> ours = nm_armap(copy), theirs = nm_armap(library);
    EXPECT_GT(theirs.size(), 300u);
    // Where the listings part, rather than both whole.
    const auto at = std::mismatch(ours.begin(), ours.end(), theirs.begin(), theirs.end());
    EXPECT_TRUE(at.first == ours.end() && at.second == theirs.end())
        << "entry " << at.first - ours.begin() << ": " << (at.first != ours.end() ? *at.first : "<end>")
        << ", expected " << (at.second != theirs.end() ? *at.second : "<end>");
}

INSTANTIATE_TEST_SUITE_P(Newlib, RealLibrary, ::testing::Values("libc.a", "libm.a", "libstdc++.a"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             const std::string name = info.param;
                             return name == "libstdc++.a" ? std::string("libstdcxx") : name.substr(0, name.find('.'));
                         });

// Functions, data, weak definitions, a common block and an absolute symbol
// are indexed; statics and references are not, nor is a unique-bound symbol,
// which GNU ar indexes and arwren deliberately takes for an unknown binding.
const char kFirstSource[] =
    "int counter = 3;\nint shared_block;\nstatic int hidden;\n__attribute__((weak)) int tunable = 7;\n"
    "extern int elsewhere(int);\nextern int maybe(void) __attribute__((weak));\n"
    "int bump(int x) { hidden += x; return elsewhere(counter + hidden) + (maybe ? maybe() : 0); }\n"
    "__attribute__((weak)) void hook(void) {}\n__asm__(\".globl fixed_address\\n.set fixed_address, 0x1234\");\n"
    "__asm__(\".data\\n.globl only_once\\n.type only_once, %gnu_unique_object\\nonly_once: .word 1\");\n";

TEST(ByteOrders, BothAreIndexedAsGnuArIndexesThem) {
    ASSERT_TRUE(have_tools({{"arm-none-eabi-gcc", "gcc-arm-none-eabi"}, {"ar", "binutils"}}));
    SCRATCH_DIR scratch;
    scratch.write("first.c", kFirstSource);
    scratch.write("second.c", "static int local_helper(int x) { return x * 2; }\n"
                              "int twice(int x) { return local_helper(x); }\n");
    for (const std::string order : {"little", "big"}) {
        SCOPED_TRACE(order);
        const std::string dir = scratch.subdir(order);
        for (const std::string unit : {"first", "second"})
            ASSERT_TRUE(run_ok({"arm-none-eabi-gcc", "-m" + order + "-endian", "-O1", "-fcommon", "-c",
                                "../" + unit + ".c", "-o", unit + ".o"}, dir));
        ASSERT_TRUE(run_ok({"ar", "rcs", "gnu.a", "first.o", "second.o"}, dir));
        std::vector<std::string> expected = nm_armap(dir + "/gnu.a");
        const auto unique = std::find(expected.begin(), expected.end(), "only_once in first.o");
        ASSERT_NE(unique, expected.end());
        expected.erase(unique);
        ASSERT_TRUE(run_ok(arwren_argv({"aq", "lib.a", "first.o", "second.o"}), dir));
        EXPECT_EQ(nm_armap(dir + "/lib.a"), expected);
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, (std::vector<std::string>{"bump in first.o", "counter in first.o", "fixed_address in first.o",
                                                      "hook in first.o", "shared_block in first.o", "tunable in first.o",
                                                      "twice in second.o"}));
    }
}

// Names that resemble the special members, hold blanks or a line end, or lie
// around the long-name boundary, with odd, even and empty contents: GNU ar
// lists them all in order and extracts each one's bytes.
TEST(GnuAr, ReadsEveryPosixNameArwrenStores) {
    ASSERT_TRUE(have_tools({{"ar", "binutils"}}));
    const std::vector<std::string> names = {
        "a", " ", "a b", " lead", "trail ", "<filenames", "filenames>", "<filenames>x", "14_with_blank ",
        " 14_leading_bl", "15_without_blan", "fffffffffffff.o", "ssssssssssssss.o", "vvvvvvvvvvvvvvv.o",
        "16 with blanks  ", "17 with blanks   ", "new\nline", "<filenames>_long_name",
        "a_rather_long_member_name_of_40_chars.oo"};
    SCRATCH_DIR scratch;
    std::vector<std::string> args = {"aq", "../x.a"};
    std::string listing;
    for (size_t i = 0; i < names.size(); ++i) {
        scratch.write("src/" + names[i], pattern_bytes(i * 331 % 1000, unsigned(i)));
        args.push_back(names[i]);
        listing += names[i] + "\n";
    }
    ASSERT_TRUE(run_ok(arwren_argv(args), scratch.path("src")));
    EXPECT_EQ(output({"ar", "t", scratch.path("x.a")}), listing);
    ASSERT_TRUE(run_ok({"ar", "x", "../x.a"}, scratch.subdir("out")));
    for (const std::string& name : names)
        EXPECT_TRUE(scratch.read("out/" + name) == scratch.read("src/" + name)) << name;
}

}  // namespace

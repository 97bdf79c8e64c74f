// arwren beside GNU ar and llvm-ar: the ARM C, maths and C++ libraries
// rebuilt by arwren carry the index their distribution's GNU ar gave them;
// objects of both byte orders are indexed alike; GNU ar reads every name
// arwren stores in the POSIX form; arwren edits what the others write.
#include <algorithm>
#include <set>

#include "host_tools.h"

namespace {

// Where two index listings part, for the failure message.
std::string first_difference(const std::vector<std::string>& ours, const std::vector<std::string>& theirs) {
    const auto at = std::mismatch(ours.begin(), ours.end(), theirs.begin(), theirs.end());
    return "entry " + std::to_string(at.first - ours.begin()) + ": " + (at.first != ours.end() ? *at.first : "<end>") +
           ", expected " + (at.second != theirs.end() ? *at.second : "<end>");
}

// Files in a directory with the given names, and their bytes.
std::vector<std::string> contents(const SCRATCH_DIR& scratch, const std::string& dir,
                                   const std::vector<std::string>& names) {
    std::vector<std::string> bytes;
    for (const std::string& name : names)
        bytes.push_back(scratch.read(dir + "/" + name));
    return bytes;
}

class RealLibrary : public ::testing::TestWithParam<const char*> {};

TEST_P(RealLibrary, RebuiltWithTheDistributionsIndex) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("nm", "binutils"));
    const std::string library = kNewlibDir + "/" + GetParam();
    SCRATCH_DIR scratch;
    RUN_RESULT listing;
    ASSERT_TRUE(run_ok({"ar", "t", library}, "", &listing))
        << "Debian packages libnewlib-arm-none-eabi, libstdc++-arm-none-eabi-newlib";
    const std::vector<std::string> names = lines_of(listing.out);
    ASSERT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());   // ar x would merge them
    ASSERT_TRUE(run_ok({"ar", "x", library}, scratch.subdir("members")));
    std::vector<std::string> args = {"aq", scratch.path("arwren.a")};
    args.insert(args.end(), names.begin(), names.end());
    ASSERT_TRUE(run_ok(arwren_argv(args), scratch.path("members")));
    const std::vector<std::string> ours = nm_armap(scratch.path("arwren.a")), theirs = nm_armap(library);
    EXPECT_GT(theirs.size(), names.size());
    EXPECT_TRUE(ours == theirs) << first_difference(ours, theirs);
    ASSERT_TRUE(run_ok({"ar", "x", scratch.path("arwren.a")}, scratch.subdir("back")));
    EXPECT_TRUE(contents(scratch, "back", names) == contents(scratch, "members", names));
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
    "int counter = 3;\n"
    "int shared_block;\n"
    "static int hidden;\n"
    "__attribute__((weak)) int tunable = 7;\n"
    "extern int elsewhere(int);\n"
    "extern int maybe(void) __attribute__((weak));\n"
    "int bump(int x) { hidden += x; return elsewhere(counter + hidden) + (maybe ? maybe() : 0); }\n"
    "__attribute__((weak)) void hook(void) {}\n"
    "__asm__(\".globl fixed_address\\n.set fixed_address, 0x1234\");\n"
    "__asm__(\".data\\n.globl only_once\\n.type only_once, %gnu_unique_object\\nonly_once: .word 1\");\n";

TEST(ByteOrders, BothAreIndexedAsGnuArIndexesThem) {
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    ASSERT_TRUE(have_tool("ar", "binutils"));
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
        std::string printed;
        for (const std::string& entry : expected)
            printed += "  ==>  symbol defined: '" + entry.substr(0, entry.find(' ')) + "'\n";
        RUN_RESULT made;
        ASSERT_TRUE(run_ok(arwren_argv({"aqs", "lib.a", "first.o", "second.o"}), dir, &made));
        EXPECT_EQ(made.out, printed);
        EXPECT_EQ(nm_armap(dir + "/lib.a"), expected);
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(expected, (std::vector<std::string>{"bump in first.o", "counter in first.o", "fixed_address in first.o",
                                                      "hook in first.o", "shared_block in first.o", "tunable in first.o",
                                                      "twice in second.o"}));
    }
}

// Names that resemble the special members, hold blanks or a line end, or lie
// around the long-name boundary, with odd, even and empty contents: GNU ar
// lists them all and extracts each one's bytes.
TEST(GnuAr, ReadsEveryPosixNameArwrenStores) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    const std::vector<std::string> names = {
        "a", " ", "a b", " lead", "trail ", "<filenames", "filenames>", "<filenames>x", "14_with_blank ",
        " 14_leading_bl", "15_without_blan", "fffffffffffff.o", "ssssssssssssss.o", "vvvvvvvvvvvvvvv.o",
        "16 with blanks  ", "17 with blanks   ", "new\nline", "<filenames>_long_name",
        "a_rather_long_member_name_of_40_chars.oo"};
    SCRATCH_DIR scratch;
    std::vector<std::string> args = {"aq", "../x.a"};
    for (size_t i = 0; i < names.size(); ++i) {
        scratch.write("src/" + names[i], pattern_bytes(i * 331 % 1000, unsigned(i)));
        args.push_back(names[i]);
    }
    ASSERT_TRUE(run_ok(arwren_argv(args), scratch.path("src")));
    RUN_RESULT listing;
    EXPECT_TRUE(run_ok({"ar", "t", "x.a"}, scratch.dir(), &listing));
    EXPECT_EQ(listing.out, "a\n \na b\n lead\ntrail \n<filenames\nfilenames>\n<filenames>x\n14_with_blank \n"
                           " 14_leading_bl\n15_without_blan\nfffffffffffff.o\nssssssssssssss.o\nvvvvvvvvvvvvvvv.o\n"
                           "16 with blanks  \n17 with blanks   \nnew\nline\n<filenames>_long_name\n"
                           "a_rather_long_member_name_of_40_chars.oo\n");
    ASSERT_TRUE(run_ok({"ar", "x", "../x.a"}, scratch.subdir("out")));
    EXPECT_TRUE(contents(scratch, "out", names) == contents(scratch, "src", names));
}

class ForeignArchive : public ::testing::TestWithParam<const char*> {};

// arwren lists and extracts what the other writes, replaces a long-named
// member by one of another odd size, deletes a short and a long name, and
// GNU ar and llvm-ar read the result, with arwren's own index of the object.
TEST_P(ForeignArchive, ArwrenListsExtractsReplacesAndDeletes) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("llvm-ar", "llvm"));
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    const std::string src = scratch.subdir("src");
    std::vector<std::string> names = {"odd.txt", "empty.dat", "fffffffffffff.o", "ssssssssssssss.o",
                                      "a_rather_long_member_name.oo", "obj.o"};
    scratch.write("src/obj.c", "int exported_value = 1;\nint exported_function(void) { return 2; }\n");
    ASSERT_TRUE(run_ok({"arm-none-eabi-gcc", "-c", "obj.c", "-o", "obj.o"}, src));
    for (size_t i = 0; i + 1 < names.size(); ++i)
        scratch.write("src/" + names[i], pattern_bytes(i * 501 % 1200, unsigned(i)));
    std::vector<std::string> create = {GetParam(), "rc", "../x.a"};
    create.insert(create.end(), names.begin(), names.end());
    ASSERT_TRUE(run_ok(create, src));

    RUN_RESULT listing;
    ASSERT_TRUE(run_ok(arwren_argv({"t", "../x.a"}), src, &listing));
    std::vector<std::string> listed = lines_of(listing.out);
    for (std::string& line : listed)
        line = line.substr(std::min<size_t>(41, line.size()));
    EXPECT_EQ(std::vector<std::string>(listed.begin() + 3, listed.end()), names);
    ASSERT_TRUE(run_ok(arwren_argv({"x", "../x.a"}), scratch.subdir("arwren-x")));
    EXPECT_TRUE(contents(scratch, "arwren-x", names) == contents(scratch, "src", names));

    scratch.write("src/ssssssssssssss.o", pattern_bytes(333, 9));
    ASSERT_TRUE(run_ok(arwren_argv({"rq", "../x.a", "ssssssssssssss.o"}), src));
    ASSERT_TRUE(run_ok(arwren_argv({"dq", "../x.a", "odd.txt", "a_rather_long_member_name.oo"}), src));
    names = {"empty.dat", "fffffffffffff.o", "ssssssssssssss.o", "obj.o"};
    for (const std::string reader : {"ar", "llvm-ar"}) {
        ASSERT_TRUE(run_ok({reader, "t", "x.a"}, scratch.dir(), &listing));
        EXPECT_EQ(lines_of(listing.out), names) << reader;
    }
    ASSERT_TRUE(run_ok({"ar", "x", "../x.a"}, scratch.subdir("gnu-x")));
    EXPECT_TRUE(contents(scratch, "gnu-x", names) == contents(scratch, "src", names));
    EXPECT_EQ(nm_armap(scratch.path("x.a")), (std::vector<std::string>{"exported_value in obj.o",
                                                                       "exported_function in obj.o"}));
}

INSTANTIATE_TEST_SUITE_P(Writers, ForeignArchive, ::testing::Values("ar", "llvm-ar"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             return std::string(info.param[0] == 'a' ? "gnu" : "llvm");
                         });

}  // namespace

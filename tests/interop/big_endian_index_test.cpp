// The same sources compiled for little- and big-endian ARM must give the
// same symbol index: the archiver reads both byte orders of ELF alike.
#include <gtest/gtest.h>

#include "ar_image.h"
#include "elf_symbol_reader.h"
#include "host_tools.h"

namespace {

// Functions, data, a weak function and weak data, a common block, an
// absolute symbol, and things that must stay out of the index: statics, an
// undefined reference and a weak undefined reference.
const char kFirstSource[] =
    "int counter = 3;\n"
    "int shared_block;\n"
    "static int hidden;\n"
    "__attribute__((weak)) int tunable = 7;\n"
    "extern int elsewhere(int);\n"
    "extern int maybe(void) __attribute__((weak));\n"
    "int bump(int x) { hidden += x; return elsewhere(counter + hidden) + (maybe ? maybe() : 0); }\n"
    "__attribute__((weak)) void hook(void) {}\n";
const char kSecondSource[] =
    "__asm__(\".globl fixed_address\\n.set fixed_address, 0x1234\");\n"
    "static int local_helper(int x) { return x * 2; }\n"
    "const char greeting[] = \"hello\";\n"
    "int twice(int x) { return local_helper(x); }\n";

TEST(BigEndian, BothByteOrdersGiveTheSameIndex) {
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    scratch.write("first.c", kFirstSource);
    scratch.write("second.c", kSecondSource);
    INDEX_PAIRS little;
    for (const std::string order : {"little", "big"}) {
        SCOPED_TRACE(order);
        const std::string dir = scratch.subdir(order);
        INDEX_PAIRS expected;  // from the objects' own symbol tables
        std::string symbol_lines;
        for (const std::string unit : {"first", "second"}) {
            ASSERT_TRUE(run_ok({"arm-none-eabi-gcc", "-m" + order + "-endian", "-O1", "-fcommon",
                                "-c", "../" + unit + ".c", "-o", unit + ".o"},
                               dir));
            for (const ELF_SYMBOL_FACTS& s : read_elf32_symbols(scratch.read(order + "/" + unit + ".o")))
                if (arwren_indexes(s)) {
                    expected.emplace_back(s.name, unit + ".o");
                    symbol_lines += "  ==>  symbol defined: '" + s.name + "'\n";
                }
        }
        RUN_RESULT made = run_arwren({"aqs", "lib.a", "first.o", "second.o"}, dir);
        EXPECT_EQ(made.status, 0);
        EXPECT_EQ(made.err, "");
        EXPECT_EQ(made.out, symbol_lines);
        AR_IMAGE image;
        ASSERT_TRUE(image.parse(scratch.read(order + "/lib.a"))) << image.error;
        EXPECT_EQ(image.index_by_member(), expected);
        if (little.empty())
            little = expected;
        EXPECT_EQ(expected, little);
    }
    // The oracle must itself have seen every kind of definition.
    std::vector<std::string> names;
    for (const auto& p : little)
        names.push_back(p.first);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"bump", "counter", "fixed_address", "greeting", "hook",
                                               "shared_block", "tunable", "twice"}));
}

}  // namespace

// The same sources compiled for little- and big-endian ARM must give the
// same symbol index: the archiver reads both byte orders of ELF alike.
#include <gtest/gtest.h>

#include "ar_image.h"
#include "elf_symbol_reader.h"
#include "host_tools.h"
#include "process_run.h"
#include "scratch_dir.h"

namespace {

// Functions, data, a weak function and weak data, a common block, an
// absolute symbol, and things that must stay out of the index: a static,
// an undefined reference and a weak undefined reference.
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

using INDEX_PAIRS = std::vector<std::pair<std::string, std::string>>;

// What the index must hold, from the objects' own symbol tables.
INDEX_PAIRS expected_index(const std::string& dir, const std::vector<std::string>& objects) {
    INDEX_PAIRS pairs;
    for (const std::string& object : objects) {
        std::vector<ELF_SYMBOL_FACTS> symbols;
        read_elf32_symbols(read_bytes(dir + "/" + object), symbols);
        for (const ELF_SYMBOL_FACTS& s : symbols)
            if (arwren_indexes(s))
                pairs.emplace_back(s.name, object);
    }
    return pairs;
}

std::string symbol_lines(const INDEX_PAIRS& pairs) {
    std::string text;
    for (const auto& p : pairs)
        text += "  ==>  symbol defined: '" + p.first + "'\n";
    return text;
}

TEST(BigEndian, BothByteOrdersGiveTheSameIndex) {
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    write_bytes(scratch.at("first.c"), kFirstSource);
    write_bytes(scratch.at("second.c"), kSecondSource);
    const std::vector<std::string> objects{"first.o", "second.o"};
    INDEX_PAIRS little_expected;
    for (const char* order : {"little", "big"}) {
        SCOPED_TRACE(order);
        const std::string dir = scratch.subdir(order);
        for (const char* unit : {"first", "second"}) {
            ASSERT_TRUE(run_ok(
                {"arm-none-eabi-gcc", std::string("-m") + order + "-endian", "-O1", "-fcommon",
                 "-c", std::string("../") + unit + ".c", "-o", std::string(unit) + ".o"},
                dir));
        }
        INDEX_PAIRS expected = expected_index(dir, objects);
        RUN_RESULT made = run_arwren({"aqs", "lib.a", "first.o", "second.o"}, dir);
        ASSERT_EQ(made.status, 0) << made.err;
        EXPECT_EQ(made.err, "");
        EXPECT_EQ(made.out, symbol_lines(expected));
        AR_IMAGE image;
        ASSERT_TRUE(image.parse(read_bytes(dir + "/lib.a"))) << image.error();
        EXPECT_EQ(image.index_by_member(), expected);
        if (little_expected.empty())
            little_expected = expected;
        EXPECT_EQ(expected, little_expected);
    }
    // The oracle must itself have seen every kind of definition.
    const std::vector<std::string> names{"bump",    "hook",          "tunable",  "shared_block",
                                         "counter", "fixed_address", "greeting", "twice"};
    for (const std::string& name : names) {
        bool found = false;
        for (const auto& p : little_expected)
            found = found || p.first == name;
        EXPECT_TRUE(found) << name;
    }
    EXPECT_EQ(little_expected.size(), names.size());
}

}  // namespace

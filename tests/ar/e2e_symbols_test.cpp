// The symbol index of real objects (the examples, built by the ARM cross
// compiler as examples/README.md says) printed by the s option.
#include <gtest/gtest.h>

#include <string>

#include "tool_run.h"

namespace {

const char* const kObjects[] = {"board_config_for_example.o", "filter.o", "gain.o"};

// Every global or weak definition, member by member in symbol-table order.
const std::string kSymbols =
    "  ==>  symbol defined: 'gain_default'\n"
    "  ==>  symbol defined: 'board_init'\n"
    "  ==>  symbol defined: 'filter_step'\n"
    "  ==>  symbol defined: 'filter_history'\n"
    "  ==>  symbol defined: 'filter_reset'\n"
    "  ==>  symbol defined: 'gain_default'\n"
    "  ==>  symbol defined: 'gain_apply'\n"
    "  ==>  symbol defined: 'gain_shift'\n"
    "  ==>  symbol defined: 'gain_table'\n";

void copy_examples(const SCRATCH_DIR& dir) {
    for (const char* object : kObjects) {
        std::string path = std::string(ARWREN_SOURCE_DIR) + "/examples/objects/" + object;
        ASSERT_EQ(dir.run_program({"/bin/cp", path, dir.at(object)}), 0) << path;
    }
}

TEST(SymbolsEndToEnd, IndexIsPrintedAfterEveryRewrite) {
    SCRATCH_DIR dir;
    copy_examples(dir);
    std::vector<std::string> add = {"as", "ex.a"};
    add.insert(add.end(), std::begin(kObjects), std::end(kObjects));
    TOOL_RESULT result = dir.run(add);
    EXPECT_EQ(result.out, "  ==>  new archive 'ex.a'\n  ==>  building archive 'ex.a'\n" + kSymbols);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    std::string first = dir.read("ex.a");

    // q silences progress but not the index; rewriting the same files changes nothing.
    result = dir.run({"rqs", "ex.a"});
    EXPECT_EQ(result.out, kSymbols);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(dir.read("ex.a"), first);

    // Deleting a member drops its symbols; t never prints the index.
    result = dir.run({"dqs", "ex.a", "gain.o"});
    EXPECT_EQ(result.out, kSymbols.substr(0, kSymbols.find("  ==>  symbol defined: 'gain_default'",
                                                           40)));
    result = dir.run({"ts", "ex.a", "filter.o"});
    EXPECT_EQ(result.out.find("symbol"), std::string::npos);
}

}  // namespace

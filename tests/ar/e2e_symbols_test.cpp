// The symbol index of real objects (the examples, built by the ARM cross
// compiler as examples/README.md says) printed by the s option.
#include "front_run.h"

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

TEST(SymbolsEndToEnd, IndexIsPrintedAfterEveryRewrite) {
    SCRATCH_DIR dir;
    std::vector<std::string> add = {"as", "ex.a"};
    for (const char* object : kObjects) {
        dir.write(object, SCRATCH_DIR::read_file(std::string(ARWREN_SOURCE_DIR) +
                                                 "/examples/objects/" + object));
        add.push_back(object);
    }
    expect_run(dir, add, "  ==>  new archive 'ex.a'\n  ==>  building archive 'ex.a'\n" + kSymbols,
               "", 0);
    const std::string first = dir.read("ex.a");

    // q silences progress but not the index; rewriting the same files changes nothing.
    expect_run(dir, {"rqs", "ex.a"}, kSymbols, "", 0);
    EXPECT_EQ(dir.read("ex.a"), first);

    // Deleting a member drops its symbols; t never prints the index.
    expect_run(dir, {"dqs", "ex.a", "gain.o"},
               kSymbols.substr(0, kSymbols.find("  ==>  symbol defined: 'gain_default'", 40)), "",
               0);
    RUN_RESULT listing = run_arwren({"ts", "ex.a", "filter.o"}, dir.dir());
    EXPECT_EQ(listing.out.find("symbol"), std::string::npos);
}

}  // namespace

#include "ar/ar_driver.h"

#include <gtest/gtest.h>

#include "ar/ar_options.h"

namespace {

TEST(ParseKeyTest, LettersSetCommandAndFlags) {
    struct {
        const char* key;
        int command;
        int format;
        int update, quiet, symbols, verbose;
    } cases[] = {
        {"t", AR_OPTIONS::TOC, 0, 0, 0, 0, 0},
        {"-X", AR_OPTIONS::EXTRACT, 0, 0, 0, 0, 0},
        {"a-q-", AR_OPTIONS::ADD, 0, 0, 1, 0, 0},
        {"D", AR_OPTIONS::DELETE, 0, 0, 0, 0, 0},
        {"ru", AR_OPTIONS::REPLACE, 0, 1, 0, 0, 0},
        {"U", AR_OPTIONS::REPLACE, 0, 1, 0, 0, 0},  // u implies r
        {"rr", AR_OPTIONS::REPLACE, 0, 0, 0, 0, 0},
        {"RQSV", AR_OPTIONS::REPLACE, 0, 0, 1, 1, 1},
        {"a0", AR_OPTIONS::ADD, 1, 0, 0, 0, 0},
        {"a1", AR_OPTIONS::ADD, 2, 0, 0, 0, 0},
        {"2a", AR_OPTIONS::ADD, 3, 0, 0, 0, 0},
        {"a201", AR_OPTIONS::ADD, 2, 0, 0, 0, 0},  // the last digit wins
    };
    for (const auto& c : cases) {
        AR_OPTIONS options{};
        parse_key(&options, c.key);
        EXPECT_EQ(options.command, c.command) << c.key;
        EXPECT_EQ(options.format, c.format) << c.key;
        EXPECT_EQ(options.update, c.update) << c.key;
        EXPECT_EQ(options.quiet, c.quiet) << c.key;
        EXPECT_EQ(options.symbols, c.symbols) << c.key;
        EXPECT_EQ(options.verbose, c.verbose) << c.key;
    }
}

}  // namespace

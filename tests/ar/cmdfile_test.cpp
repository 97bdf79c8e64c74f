#include "ar/cmdfile.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

std::vector<std::string> tokens_of(const std::string& text) {
    std::vector<std::string> tokens;
    FILE* stream = fmemopen(const_cast<char*>(text.data()), text.size(), "r");
    while (char* token = fnextopt(stream)) {
        tokens.push_back(token);
        free(token);
    }
    fclose(stream);
    return tokens;
}

TEST(FnextoptTest, SplitsTokensByTheGrammar) {
    const struct {
        const char* what;
        std::string text;
        std::vector<std::string> tokens;
    } cases[] = {
        {"empty", "", {}},
        {"only blanks and comments", " \n\t; one\n# two\n/* three */\n", {}},
        {"white space separates", "  a\tbb\n\nccc  ", {"a", "bb", "ccc"}},
        {"quoted blanks stay", "\"my file.o\" x", {"my file.o", "x"}},
        {"quote continues the word", "ab\"c d\"ef", {"abc def"}},
        {"quote spans lines", "\"a\nb\"", {"a\nb"}},
        {"empty quotes give no token", "\"\" x", {"x"}},
        {"escaped quote in quote", "\"a\\\"b\"", {"a\"b"}},
        {"escaped backslash ends escape", "\"a\\\\\" b", {"a\\", "b"}},
        {"escaped quote outside quote", "a\\\"b", {"a\"b"}},
        {"other escapes keep backslash", "a\\nb \\t", {"a\\nb", "\\t"}},
        {"block comment joins halves", "ab/* x y */cd e", {"abcd", "e"}},
        {"block comment before a word", "/*c*/ w", {"w"}},
        {"block comment spans lines", "a/*\n*\n*/b", {"ab"}},
        {"slash alone is kept", "a/b /", {"a/b", "/"}},
        {"semicolon joins next line", "ab;c\ncd\n", {"abcd"}},
        {"semicolon then indented line", "ab; c\n cd", {"ab", "cd"}},
        {"hash starts a comment", "a #b c\nd", {"a", "d"}},
        {"hash joins like semicolon", "a#b\nc", {"ac"}},
        {"hash kept after a dash", "-x#1 -#", {"-x#1", "-#"}},
        {"comment at end of file", "a ;", {"a"}},
        {"long token grows", std::string(200, 'z'), {std::string(200, 'z')}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tokens_of(c.text), c.tokens) << c.what;
}

}  // namespace

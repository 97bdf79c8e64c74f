#include "ar/cmdfile.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

// The tokens of a text, and "!" and the status where one fails; reading goes
// on after a refused token and stops at the end or an unterminated one.
std::vector<std::string> tokens_of(const std::string& text) {
    std::vector<std::string> results;
    FILE* stream = fmemopen(const_cast<char*>(text.data()), text.size(), "r");
    for (int i = 0; i < 10; ++i) {
        CMDFILE_STATUS status = CMDFILE_NUL_BYTE;
        char* token = cmdfile_token(stream, &status);
        if (token != nullptr)
            results.push_back(token);
        else if (status != CMDFILE_OK)
            results.push_back("!" + std::to_string(status));
        free(token);
        if (token == nullptr && status != CMDFILE_NUL_BYTE)
            break;
    }
    fclose(stream);
    return results;
}

TEST(CmdfileTest, SplitsTokensByTheGrammar) {
    const struct {
        const char* what;
        std::string text;
        std::vector<std::string> tokens;
    } cases[] = {
        {"quote continues the word", "ab\"c d\"ef", {"abc def"}},
        {"quote spans lines", "\"a\nb\"", {"a\nb"}},
        {"empty quotes give no token", "\"\" x", {"x"}},
        {"escaped quote in quote", "\"a\\\"b\"", {"a\"b"}},
        {"escaped backslash ends escape", "\"a\\\\\" b", {"a\\", "b"}},
        {"escaped quote outside quote", "a\\\"b", {"a\"b"}},
        {"other escapes keep backslash", "a\\nb \\t", {"a\\nb", "\\t"}},
        {"block comment spans lines", "a/*\n*\n*/b", {"ab"}},
        {"slash alone is kept", "a/b /", {"a/b", "/"}},
        {"semicolon joins next line", "ab;c\ncd\n", {"abcd"}},
        {"semicolon then indented line", "ab; c\n cd", {"ab", "cd"}},
        {"hash starts a comment", "a #b c\nd", {"a", "d"}},
        {"hash joins like semicolon", "a#b\nc", {"ac"}},
        {"hash kept after a dash", "-x#1 -#", {"-x#1", "-#"}},
        {"long token grows", std::string(200, 'z'), {std::string(200, 'z')}},
        {"NUL in a quote", "\"x\0\" c"s, {"!1", "c"}},
        {"NUL in a comment is skipped", "a ;\0\n b/*\0*/c"s, {"a", "bc"}},
        {"open comment", "a b/* x", {"a", "!2"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tokens_of(c.text), c.tokens) << c.what;
}

// Called without a command file's name, the refusal names none.
TEST(CmdfileTest, NulByteRefusedWithoutAName) {
    std::string text = "a\0b"s;
    FILE* stream = fmemopen(&text[0], text.size(), "r");
    EXPECT_EXIT(fnextopt(stream), testing::ExitedWithCode(1), "^  -->  error: NUL byte in command file\n$");
    fclose(stream);
}

}  // namespace

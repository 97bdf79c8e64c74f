#include "support/user_msg.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <string>

namespace {

// A private channel with the process defaults, so that counts and levels do
// not leak between tests.
class TEST_MSG : public USER_MSG {};

// What action writes: standard output, then "|", then standard error.
std::string output_of(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    action();
    const std::string err = testing::internal::GetCapturedStderr();
    return testing::internal::GetCapturedStdout() + "|" + err;
}

// By default only debug messages are hidden; a continuation shares the fate
// of the message it continues. Errors and application errors are counted.
TEST(UserMsgTest, LevelsHideMessagesAndTheirContinuations) {
    TEST_MSG channel;
    EXPECT_EQ(output_of([&] { channel.debug("hidden"); channel.remark("shown"); channel.cont("detail"); }),
              ">>  remark: shown\n            detail\n|");
    channel.set_warning_level(3);
    EXPECT_EQ(output_of([&] {
                  channel.warning(2, "low"); channel.cont("low detail"); channel.remark("not shown either");
                  channel.warning(3, "high"); channel.cont("high detail"); channel.error("err");
                  channel.apperror("counted too"); channel.usage("not counted");
              }),
              "|>> warning: high\n            high detail\n>>   error: err\n"
              ">> application error: counted too\n>>   usage: not counted\n");
    EXPECT_EQ(channel.get_error_count(), 2);
}

// Later lines are indented by the length of the prefix; exactly 78 columns
// stay on one line.
TEST(UserMsgTest, PrefixesStreamsAndWrapping) {
    const std::string indent(12, ' '), fits = std::string(60, 'x') + " " + std::string(5, 'y');
    const std::string largest(4095 - 12, 'm');   // one byte more ends the program
    const struct { std::function<void(USER_MSG&)> say; std::string output; } cases[] = {
        {[&](USER_MSG& m) { m.error("%s", fits.c_str()); }, "|>>   error: " + fits + "\n"},
        {[&](USER_MSG& m) { m.error("%sz", fits.c_str()); }, "|>>   error: " + std::string(60, 'x') + "\n" + indent + "yyyyyz\n"},
        {[](USER_MSG& m) { m.apperror("%s y", std::string(55, 'x').c_str()); },
         "|>> application error: " + std::string(55, 'x') + "\n" + std::string(22, ' ') + "y\n"},
        {[&](USER_MSG& m) { m.error("%s", largest.c_str()); }, "|>>   error:\n" + indent + largest + "\n"},
        {[](USER_MSG& m) { m.error("%lc", static_cast<wint_t>(0x100)); }, "|>>   error: \n"},   // unencodable
    };
    for (const auto& c : cases) {
        TEST_MSG channel;
        EXPECT_EQ(output_of([&] { c.say(channel); }), c.output) << &c - cases;
    }
}

TEST(UserMsgDeathTest, EndingMessages) {
    const struct { std::function<void(USER_MSG&)> say; const char* stderr_text; } cases[] = {
        {[](USER_MSG& m) { m.fatal("stop"); }, "^>> fatal error: stop\n$"},
        {[](USER_MSG& m) { m.warning(6, "x"); }, "^>> internal error: invalid warning level 37\n$"},
        {[](USER_MSG& m) { m.error("%s", std::string(4095 - 11, 'o').c_str()); },
         "^>> internal error: USER_MSG::message:  attempt to generate a message > 4095 bytes, which "
         "would result in a buffer overflow; terminating program.\n$"},
        {[](USER_MSG& m) { for (int i = 1; i <= 100; ++i) m.error("e%d", i); },
         ">>   error: e99\n>>   error: e100\ntoo many errors; aborting\n$"},
    };
    for (const auto& c : cases) {
        TEST_MSG channel;
        EXPECT_EXIT(c.say(channel), testing::ExitedWithCode(1), c.stderr_text);
    }
}

}  // namespace

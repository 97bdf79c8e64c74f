#include "support/user_msg.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <string>

namespace {

// A private channel with the process defaults, so that counts and levels do
// not leak between tests.
class TEST_MSG : public USER_MSG {};

struct OUTPUT {
    std::string out;
    std::string err;
};

OUTPUT capture(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    action();
    std::string err = testing::internal::GetCapturedStderr();
    return OUTPUT{testing::internal::GetCapturedStdout(), err};
}

std::string words(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i ? " " : "") + std::string("abcdefghi");
    return text;
}

// By default only debug messages are hidden; a continuation shares the fate
// of the message it continues.
TEST(UserMsgTest, LevelsHideMessagesAndTheirContinuations) {
    TEST_MSG channel;
    OUTPUT got = capture([&] {
        channel.debug("hidden");
        channel.remark("shown");
        channel.cont("detail");
    });
    EXPECT_EQ(got.out, ">>  remark: shown\n            detail\n");
    channel.set_warning_level(3);
    got = capture([&] {
        channel.warning(2, "low");
        channel.cont("low detail");
        channel.remark("not shown either");
        channel.warning(3, "high");
        channel.cont("high detail");
        channel.error("err");
        channel.apperror("counted too");
        channel.usage("not counted");
    });
    EXPECT_EQ(got.out, "");
    EXPECT_EQ(got.err, ">> warning: high\n            high detail\n>>   error: err\n"
                       ">> application error: counted too\n>>   usage: not counted\n");
    EXPECT_EQ(channel.get_error_count(), 2);
}

// Each severity has its prefix and stream. Later lines are indented by the
// length of the prefix; exactly 78 columns stay on one line; a word too long
// for a line is not broken.
TEST(UserMsgTest, PrefixesStreamsAndWrapping) {
    const std::string indent(12, ' '), fits = std::string(60, 'x') + " " + std::string(5, 'y');
    const std::string largest(4095 - 12, 'm');   // one byte more ends the program
    const struct { std::function<void(USER_MSG&)> say; std::string out, err; } cases[] = {
        {[](USER_MSG& m) { m.debug("d %d", 1); }, ">>   debug: d 1\n", ""},
        {[](USER_MSG& m) { m.remark("r"); }, ">>  remark: r\n", ""},
        {[](USER_MSG& m) { m.warning(1, "w"); }, "", ">> warning: w\n"},
        {[](USER_MSG& m) { m.warning(5, "w"); }, "", ">> warning: w\n"},
        {[](USER_MSG& m) { m.usage("u"); }, "", ">>   usage: u\n"},
        {[](USER_MSG& m) { m.error("e %s", "x"); m.cont("c"); }, "", ">>   error: e x\n            c\n"},
        {[](USER_MSG& m) { m.error("%s", words(20).c_str()); }, "",
         ">>   error: " + words(6) + "\n" + indent + words(6) + "\n" + indent + words(6) + "\n" + indent + words(2) + "\n"},
        {[&](USER_MSG& m) { m.error("%s", fits.c_str()); }, "", ">>   error: " + fits + "\n"},
        {[&](USER_MSG& m) { m.error("%sz", fits.c_str()); }, "",
         ">>   error: " + std::string(60, 'x') + "\n" + indent + "yyyyyz\n"},
        {[](USER_MSG& m) { m.apperror("%s", words(10).c_str()); }, "",
         ">> application error: " + words(5) + "\n" + std::string(22, ' ') + words(5) + "\n"},
        {[](USER_MSG& m) { m.error("see %s now", std::string(100, 'w').c_str()); }, "",
         ">>   error: see\n" + indent + std::string(100, 'w') + " now\n"},
        {[&](USER_MSG& m) { m.error("%s", largest.c_str()); }, "", ">>   error:\n" + indent + largest + "\n"},
        {[](USER_MSG& m) { m.error("%lc", static_cast<wint_t>(0x100)); }, "", ">>   error: \n"},   // unencodable
    };
    for (const auto& c : cases) {
        TEST_MSG channel;
        channel.set_sev_level(USER_MSG::DEBUG);
        const OUTPUT got = capture([&] { c.say(channel); });
        EXPECT_EQ(got.out, c.out) << &c - cases;
        EXPECT_EQ(got.err, c.err) << &c - cases;
    }
}

TEST(UserMsgDeathTest, EndingMessages) {
    const struct {
        std::function<void(USER_MSG&)> say;
        const char* expected;   // the whole standard error
    } cases[] = {
        {[](USER_MSG& m) { m.fatal("stop"); }, "^>> fatal error: stop\n$"},
        {[](USER_MSG& m) { m.die("scope", "bad %d", 5); }, "^>> internal error: scope: bad 5\n$"},
        {[](USER_MSG& m) { m.warning(6, "x"); }, "^>> internal error: invalid warning level 37\n$"},
        {[](USER_MSG& m) { m.warning(0, "x"); }, "^>> internal error: invalid warning level 31\n$"},
        {[](USER_MSG& m) { m.set_warning_level(9); }, "^>> internal error: invalid warning level 40\n$"},
        {[](USER_MSG& m) { m.message(static_cast<USER_MSG::ERROR_SEVERITY>(40), "x"); },
         "^>> internal error: USER_MSG::message:  invalid error severity 40\n$"},
        {[](USER_MSG& m) { m.error("%s", std::string(4095 - 11, 'o').c_str()); },
         "^>> internal error: USER_MSG::message:  attempt to generate a message > 4095 bytes, which "
         "would result in a buffer overflow; terminating program.\n$"},
        {[](USER_MSG& m) { for (int i = 1; i <= 100; ++i) m.error("e%d", i); },
         ">>   error: e99\n>>   error: e100\ntoo many errors; aborting\n$"},
    };
    for (const auto& c : cases) {
        TEST_MSG channel;
        EXPECT_EXIT(c.say(channel), testing::ExitedWithCode(1), c.expected);
    }
}

}  // namespace

#include "support/user_msg.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>

namespace {

// A private channel with the process defaults, so that counts and levels do
// not leak between tests.
class TEST_MSG : public USER_MSG {
public:
    TEST_MSG() = default;
};

struct OUTPUT {
    std::string out;
    std::string err;
};

OUTPUT capture(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    action();
    OUTPUT result;
    result.err = testing::internal::GetCapturedStderr();
    result.out = testing::internal::GetCapturedStdout();
    return result;
}

TEST(UserMsgTest, PrefixesAndStreams) {
    struct CASE {
        const char* what;
        std::function<void(USER_MSG&)> say;
        const char* out;
        const char* err;
    } const cases[] = {
        {"debug", [](USER_MSG& m) { m.debug("d %d", 1); }, ">>   debug: d 1\n", ""},
        {"remark", [](USER_MSG& m) { m.remark("r"); }, ">>  remark: r\n", ""},
        {"warning 1", [](USER_MSG& m) { m.warning(1, "w"); }, "", ">> warning: w\n"},
        {"warning 5", [](USER_MSG& m) { m.warning(5, "w"); }, "", ">> warning: w\n"},
        {"error", [](USER_MSG& m) { m.error("e %s", "x"); }, "", ">>   error: e x\n"},
        {"usage", [](USER_MSG& m) { m.usage("u"); }, "", ">>   usage: u\n"},
        {"apperror", [](USER_MSG& m) { m.apperror("a"); }, "", ">> application error: a\n"},
        {"message", [](USER_MSG& m) { m.message(USER_MSG::REMARK, "%d", 7); }, ">>  remark: 7\n", ""},
        {"cont after remark", [](USER_MSG& m) { m.remark("r"); m.cont("c"); },
         ">>  remark: r\n            c\n", ""},
        {"cont after error", [](USER_MSG& m) { m.error("e"); m.cont("c"); }, "",
         ">>   error: e\n            c\n"},
    };
    for (const CASE& c : cases) {
        TEST_MSG channel;
        channel.set_sev_level(USER_MSG::DEBUG);
        OUTPUT got = capture([&] { c.say(channel); });
        EXPECT_EQ(got.out, c.out) << c.what;
        EXPECT_EQ(got.err, c.err) << c.what;
    }
}

TEST(UserMsgTest, DefaultsHideDebugOnly) {
    TEST_MSG channel;
    EXPECT_EQ(channel.get_sev_level(), 16);
    OUTPUT got = capture([&] {
        channel.debug("hidden");
        channel.remark("shown");
    });
    EXPECT_EQ(got.out, ">>  remark: shown\n");
    EXPECT_EQ(got.err, "");
}

TEST(UserMsgTest, ContinuationFollowsSuppressedWarning) {
    TEST_MSG channel;
    channel.set_warning_level(3);
    EXPECT_EQ(channel.get_sev_level(), 34);
    OUTPUT got = capture([&] {
        channel.warning(2, "low");
        channel.cont("low detail");
        channel.remark("not shown either");
        channel.warning(3, "high");
        channel.cont("high detail");
        channel.error("err");
    });
    EXPECT_EQ(got.out, "");
    EXPECT_EQ(got.err, ">> warning: high\n            high detail\n>>   error: err\n");
}

TEST(UserMsgTest, OnlyErrorsAreCounted) {
    TEST_MSG channel;
    capture([&] {
        channel.error("one");
        channel.cont("not counted");
        channel.apperror("two");
        channel.warning(1, "no");
        channel.usage("no");
        channel.remark("no");
    });
    EXPECT_EQ(channel.get_error_count(), 2);
}

std::string words(int count, const char* word) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i ? " " : "") + std::string(word);
    return text;
}

TEST(UserMsgTest, LongTextWrapsAt78WithPrefixIndent) {
    const std::string indent(12, ' ');
    const std::string six = words(6, "abcdefghi");   // 59 columns
    TEST_MSG channel;
    OUTPUT got = capture([&] { channel.error("%s", words(20, "abcdefghi").c_str()); });
    EXPECT_EQ(got.err, ">>   error: " + six + "\n" + indent + six + "\n" + indent + six + "\n" + indent +
                           words(2, "abcdefghi") + "\n");

    // Exactly 78 columns stay on one line; one more breaks.
    std::string fits = std::string(60, 'x') + " " + std::string(5, 'y');
    got = capture([&] { channel.error("%s", fits.c_str()); });
    EXPECT_EQ(got.err, ">>   error: " + fits + "\n");
    got = capture([&] { channel.error("%sz", fits.c_str()); });
    EXPECT_EQ(got.err, ">>   error: " + std::string(60, 'x') + "\n" + indent + "yyyyyz\n");

    // Lines after the first are indented by the length of the prefix.
    got = capture([&] { channel.apperror("%s", words(10, "abcdefghi").c_str()); });
    EXPECT_EQ(got.err, ">> application error: " + words(5, "abcdefghi") + "\n" + std::string(22, ' ') +
                           words(5, "abcdefghi") + "\n");
}

TEST(UserMsgTest, OverlongWordIsNotBroken) {
    const std::string indent(12, ' ');
    const std::string word(100, 'w');
    TEST_MSG channel;
    OUTPUT got = capture([&] { channel.error("%s", word.c_str()); });
    EXPECT_EQ(got.err, ">>   error:\n" + indent + word + "\n");
    got = capture([&] { channel.error("see %s now", word.c_str()); });
    EXPECT_EQ(got.err, ">>   error: see\n" + indent + word + " now\n");
}

TEST(UserMsgTest, LargestMessageFits) {
    TEST_MSG channel;
    std::string text(4095 - 12, 'm');
    OUTPUT got = capture([&] { channel.error("%s", text.c_str()); });
    EXPECT_EQ(got.err, ">>   error:\n" + std::string(12, ' ') + text + "\n");
}

TEST(UserMsgDeathTest, EndingMessages) {
    struct CASE {
        const char* what;
        std::function<void(USER_MSG&)> say;
        const char* expected;   // the whole standard error
    } const cases[] = {
        {"fatal", [](USER_MSG& m) { m.fatal("stop"); }, "^>> fatal error: stop\n$"},
        {"die", [](USER_MSG& m) { m.die("scope", "bad %d", 5); }, "^>> internal error: scope: bad 5\n$"},
        {"warning 6", [](USER_MSG& m) { m.warning(6, "x"); }, "^>> internal error: invalid warning level 37\n$"},
        {"warning 0", [](USER_MSG& m) { m.warning(0, "x"); }, "^>> internal error: invalid warning level 31\n$"},
        {"set level 9", [](USER_MSG& m) { m.set_warning_level(9); },
         "^>> internal error: invalid warning level 40\n$"},
        {"severity 40", [](USER_MSG& m) { m.message(static_cast<USER_MSG::ERROR_SEVERITY>(40), "x"); },
         "^>> internal error: USER_MSG::message:  invalid error severity 40\n$"},
        {"overflow", [](USER_MSG& m) { m.error("%s", std::string(4095 - 11, 'o').c_str()); },
         "^>> internal error: USER_MSG::message:  attempt to generate a message > 4095 bytes, which "
         "would result in a buffer overflow; terminating program.\n$"},
    };
    for (const CASE& c : cases) {
        TEST_MSG channel;
        EXPECT_EXIT(c.say(channel), testing::ExitedWithCode(1), c.expected) << c.what;
    }
}

TEST(UserMsgDeathTest, HundredthErrorAborts) {
    auto run = [] {
        TEST_MSG channel;
        for (int i = 1; i < 100; ++i)
            channel.error("e%d", i);
        fputs("survived 99\n", stderr);
        channel.error("e100");
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(1),
                ">>   error: e99\nsurvived 99\n>>   error: e100\ntoo many errors; aborting\n$");
}

void fatal_with_abort(USER_MSG& channel, const char* format, ...) {
    va_list args;
    va_start(args, format);
    channel.message(USER_MSG::FATAL, format, args, true);
    va_end(args);
}

TEST(UserMsgDeathTest, AbortOnExitAborts) {
    TEST_MSG channel;
    EXPECT_EXIT(fatal_with_abort(channel, "gone %d", 1), testing::KilledBySignal(SIGABRT),
                ">> fatal error: gone 1\n");
}

TEST(UserMsgTest, ProcessChannelIsOneObject) {
    USER_MSG* channel = USER_MSG::get_umsg_obj();
    ASSERT_NE(channel, nullptr);
    EXPECT_EQ(USER_MSG::get_umsg_obj(), channel);
}

}  // namespace

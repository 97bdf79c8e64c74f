#include "support/pfile.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>
#include <unistd.h>

#include "support/user_msg.h"

namespace {

std::string unwrap(std::string text)
{
    const std::string indent = "\n" + std::string(22, ' ');
    for (size_t at; (at = text.find(indent)) != std::string::npos;)
        text.replace(at, indent.size(), " ");
    return text;
}

class PfileTest : public testing::Test {
protected:
    void SetUp() override
    {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        USER_MSG::get_umsg_obj()->set_sev_level(USER_MSG::REMARK);
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        pipe_read_ = fdopen(fds[0], "r");
        pipe_write_ = fdopen(fds[1], "w");
        file_ = std::tmpfile();
        read_only_ = std::fopen("/dev/null", "r");
        ASSERT_TRUE(pipe_read_ && pipe_write_ && file_ && read_only_);
    }

    void TearDown() override
    {
        std::fclose(pipe_read_);
        std::fclose(pipe_write_);
        std::fclose(file_);
        std::fclose(read_only_);
    }

    FILE* pipe_read_ = nullptr;
    FILE* pipe_write_ = nullptr;
    FILE* file_ = nullptr;
    FILE* read_only_ = nullptr;
};

TEST_F(PfileTest, MisuseAndFailuresAreReportedWithTheResult)
{
    char buffer[4] = {};
    const struct {
        const char* name;
        std::function<long()> call;
        long result;
        const char* message;
    } cases[] = {
        {"tell null", [&] { return pftell(nullptr); }, -1, "pftell called with a NULL FILE pointer"},
        {"tell pipe", [&] { return pftell(pipe_read_); }, -1, "call to pftell failed:  Illegal seek"},
        {"tell file", [&] { return pftell(file_); }, 0, nullptr},
        {"seek null", [&] { return long(pfseek(nullptr, 0, SEEK_SET)); }, -1,
         "pfseek called with a NULL FILE pointer"},
        {"seek negative", [&] { return long(pfseek(file_, -1, SEEK_SET)); }, -1,
         "pfseek called with SEEK_SET, but offset is negative"},
        {"seek pipe", [&] { return long(pfseek(pipe_read_, 0, SEEK_SET)); }, -1,
         "call to pfseek failed:  Illegal seek"},
        {"seek back", [&] { return long(pfseek(file_, -1, SEEK_CUR)); }, -1,
         "call to pfseek failed:  Invalid argument"},
        {"read null buffer", [&] { return long(pfread(nullptr, 1, 4, file_)); }, 0,
         "pfread called with a NULL buffer pointer"},
        {"read null stream", [&] { return long(pfread(buffer, 1, 4, nullptr)); }, 0,
         "pfread called with a NULL FILE pointer"},
        {"read nothing", [&] { return long(pfread(buffer, 1, 0, file_)); }, 0,
         "pfread called requesting zero elements"},
        {"read short", [&] { return long(pfread(buffer, 1, 4, file_)); }, 0, nullptr},
        {"write null buffer", [&] { return long(pfwrite(nullptr, 1, 4, file_)); }, 0,
         "pfwrite called with a NULL buffer pointer"},
        {"write null stream", [&] { return long(pfwrite(buffer, 1, 4, nullptr)); }, 0,
         "pfwrite called with a NULL FILE pointer"},
        {"write short", [&] { return long(pfwrite(buffer, 2, 2, read_only_)); }, 0,
         "pfwrite only wrote 0 elements; 2 were requested"},
        {"write", [&] { return long(pfwrite(buffer, 2, 2, file_)); }, 2, nullptr},
    };
    for (const auto& c : cases) {
        const int errors = USER_MSG::get_umsg_obj()->get_error_count();
        testing::internal::CaptureStderr();
        EXPECT_EQ(c.call(), c.result) << c.name;
        const std::string out = unwrap(testing::internal::GetCapturedStderr());
        const std::string expected = c.message ? std::string(">> application error: ") + c.message + "\n" : "";
        EXPECT_EQ(out, expected) << c.name;
        EXPECT_EQ(USER_MSG::get_umsg_obj()->get_error_count(), errors + (c.message ? 1 : 0)) << c.name;
    }
}

}  // namespace

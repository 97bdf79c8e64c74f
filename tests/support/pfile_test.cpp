#include "support/pfile.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>
#include <unistd.h>

#include "support/text_capture.h"
#include "support/user_msg.h"

namespace {

TEST(PfileTest, MisuseAndFailuresAreReportedWithTheResult) {
    USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    FILE* pipe_end = fdopen(fds[0], "r");
    FILE* file = std::tmpfile();
    FILE* read_only = std::fopen("/dev/null", "r");
    ASSERT_TRUE(pipe_end && file && read_only);
    char buf[4] = {};
    const struct { std::function<long()> call; long result; const char* message; } cases[] = {
        {[&] { return pftell(nullptr); }, -1, "pftell called with a NULL FILE pointer"},
        {[&] { return pftell(pipe_end); }, -1, "call to pftell failed:  Illegal seek"},
        {[&] { return pfseek(file, -1, SEEK_SET); }, -1, "pfseek called with SEEK_SET, but offset is negative"},
        {[&] { return pfseek(pipe_end, 0, SEEK_SET); }, -1, "call to pfseek failed:  Illegal seek"},
        {[&] { return pfread(nullptr, 1, 4, file); }, 0, "pfread called with a NULL buffer pointer"},
        {[&] { return pfread(buf, 1, 4, file); }, 0, nullptr},   // a short read is no error
        {[&] { return pfwrite(buf, 2, 2, read_only); }, 0, "pfwrite only wrote 0 elements; 2 were requested"},
        {[&] { return pfwrite(buf, 2, 2, file); }, 2, nullptr},
    };
    for (const auto& c : cases)
        EXPECT_EQ(stderr_of([&] { EXPECT_EQ(c.call(), c.result) << &c - cases; }),
                  c.message ? std::string(">> application error: ") + c.message + "\n" : "") << &c - cases;
    for (FILE* f : {pipe_end, file, read_only})
        std::fclose(f);
    close(fds[1]);
}

}  // namespace

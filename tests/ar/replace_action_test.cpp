#include "ar/replace_action.h"

#include <gtest/gtest.h>

namespace {

TEST(ReplaceActionTest, DecidesByExistenceUpdateAndStrictlyNewerTime) {
    const struct {
        bool exists;
        int32_t file_date, member_date;
        bool update;
        REPLACE_ACTION action;
    } cases[] = {
        {false, 200, 100, false, REPLACE_KEEP},
        {false, 200, 100, true, REPLACE_KEEP},
        {true, 100, 200, false, REPLACE_FROM_FILE},   // without u the time does not matter
        {true, 101, 100, true, REPLACE_FROM_FILE},
        {true, 100, 100, true, REPLACE_SKIP_NOT_NEWER},   // equal is not newer
        {true, 99, 100, true, REPLACE_SKIP_NOT_NEWER},
        {true, -5, -10, true, REPLACE_FROM_FILE},
    };
    for (const auto& c : cases)
        EXPECT_EQ(replace_action(c.exists, c.file_date, c.member_date, c.update), c.action)
            << c.exists << " " << c.file_date << " " << c.member_date << " " << c.update;
}

}  // namespace

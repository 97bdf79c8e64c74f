#ifndef ARWREN_TESTS_OFE_COFF_NUCOFF_TEST_ENV_H
#define ARWREN_TESTS_OFE_COFF_NUCOFF_TEST_ENV_H

// Opens built NU-COFF objects through the factory, as the archive does, and
// keeps the errors they raise. Tests on it run in all three format versions
// and both byte orders.

#include <gtest/gtest.h>

#include <climits>
#include <list>
#include <memory>
#include <string>
#include <tuple>

#include "common/nucoff_builder.h"
#include "common/scratch_dir.h"
#include "ofe/coff/nucoff_file.h"
#include "ofe/test_object_file.h"
#include "support/user_msg.h"

class NucoffTestEnv : public testing::TestWithParam<std::tuple<int, NUCOFF_BUILDER::ORDER>> {
protected:
    NucoffTestEnv() {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        ERROR_LOG::calls().clear();
    }

    int version() const { return std::get<0>(GetParam()); }
    NUCOFF_BUILDER builder(uint16_t target = NUCOFF_BUILDER::ARM) const {
        return NUCOFF_BUILDER(version(), std::get<1>(GetParam()), target).section(".text", "code");
    }
    std::unique_ptr<OFE::NUCOFF_FILE> open(const std::string& bytes) {
        paths_.push_back(dir_.write("t" + std::to_string(paths_.size()) + ".o", bytes));   // the file keeps its name
        OFE::OBJECT_FILE* file = OFE::OBJECT_FILE::new_OBJECT_FILE(paths_.back().c_str(), ERROR_LOG::callback);
        EXPECT_TRUE(file && file->format() == OFE::OF_FORMAT_NUCOFF);
        return std::unique_ptr<OFE::NUCOFF_FILE>(static_cast<OFE::NUCOFF_FILE*>(file));
    }
    static std::string last_error() { return ERROR_LOG::calls().empty() ? "" : ERROR_LOG::calls().back().second; }

    SCRATCH_DIR dir_;
    std::list<std::string> paths_;
};

inline std::string form_name(const testing::TestParamInfo<std::tuple<int, NUCOFF_BUILDER::ORDER>>& info) {
    const bool big = std::get<1>(info.param) == NUCOFF_BUILDER::BIG;
    return "V" + std::to_string(std::get<0>(info.param)) + (big ? "Big" : "Little");
}

#define NUCOFF_ALL_FORMS(suite)                                                                               \
    INSTANTIATE_TEST_SUITE_P(AllForms, suite,                                                                 \
                             testing::Combine(testing::Values(0, 1, 2),                                       \
                                              testing::Values(NUCOFF_BUILDER::LITTLE, NUCOFF_BUILDER::BIG)), \
                             form_name)

#endif

#ifndef ARWREN_TESTS_OFE_COFF_NUCOFF_TEST_ENV_H
#define ARWREN_TESTS_OFE_COFF_NUCOFF_TEST_ENV_H

// Tests built on it run in all three format versions and both byte orders.

#include <tuple>

#include "common/nucoff_builder.h"
#include "ofe/coff/nucoff_file.h"
#include "ofe/test_object_file.h"

class NucoffTestEnv
    : public ObjectTestEnv<OFE::NUCOFF_FILE, OFE::OF_FORMAT_NUCOFF, std::tuple<int, NUCOFF_BUILDER::ORDER>> {
protected:
    int version() const { return std::get<0>(GetParam()); }
    NUCOFF_BUILDER builder(uint16_t target = NUCOFF_BUILDER::ARM) const {
        return NUCOFF_BUILDER(version(), std::get<1>(GetParam()), target).section(".text", "code");
    }
};

#define NUCOFF_ALL_FORMS(suite)                                                                               \
    INSTANTIATE_TEST_SUITE_P(                                                                                 \
        AllForms, suite,                                                                                      \
        testing::Combine(testing::Values(0, 1, 2), testing::Values(NUCOFF_BUILDER::LITTLE, NUCOFF_BUILDER::BIG)), \
        [](const testing::TestParamInfo<std::tuple<int, NUCOFF_BUILDER::ORDER>>& info) {                      \
            const bool big = std::get<1>(info.param) == NUCOFF_BUILDER::BIG;                                  \
            return "V" + std::to_string(std::get<0>(info.param)) + (big ? "Big" : "Little");                   \
        })

#endif

#ifndef ARWREN_TESTS_OFE_ELF_ELF_TEST_ENV_H
#define ARWREN_TESTS_OFE_ELF_ELF_TEST_ENV_H

// Tests built on it run in both byte orders.

#include "common/elf_builder.h"
#include "ofe/elf/elf_file.h"
#include "ofe/test_object_file.h"

class ElfTestEnv : public ObjectTestEnv<OFE::ELF_FILE, OFE::OF_FORMAT_ELF, ELF_BUILDER::ORDER> {
protected:
    ELF_BUILDER builder(uint16_t machine = 40) const { return ELF_BUILDER(GetParam(), machine); }
};

#define ELF_BOTH_ORDERS(suite)                                                                          \
    INSTANTIATE_TEST_SUITE_P(BothByteOrders, suite, testing::Values(ELF_BUILDER::LITTLE, ELF_BUILDER::BIG), \
                             [](const testing::TestParamInfo<ELF_BUILDER::ORDER>& info) {                \
                                 return std::string(info.param == ELF_BUILDER::BIG ? "Big" : "Little");  \
                             })

#endif

#ifndef ARWREN_TESTS_OFE_ELF_ELF_TEST_ENV_H
#define ARWREN_TESTS_OFE_ELF_ELF_TEST_ENV_H

// Opens built ELF objects through the factory, as the archive does, and keeps
// the errors the files raise. Tests built on it run in both byte orders.

#include <gtest/gtest.h>

#include <climits>
#include <list>
#include <memory>
#include <string>

#include "common/elf_builder.h"
#include "common/scratch_dir.h"
#include "ofe/elf/elf_file.h"
#include "ofe/test_object_file.h"
#include "support/user_msg.h"

class ElfTestEnv : public testing::TestWithParam<ELF_BUILDER::ORDER> {
protected:
    ElfTestEnv() {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        ERROR_LOG::calls().clear();
    }

    ELF_BUILDER builder(uint16_t machine = 40) const { return ELF_BUILDER(GetParam(), machine); }

    std::unique_ptr<OFE::ELF_FILE> open(const ELF_BUILDER& builder, const char* name = "t.o") {
        return open_bytes(builder.bytes(), name);
    }

    std::unique_ptr<OFE::ELF_FILE> open_bytes(const std::string& bytes, const char* name = "t.o") {
        paths_.push_back(dir_.write(name, bytes));   // the file keeps a pointer to its name
        OFE::OBJECT_FILE* file = OFE::OBJECT_FILE::new_OBJECT_FILE(paths_.back().c_str(), ERROR_LOG::callback);
        EXPECT_NE(file, nullptr);
        EXPECT_TRUE(!file || file->format() == OFE::OF_FORMAT_ELF);
        return std::unique_ptr<OFE::ELF_FILE>(static_cast<OFE::ELF_FILE*>(file));
    }

    SCRATCH_DIR dir_;
    std::list<std::string> paths_;
};

inline std::string order_name(const testing::TestParamInfo<ELF_BUILDER::ORDER>& info) {
    return info.param == ELF_BUILDER::BIG ? "Big" : "Little";
}

#endif

#ifndef ARWREN_TESTS_AR_LIB_ARCHIVE_TEST_ENV_H
#define ARWREN_TESTS_AR_LIB_ARCHIVE_TEST_ENV_H

// A scratch directory and an error recorder for archive library tests.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ar/lib/ar_file.h"
#include "common/archive_builder.h"
#include "common/scratch_dir.h"

struct RECORDED_ERROR {
    int code;
    std::string message;
    bool operator==(const RECORDED_ERROR& o) const { return code == o.code && message == o.message; }
};
using ERRORS = std::vector<RECORDED_ERROR>;

inline std::ostream& operator<<(std::ostream& out, const RECORDED_ERROR& e) {
    return out << e.code << " '" << e.message << "'";
}

// The library reports through a plain function pointer, so the recorder is
// process-wide; each test starts it afresh.
inline ERRORS& recorded_errors() {
    static ERRORS errors;
    return errors;
}

inline void record_error(AR_FILE*, AR_ERROR_CODE code, const char* message) {
    recorded_errors().push_back({int(code), message});
}

class ARCHIVE_TEST : public ::testing::Test {
protected:
    void SetUp() override {
        recorded_errors().clear();
        ASSERT_TRUE(dir_.ok());
    }

    std::string path(const std::string& name) const { return dir_.path(name); }
    std::string write(const std::string& name, const std::string& bytes) const { return dir_.write(name, bytes); }
    std::string read(const std::string& name) const { return dir_.read(name); }

    // An archive read the way the front end reads it.
    std::unique_ptr<AR_FILE> open_archive(const std::string& name) {
        std::unique_ptr<AR_FILE> ar(new AR_FILE(path(name).c_str(), nullptr, record_error));
        ar->read_headers(false);
        ar->create_toc();
        return ar;
    }

    // Adds a member named name, dated 7, from a file holding bytes.
    void add_file(AR_FILE& ar, const std::string& name, const std::string& bytes, const std::string& file) const {
        ar.add_member(ar.new_member(name.c_str(), 7, int32_t(bytes.size()), write(file, bytes).c_str()));
    }

    SCRATCH_DIR dir_;
};

#endif

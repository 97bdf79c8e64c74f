#ifndef ARWREN_TESTS_AR_LIB_ARCHIVE_TEST_ENV_H
#define ARWREN_TESTS_AR_LIB_ARCHIVE_TEST_ENV_H

// A scratch directory and an error recorder for archive library tests.

#include <dirent.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ar/lib/ar_file.h"
#include "common/scratch_dir.h"

struct RECORDED_ERROR {
    int code;
    std::string message;
};

// The library reports through a plain function pointer, so the recorder is
// process-wide; each test starts it afresh.
inline std::vector<RECORDED_ERROR>& recorded_errors()
{
    static std::vector<RECORDED_ERROR> errors;
    return errors;
}

inline void record_error(AR_FILE*, AR_ERROR_CODE code, const char* message)
{
    recorded_errors().push_back({int(code), message});
}

class ARCHIVE_TEST : public ::testing::Test {
protected:
    void SetUp() override
    {
        recorded_errors().clear();
        ASSERT_TRUE(dir_.ok());
    }

    std::string path(const std::string& name) const { return dir_.path(name); }
    std::string write(const std::string& name, const std::string& bytes) const { return dir_.write(name, bytes); }
    std::string read(const std::string& name) const { return dir_.read(name); }

    std::set<std::string> entries() const
    {
        std::set<std::string> names;
        if (DIR* d = opendir(dir_.dir().c_str())) {
            while (dirent* e = readdir(d)) {
                const std::string n = e->d_name;
                if (n != "." && n != "..")
                    names.insert(n);
            }
            closedir(d);
        }
        return names;
    }

    // An archive read the way the front end reads it.
    std::unique_ptr<AR_FILE> open_archive(const std::string& name)
    {
        std::unique_ptr<AR_FILE> ar(new AR_FILE(path(name).c_str(), nullptr, record_error));
        ar->read_headers(false);
        ar->create_toc();
        return ar;
    }

    static std::vector<std::string> member_names(const AR_FILE& ar)
    {
        std::vector<std::string> names;
        for (AR_MEMBER* m = ar.first_member(); m != nullptr; m = m->next)
            names.push_back(m->name);
        return names;
    }

    SCRATCH_DIR dir_;
};

#endif

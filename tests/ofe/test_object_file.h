#ifndef ARWREN_TESTS_OFE_TEST_OBJECT_FILE_H
#define ARWREN_TESTS_OFE_TEST_OBJECT_FILE_H

// A minimal back end that exercises the generic layer of the object-file
// library without any real format: it records the state steps it is asked
// for and can be told to fail one of them.

#include <string>
#include <utility>
#include <vector>

#include "ofe/object_file.h"

class TEST_FILE : public OFE::OBJECT_FILE {
public:
    explicit TEST_FILE(const OFE::OF_FILE_HANDLE& handle = OFE::OF_FILE_HANDLE())
        : OFE::OBJECT_FILE(handle) {}

    // Builds a file the way the factory does; error_during_construction is
    // raised before the callback is installed.
    static TEST_FILE* open(const OFE::OF_FILE_HANDLE& handle, OFE::OF_ERROR_CALLBACK callback,
                           OFE::OF_ERROR_CODE error_during_construction = OFE::OF_NO_ERROR) {
        TEST_FILE* file = new TEST_FILE(handle);
        if (error_during_construction != OFE::OF_NO_ERROR)
            file->set_error(error_during_construction, "raised while building");
        return static_cast<TEST_FILE*>(open_built(file, callback));
    }

    int progress_to_state(OFE::OF_STATE state) override {
        progressed.push_back(state);
        return state == fail_progress_at ? 1 : 0;
    }
    int revert_to_state(OFE::OF_STATE state) override {
        reverted.push_back(state);
        return fail_revert ? 1 : 0;
    }
    OFE::OF_FORMAT_VER format_version() override { return handle().format_version; }
    OFE::OF_FILE_TYPE file_type() override { return OFE::OF_FILE_TYPE_UNKNOWN; }
    OFE::OF_MACHINE machine() override { return handle().machine; }
    OFE::OF_ENDIAN machine_endian() override { return OFE::OF_ENDIAN_LITTLE; }
    OFE::OF_ENDIAN control_endian() override { return OFE::OF_ENDIAN_LITTLE; }
    OFE::OF_SECTION_TABLE* section_table() override { return nullptr; }
    OFE::OF_SYMBOL_TABLE* symbol_table() override { return nullptr; }
    int load(OFE::OF_FILE_HANDLE) override { ++loads; return 0; }

    std::vector<int> progressed;
    std::vector<int> reverted;
    int fail_progress_at = -1;
    bool fail_revert = false;
    int loads = 0;
};

// Records every callback delivery.
struct ERROR_LOG {
    static std::vector<std::pair<int, std::string>>& calls() {
        static std::vector<std::pair<int, std::string>> log;
        return log;
    }
    static void callback(OFE::OBJECT_FILE*, OFE::OF_ERROR_CODE code, const char* message) {
        calls().emplace_back(code, message ? message : "(null)");
    }
};

#endif

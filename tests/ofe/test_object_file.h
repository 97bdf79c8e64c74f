#ifndef ARWREN_TESTS_OFE_TEST_OBJECT_FILE_H
#define ARWREN_TESTS_OFE_TEST_OBJECT_FILE_H

// A minimal back end that exercises the generic layer of the object-file
// library without any real format: it records the state steps it is asked
// for and can be told to fail one of them. Below it, the fixtures that open
// built objects through the factory, as the archive does, and the byte
// patterns that show a record's swap.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/scratch_dir.h"
#include "ofe/object_file.h"
#include "support/user_msg.h"

class TEST_FILE : public OFE::OBJECT_FILE {
public:
    explicit TEST_FILE(const OFE::OF_FILE_HANDLE& handle = OFE::OF_FILE_HANDLE()) : OFE::OBJECT_FILE(handle) {}

    // Builds a file the way the factory does; error_during_construction is
    // raised before the callback is installed.
    static TEST_FILE* open(OFE::OF_ERROR_CALLBACK callback, OFE::OF_ERROR_CODE error_during_construction) {
        TEST_FILE* file = new TEST_FILE();
        file->set_error(error_during_construction, "raised while building");
        return static_cast<TEST_FILE*>(open_built(file, callback));
    }

    int progress_to_state(OFE::OF_STATE s) override { progressed.push_back(s); return s == fail_progress_at; }
    int revert_to_state(OFE::OF_STATE state) override { reverted.push_back(state); return fail_revert; }
    OFE::OF_FORMAT_VER format_version() override { return handle().format_version; }
    OFE::OF_FILE_TYPE file_type() override { return OFE::OF_FILE_TYPE_UNKNOWN; }
    OFE::OF_MACHINE machine() override { return handle().machine; }
    OFE::OF_ENDIAN machine_endian() override { return OFE::OF_ENDIAN_LITTLE; }
    OFE::OF_ENDIAN control_endian() override { return OFE::OF_ENDIAN_LITTLE; }
    OFE::OF_SECTION_TABLE* section_table() override { return nullptr; }
    OFE::OF_SYMBOL_TABLE* symbol_table() override { return nullptr; }
    int load(OFE::OF_FILE_HANDLE) override { return 0; }

    std::vector<int> progressed, reverted;
    int fail_progress_at = -1;
    bool fail_revert = false;
};

// Records every callback delivery.
struct ERROR_LOG {
    typedef std::vector<std::pair<int, std::string>> CALLS;
    static CALLS& calls() { static CALLS log; return log; }
    static void callback(OFE::OBJECT_FILE*, OFE::OF_ERROR_CODE code, const char* message) {
        calls().emplace_back(code, message ? message : "(null)");
    }
    static std::string last() { return calls().empty() ? "" : calls().back().second; }
};

// Opens objects of one format, written to files that outlive them (a file
// keeps a pointer to its name), and logs the errors they raise.
template <typename FILE_CLASS, OFE::OF_FORMAT FORMAT, typename PARAM>
class ObjectTestEnv : public testing::TestWithParam<PARAM> {
protected:
    ObjectTestEnv() {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        ERROR_LOG::calls().clear();
    }
    std::unique_ptr<FILE_CLASS> open(const std::string& bytes) {
        paths_.push_back(dir_.write("t" + std::to_string(paths_.size()) + ".o", bytes));
        OFE::OBJECT_FILE* file = OFE::OBJECT_FILE::new_OBJECT_FILE(paths_.back().c_str(), ERROR_LOG::callback);
        EXPECT_TRUE(file && file->format() == FORMAT);
        return std::unique_ptr<FILE_CLASS>(static_cast<FILE_CLASS*>(file));
    }

    SCRATCH_DIR dir_;
    std::list<std::string> paths_;
};

// The bytes of a record laid out as `fields` says, one character per field
// in order: a digit is the field's width in bytes, holding 1, 2, 3, ... by
// position ('1' is a single byte, never swapped); '0' is a zero byte. With
// `swapped` every field's bytes are reversed, as a byte-order swap does.
inline std::vector<unsigned char> swap_pattern(const std::string& fields, bool swapped) {
    std::vector<unsigned char> bytes;
    for (char field : fields) {
        const size_t first = bytes.size();
        if (field == '0')
            bytes.push_back(0);
        for (int i = 0; i < field - '0'; ++i)
            bytes.push_back(static_cast<unsigned char>(bytes.size() + 1));
        if (swapped)
            std::reverse(bytes.begin() + first, bytes.end());
    }
    return bytes;
}

#endif

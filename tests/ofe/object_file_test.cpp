#include "ofe/object_file.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <memory>
#include <string>

#include "common/elf_builder.h"
#include "common/scratch_dir.h"
#include "ofe/of_types.h"
#include "support/data_map.h"
#include "support/fhm_file.h"
#include "support/user_msg.h"
#include "ofe/test_object_file.h"

using namespace OFE;

namespace {

// Messages are wrapped for the terminal; compare them as one line.
std::string one_line(std::string text) {
    std::string out;
    bool blank = false;
    for (char c : text) {
        if (c == '\n' || c == ' ') { blank = true; continue; }
        if (blank && !out.empty()) out += ' ';
        blank = false;
        out += c;
    }
    return out;
}

std::string half(uint16_t value, bool big) {
    std::string out(2, '\0');
    out[big ? 0 : 1] = char(value >> 8);
    out[big ? 1 : 0] = char(value);
    return out;
}

// A COFF head: the magic (or target ID) at 0 and, for versions 1 and 2, the
// target ID at 20.
std::string coff_head(uint16_t first, uint16_t target, bool big) {
    std::string out = half(first, big) + std::string(18, '\0') + half(target, big) + std::string(10, '\0');
    return out;
}

class ObjectFileTest : public testing::Test {
protected:
    void SetUp() override {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        ERROR_LOG::calls().clear();
        ASSERT_TRUE(dir_.ok());
    }

    OF_FILE_HANDLE sniff(const std::string& bytes) {
        FHM_FILE* file = fhm_open(dir_.write("obj", bytes).c_str(), "rb");
        OF_FILE_HANDLE handle;
        handle.file = file;
        OBJECT_FILE::determine_file_properties(handle);
        fhm_close(file);
        handle.file = nullptr;
        return handle;
    }

    SCRATCH_DIR dir_;
};

struct RECOGNITION_CASE {
    const char* what;
    std::string bytes;
    OF_FORMAT format;
    OF_FORMAT_VER version;
    OF_ENDIAN endian;
    OF_MACHINE machine;
};

TEST_F(ObjectFileTest, RecognitionMatrix) {
    const uint16_t wren_target = OBJECT_FILE::OF_MACHINE_to_NUCOFF(OF_MACHINE_WREN);
    const uint16_t kite_target = OBJECT_FILE::OF_MACHINE_to_NUCOFF(OF_MACHINE_KITE);
    const uint16_t wren_elf = OBJECT_FILE::OF_MACHINE_to_ELF(OF_MACHINE_WREN);
    const RECOGNITION_CASE cases[] = {
        {"ELF little", ELF_BUILDER(ELF_BUILDER::LITTLE).bytes(), OF_FORMAT_ELF, OF_FORMAT_VER_ELF1,
         OF_ENDIAN_LITTLE, OF_MACHINE_ARM},
        {"ELF big", ELF_BUILDER(ELF_BUILDER::BIG).bytes(), OF_FORMAT_ELF, OF_FORMAT_VER_ELF1,
         OF_ENDIAN_BIG, OF_MACHINE_ARM},
        {"EI_DATA 0 reads big", ELF_BUILDER(ELF_BUILDER::BIG).ident(5, 0).bytes(), OF_FORMAT_ELF,
         OF_FORMAT_VER_ELF1, OF_ENDIAN_BIG, OF_MACHINE_ARM},
        {"EI_DATA 3 reads big", ELF_BUILDER(ELF_BUILDER::BIG).ident(5, 3).bytes(), OF_FORMAT_ELF,
         OF_FORMAT_VER_ELF1, OF_ENDIAN_BIG, OF_MACHINE_ARM},
        {"EI_CLASS ignored", ELF_BUILDER().ident(4, 7).bytes(), OF_FORMAT_ELF, OF_FORMAT_VER_ELF1,
         OF_ENDIAN_LITTLE, OF_MACHINE_ARM},
        {"ELF family machine", ELF_BUILDER(ELF_BUILDER::BIG, wren_elf).bytes(), OF_FORMAT_ELF,
         OF_FORMAT_VER_ELF1, OF_ENDIAN_BIG, OF_MACHINE_WREN},
        {"ELF unknown machine", ELF_BUILDER(ELF_BUILDER::LITTLE, 3).bytes(), OF_FORMAT_ELF,
         OF_FORMAT_VER_ELF1, OF_ENDIAN_LITTLE, OF_MACHINE_UNKNOWN},
        {"ELF version 2", std::string("\x7f" "ELF\x01\x01", 6) + std::string(12, '\0') + "\x28\0\x02\0\0\0",
         OF_FORMAT_ELF, OF_FORMAT_VER_UNKNOWN, OF_ENDIAN_LITTLE, OF_MACHINE_ARM},
        {"7F E L G is no ELF", std::string("\x7f" "ELG", 4) + std::string(20, '\0'), OF_FORMAT_UNKNOWN,
         OF_FORMAT_VER_UNKNOWN, OF_ENDIAN_UNKNOWN, OF_MACHINE_UNKNOWN},
        {"COFF 2 little", coff_head(0x00C2, wren_target, false), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF2,
         OF_ENDIAN_LITTLE, OF_MACHINE_WREN},
        {"COFF 2 big", coff_head(0x00C2, wren_target, true), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF2,
         OF_ENDIAN_BIG, OF_MACHINE_WREN},
        {"COFF 1 little", coff_head(0x00C1, wren_target, false), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF1,
         OF_ENDIAN_LITTLE, OF_MACHINE_WREN},
        {"COFF 1 big", coff_head(0x00C1, wren_target, true), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF1,
         OF_ENDIAN_BIG, OF_MACHINE_WREN},
        {"COFF 0 little", coff_head(wren_target, 0, false), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF0,
         OF_ENDIAN_LITTLE, OF_MACHINE_WREN},
        {"COFF 0 big", coff_head(wren_target, 0, true), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF0,
         OF_ENDIAN_BIG, OF_MACHINE_WREN},
        {"OWL's target ID reads back as KITE", coff_head(kite_target, 0, false), OF_FORMAT_NUCOFF,
         OF_FORMAT_VER_COFF0, OF_ENDIAN_LITTLE, OF_MACHINE_KITE},
        {"0x008F little", coff_head(0x008F, 0, false), OF_FORMAT_UNKNOWN, OF_FORMAT_VER_UNKNOWN,
         OF_ENDIAN_UNKNOWN, OF_MACHINE_UNKNOWN},
        {"0x008F big", coff_head(0x008F, 0, true), OF_FORMAT_UNKNOWN, OF_FORMAT_VER_UNKNOWN,
         OF_ENDIAN_UNKNOWN, OF_MACHINE_UNKNOWN},
        {"0x0090 little", coff_head(0x0090, 0, false), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF0,
         OF_ENDIAN_LITTLE, OF_MACHINE_UNKNOWN},
        {"0x0090 big", coff_head(0x0090, 0, true), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF0, OF_ENDIAN_BIG,
         OF_MACHINE_UNKNOWN},
        {"0x00A3 little", coff_head(0x00A3, 0, false), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF0,
         OF_ENDIAN_LITTLE, OF_MACHINE_UNKNOWN},
        {"0x00A3 big", coff_head(0x00A3, 0, true), OF_FORMAT_NUCOFF, OF_FORMAT_VER_COFF0, OF_ENDIAN_BIG,
         OF_MACHINE_UNKNOWN},
        {"0x00A4 little", coff_head(0x00A4, 0, false), OF_FORMAT_UNKNOWN, OF_FORMAT_VER_UNKNOWN,
         OF_ENDIAN_UNKNOWN, OF_MACHINE_UNKNOWN},
        {"0x00A4 big", coff_head(0x00A4, 0, true), OF_FORMAT_UNKNOWN, OF_FORMAT_VER_UNKNOWN,
         OF_ENDIAN_UNKNOWN, OF_MACHINE_UNKNOWN},
        {"empty file", "", OF_FORMAT_UNKNOWN, OF_FORMAT_VER_UNKNOWN, OF_ENDIAN_UNKNOWN,
         OF_MACHINE_UNKNOWN},
        {"text", "hello, world\n", OF_FORMAT_UNKNOWN, OF_FORMAT_VER_UNKNOWN, OF_ENDIAN_UNKNOWN,
         OF_MACHINE_UNKNOWN},
    };
    for (const RECOGNITION_CASE& c : cases) {
        SCOPED_TRACE(c.what);
        OF_FILE_HANDLE handle = sniff(c.bytes);
        EXPECT_EQ(handle.format, c.format);
        EXPECT_EQ(handle.format_version, c.version);
        EXPECT_EQ(handle.endian, c.endian);
        EXPECT_EQ(handle.machine, c.machine);
        EXPECT_EQ(handle.offset, 0u);
        EXPECT_EQ(handle.size, c.bytes.size());
    }
}

// Sniffing a member inside a larger file takes the offset from the stream's
// position, keeps the given size, and leaves the stream where it found it.
TEST_F(ObjectFileTest, SniffingAtMemberPosition) {
    const std::string object = ELF_BUILDER(ELF_BUILDER::BIG).bytes();
    FHM_FILE* file = fhm_open(dir_.write("ar", std::string(100, 'x') + object + "trailer").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    fseek(file->fp(), 100, SEEK_SET);
    OF_FILE_HANDLE handle;
    handle.file = file;
    handle.size = static_cast<uint32_t>(object.size());
    OBJECT_FILE::determine_file_properties(handle);
    EXPECT_EQ(handle.format, OF_FORMAT_ELF);
    EXPECT_EQ(handle.endian, OF_ENDIAN_BIG);
    EXPECT_EQ(handle.offset, 100u);
    EXPECT_EQ(handle.size, object.size());
    EXPECT_EQ(ftell(file->fp()), 100);
    fhm_close(file);
}

TEST_F(ObjectFileTest, MemberOverloadNeedsSizeAwayFromFileHead) {
    const std::string object = ELF_BUILDER().bytes();
    FHM_FILE* file = fhm_open(dir_.write("ar", std::string(8, 'x') + object).c_str(), "rb");
    ASSERT_NE(file, nullptr);

    fseek(file->fp(), 8, SEEK_SET);
    testing::internal::CaptureStderr();
    OBJECT_FILE* refused = OBJECT_FILE::new_OBJECT_FILE(file, 0, "m.o", nullptr);
    const std::string err = one_line(testing::internal::GetCapturedStderr());
    EXPECT_EQ(refused, nullptr);
    EXPECT_NE(err.find("a file size must be specified when reading an archive member; OBJECT_FILE "
                       "not created"), std::string::npos) << err;

    std::unique_ptr<OBJECT_FILE> member(OBJECT_FILE::new_OBJECT_FILE(file, object.size(), "m.o", nullptr));
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(member->handle().offset, 8u);
    EXPECT_EQ(member->handle().size, object.size());
    EXPECT_FALSE(member->handle().owns_file);
    member.reset();
    fhm_close(file);

    testing::internal::CaptureStderr();
    EXPECT_EQ(OBJECT_FILE::new_OBJECT_FILE(static_cast<FHM_FILE*>(nullptr), 0, "m.o", nullptr), nullptr);
    const std::string null_err = one_line(testing::internal::GetCapturedStderr());
    EXPECT_NE(null_err.find("pftell called with a NULL FILE pointer"), std::string::npos) << null_err;
    EXPECT_NE(null_err.find("a file size must be specified"), std::string::npos) << null_err;
}

TEST_F(ObjectFileTest, MemberAtFileHeadTakesSizeFromFileEnd) {
    const std::string object = ELF_BUILDER().bytes();
    FHM_FILE* file = fhm_open(dir_.write("obj", object).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::unique_ptr<OBJECT_FILE> whole(OBJECT_FILE::new_OBJECT_FILE(file, 0, "obj", nullptr));
    ASSERT_NE(whole, nullptr);
    EXPECT_EQ(whole->handle().size, object.size());
    EXPECT_EQ(whole->format(), OF_FORMAT_ELF);
    whole.reset();
    fhm_close(file);
}

TEST_F(ObjectFileTest, PathOverloadOwnsItsFileAndRefusesNonObjects) {
    const std::string path = dir_.write("a.o", ELF_BUILDER().bytes());
    std::unique_ptr<OBJECT_FILE> elf(OBJECT_FILE::new_OBJECT_FILE(path.c_str(), nullptr));
    ASSERT_NE(elf, nullptr);
    EXPECT_TRUE(elf->handle().owns_file);
    EXPECT_EQ(elf->name(), path.c_str());   // the caller's name, not a copy

    EXPECT_EQ(OBJECT_FILE::new_OBJECT_FILE(dir_.write("t.txt", "text").c_str(), nullptr), nullptr);
    EXPECT_EQ(OBJECT_FILE::new_OBJECT_FILE(dir_.path("missing.o").c_str(), nullptr), nullptr);
    // COFF is recognised but has no back end to open it with.
    EXPECT_EQ(OBJECT_FILE::new_OBJECT_FILE(dir_.write("c.o", coff_head(0x00C2, 0x9C, false)).c_str(),
                                           nullptr), nullptr);
    EXPECT_TRUE(ERROR_LOG::calls().empty());
}

TEST_F(ObjectFileTest, SerialNumbersIncrease) {
    const std::string path = dir_.write("a.o", ELF_BUILDER().bytes());
    std::unique_ptr<OBJECT_FILE> first(OBJECT_FILE::new_OBJECT_FILE(path.c_str(), nullptr));
    std::unique_ptr<OBJECT_FILE> second(OBJECT_FILE::new_OBJECT_FILE(path.c_str(), nullptr));
    ASSERT_TRUE(first && second);
    EXPECT_GT(second->serial_number(), first->serial_number());
}

// get_file_data counts from the object's first byte, wherever it lies in its
// file, and never reaches past the object's end.
TEST_F(ObjectFileTest, FileDataIsRelativeToTheObject) {
    FHM_FILE* file = fhm_open(dir_.write("ar", "0123456789ABCDEFGHIJ").c_str(), "rb");
    OF_FILE_HANDLE handle;
    handle.file = file;
    handle.offset = 10;
    handle.size = 6;
    TEST_FILE object(handle);
    DATA_MAP map;
    ASSERT_EQ(object.get_file_data(map, 2, 3), 0);
    char bytes[4] = {};
    map.read(bytes, 3);
    EXPECT_STREQ(bytes, "CDE");
    ASSERT_EQ(object.get_file_data(map, 4, 100), 0);
    EXPECT_EQ(map.size(), 2u);
    ASSERT_EQ(object.get_file_data(map, 0xFFFFFFF0UL, 0x20), 0);
    EXPECT_EQ(map.size(), 0u);
    fhm_close(file);
}

struct STICKINESS_CASE {
    OF_ERROR_CODE first;
    OF_ERROR_CODE second;
    OF_ERROR_CODE pending;
};

TEST_F(ObjectFileTest, FirstSevereErrorSticks) {
    const STICKINESS_CASE cases[] = {
        {OF_ERR_CORRUPT, OF_ERR_FORMAT, OF_ERR_CORRUPT},
        {OF_ERR_INTERNAL, OF_ERR_WARNING, OF_ERR_INTERNAL},
        {OF_ERR_WARNING, OF_ERR_CORRUPT, OF_ERR_CORRUPT},
        {OF_ERR_TRUNCATED, OF_ERR_ILLEGAL_OP, OF_ERR_ILLEGAL_OP},
        {OF_ERR_WARNING, OF_ERR_TRUNCATED, OF_ERR_WARNING},
        {OF_ERR_TRUNCATED, OF_ERR_WARNING, OF_ERR_TRUNCATED},
        {OF_ERR_WARNING, OF_ERR_DEVELOPMENT, OF_ERR_DEVELOPMENT},
        {OF_ERR_DEVELOPMENT, OF_ERR_WARNING, OF_ERR_DEVELOPMENT},
        {OF_ERR_DEVELOPMENT, OF_ERR_DEVELOPMENT, OF_ERR_DEVELOPMENT},
        {OF_ERR_DEVELOPMENT, OF_ERR_ACCESS, OF_ERR_ACCESS},
    };
    for (const STICKINESS_CASE& c : cases) {
        SCOPED_TRACE(std::to_string(c.first) + " then " + std::to_string(c.second));
        TEST_FILE file;
        file.set_error(c.first, "first %d", 1);
        file.set_error(c.second, "second %d", 2);
        EXPECT_EQ(file.error_code(), c.pending);
        EXPECT_STREQ(file.error_message(), c.pending == c.first ? "first 1" : "second 2");
    }
}

TEST_F(ObjectFileTest, PendingErrorIsRepeatedToTheCallback) {
    std::unique_ptr<TEST_FILE> file(TEST_FILE::open(OF_FILE_HANDLE(), ERROR_LOG::callback));
    file->set_error(OF_ERR_WARNING, "w");
    file->set_error(OF_ERR_CORRUPT, "c");
    file->set_error(OF_ERR_FORMAT, "dropped");
    const std::vector<std::pair<int, std::string>> expected = {
        {OF_ERR_WARNING, "w"}, {OF_ERR_WARNING, "w"}, {OF_ERR_CORRUPT, "c"}, {OF_ERR_CORRUPT, "c"}};
    EXPECT_EQ(ERROR_LOG::calls(), expected);
}

TEST_F(ObjectFileTest, ErrorDuringConstructionReachesTheCallbackOnOpening) {
    std::unique_ptr<TEST_FILE> file(TEST_FILE::open(OF_FILE_HANDLE(), ERROR_LOG::callback, OF_ERR_CORRUPT));
    ASSERT_EQ(ERROR_LOG::calls().size(), 1u);
    EXPECT_EQ(ERROR_LOG::calls()[0].first, OF_ERR_CORRUPT);
    EXPECT_EQ(ERROR_LOG::calls()[0].second, "raised while building");
    EXPECT_EQ(file->loads, 0);   // no file to load
}

TEST_F(ObjectFileTest, MessagesShareOneBoundedBuffer) {
    TEST_FILE a;
    TEST_FILE b;
    a.set_error(OF_ERR_CORRUPT, "%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(strlen(a.error_message()), 4095u);
    b.set_error(OF_ERR_CORRUPT, "from b");
    EXPECT_STREQ(a.error_message(), "from b");
}

TEST_F(ObjectFileTest, StateMachineSteps) {
    TEST_FILE file;
    EXPECT_EQ(file.set_state(OF_STATE_FORMATTED), 0);
    EXPECT_EQ(file.progressed, (std::vector<int>{OF_STATE_LOCKED, OF_STATE_FORMATTED}));
    EXPECT_EQ(file.state(), OF_STATE_FORMATTED);
    EXPECT_EQ(file.set_state(OF_STATE_FORMATTED), 0);
    EXPECT_EQ(file.progressed.size(), 2u);
    EXPECT_EQ(file.reset_state(OF_STATE_OPEN), 0);
    EXPECT_EQ(file.reverted, (std::vector<int>{OF_STATE_OPEN}));
    EXPECT_EQ(file.state(), OF_STATE_OPEN);
    EXPECT_EQ(file.error_code(), OF_NO_ERROR);
}

struct STATE_FAILURE_CASE {
    const char* what;
    int (*operation)(TEST_FILE&);
    OF_ERROR_CODE code;
    const char* message;
    OF_STATE state_after;
};

TEST_F(ObjectFileTest, StateMachineFailures) {
    const STATE_FAILURE_CASE cases[] = {
        {"at most", [](TEST_FILE& f) { f.set_state(OF_STATE_LOCKED); return f.max_state(OF_STATE_OPEN); },
         OF_ERR_ILLEGAL_OP,
         "this OBJECT_FILE object is currently in the locked state, and must be in at most the open "
         "state to perform the requested operation ",
         OF_STATE_LOCKED},
        {"at least", [](TEST_FILE& f) { return f.min_state(OF_STATE_SAVED); }, OF_ERR_ILLEGAL_OP,
         "this OBJECT_FILE object is currently in the open state, and must be in at least the saved "
         "state to perform the requested operation ",
         OF_STATE_OPEN},
        {"set below", [](TEST_FILE& f) { f.set_state(OF_STATE_FORMATTED); return f.set_state(OF_STATE_LOCKED); },
         OF_ERR_ILLEGAL_OP,
         "this OBJECT_FILE object is currently in the formatted state, and cannot revert to the locked "
         "state to perform the requested operation ",
         OF_STATE_FORMATTED},
        {"reset above", [](TEST_FILE& f) { return f.reset_state(OF_STATE_SAVED); }, OF_ERR_ILLEGAL_OP,
         "this OBJECT_FILE object is currently in the open state, and must be in at least the saved "
         "state to perform the requested operation ",
         OF_STATE_OPEN},
        {"progress fails", [](TEST_FILE& f) { f.fail_progress_at = OF_STATE_FORMATTED; return f.set_state(OF_STATE_SAVED); },
         OF_ERR_INTERNAL,
         "an error was encountered while progressing an OBJECT_FILE object from the locked to the "
         "formatted state",
         OF_STATE_OPEN},
        {"revert fails", [](TEST_FILE& f) { f.set_state(OF_STATE_SAVED); f.fail_revert = true; return f.reset_state(OF_STATE_LOCKED); },
         OF_ERR_INTERNAL,
         "an error was encountered while reverting an OBJECT_FILE object from the saved to the locked "
         "state",
         OF_STATE_SAVED},
    };
    for (const STATE_FAILURE_CASE& c : cases) {
        SCOPED_TRACE(c.what);
        TEST_FILE file;
        EXPECT_EQ(c.operation(file), -1);
        EXPECT_EQ(file.error_code(), c.code);
        EXPECT_STREQ(file.error_message(), c.message);
        EXPECT_EQ(file.state(), c.state_after);
    }
}

// A table never reports a state below its file's, and reading the file's
// bytes is refused once its contents are frozen.
TEST_F(ObjectFileTest, TablesFollowTheFileState) {
    struct TABLE : OF_STATE_MACHINE {
        explicit TABLE(OBJECT_FILE* file) : OF_STATE_MACHINE(file) {}
        int progress_to_state(OF_STATE) override { return 0; }
        int revert_to_state(OF_STATE) override { return 0; }
    };
    TEST_FILE file;
    TABLE table(&file);
    file.set_state(OF_STATE_FORMATTED);
    EXPECT_EQ(table.state(), OF_STATE_FORMATTED);
    EXPECT_EQ(table.set_state(OF_STATE_SAVED), 0);
    EXPECT_EQ(table.state(), OF_STATE_SAVED);
    DATA_MAP map;
    EXPECT_EQ(file.get_file_data(map, 0, 4), -1);
    EXPECT_EQ(file.error_code(), OF_ERR_ILLEGAL_OP);
}

// The version text is the digit the format itself uses, not our enumeration.
TEST_F(ObjectFileTest, VersionNamesFollowTheFormat) {
    EXPECT_STREQ(OBJECT_FILE::format_version_name(OF_FORMAT_VER_COFF0), "0");
    EXPECT_STREQ(OBJECT_FILE::format_version_name(OF_FORMAT_VER_COFF2), "2");
    EXPECT_STREQ(OBJECT_FILE::format_version_name(OF_FORMAT_VER_ELF1), "1");
    EXPECT_STREQ(OBJECT_FILE::format_version_name(OF_FORMAT_VER_UNKNOWN), "unknown format version");
}

}  // namespace

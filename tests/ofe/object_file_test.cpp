#include "ofe/object_file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <tuple>

#include "common/elf_builder.h"
#include "ofe/test_object_file.h"
#include "support/data_map.h"
#include "support/fhm_file.h"
#include "support/text_capture.h"

using namespace OFE;

namespace {

// A COFF head: the magic (or target ID) at 0 and the target ID at 20.
std::string coff_head(uint16_t first, uint16_t target, bool big) {
    auto half = [big](uint16_t v) { return std::string{char(big ? v >> 8 : v), char(big ? v : v >> 8)}; };
    return half(first) + std::string(18, '\0') + half(target) + std::string(10, '\0');
}

class ObjectFileTest : public testing::Test {
protected:
    void SetUp() override {
        USER_MSG::get_umsg_obj()->set_max_errors(INT_MAX);
        ERROR_LOG::calls().clear();
    }

    SCRATCH_DIR dir_;
};

TEST_F(ObjectFileTest, RecognitionMatrix) {
    typedef std::tuple<OF_FORMAT, OF_FORMAT_VER, OF_ENDIAN, OF_MACHINE> RESULT;
    const RESULT none{OF_FORMAT_UNKNOWN, OF_FORMAT_VER_UNKNOWN, OF_ENDIAN_UNKNOWN, OF_MACHINE_UNKNOWN};
    auto check = [this](const std::string& what, const std::string& bytes, const RESULT& want) {
        OF_FILE_HANDLE h;
        h.file = fhm_open(dir_.write("obj", bytes).c_str(), "rb");
        OBJECT_FILE::determine_file_properties(h);
        fhm_close(h.file);
        EXPECT_EQ(std::make_tuple(h.format, h.format_version, h.endian, h.machine), want) << what;
        EXPECT_EQ(h.size, bytes.size()) << what;
    };
    // Every EI_DATA value but 1 reads big-endian.
    const RESULT elf_be{OF_FORMAT_ELF, OF_FORMAT_VER_ELF1, OF_ENDIAN_BIG, OF_MACHINE_ARM};
    check("ELF little", ELF_BUILDER().bytes(), {OF_FORMAT_ELF, OF_FORMAT_VER_ELF1, OF_ENDIAN_LITTLE, OF_MACHINE_ARM});
    check("EI_DATA 3", ELF_BUILDER(ELF_BUILDER::BIG).ident(5, 3).bytes(), elf_be);
    check("ELF version 2", std::string("\x7f" "ELF\x01\x01", 6) + std::string(12, '\0') + "\x28\0\x02\0\0\0",
          {OF_FORMAT_ELF, OF_FORMAT_VER_UNKNOWN, OF_ENDIAN_LITTLE, OF_MACHINE_ARM});
    check("7F E L G falls through to COFF", std::string("\x7f" "ELG", 4) + std::string(20, '\0'), none);
    check("text", "hello, world\n", none);

    // COFF in both byte orders, little-endian first as the recogniser tries
    // them; version 0 has the target ID in place of a magic number, and the
    // IDs 0x0090 to 0x00A3 are the only ones taken for it. OWL shares KITE's ID.
    const struct { uint16_t first, target; OF_FORMAT_VER version; OF_MACHINE machine; } coff_cases[] = {
        {0x00C2, 0x9C, OF_FORMAT_VER_COFF2, OF_MACHINE_WREN}, {0x00C1, 0x9C, OF_FORMAT_VER_COFF1, OF_MACHINE_WREN},
        {0x009C, 0, OF_FORMAT_VER_COFF0, OF_MACHINE_WREN},    {0x009E, 0, OF_FORMAT_VER_COFF0, OF_MACHINE_KITE},
        {0x008F, 0, OF_FORMAT_VER_UNKNOWN, OF_MACHINE_UNKNOWN}, {0x0090, 0, OF_FORMAT_VER_COFF0, OF_MACHINE_UNKNOWN},
        {0x00A3, 0, OF_FORMAT_VER_COFF0, OF_MACHINE_UNKNOWN}, {0x00A4, 0, OF_FORMAT_VER_UNKNOWN, OF_MACHINE_UNKNOWN},
    };
    for (bool big : {false, true})
        for (const auto& c : coff_cases)
            check(std::to_string(c.first) + (big ? " big" : " little"), coff_head(c.first, c.target, big),
                  c.version == OF_FORMAT_VER_UNKNOWN ? none : RESULT{OF_FORMAT_NUCOFF, c.version,
                                                                    big ? OF_ENDIAN_BIG : OF_ENDIAN_LITTLE, c.machine});
}

// An object inside a larger file takes its offset from the stream's position
// and needs its size given; at the head of its file the size may come from
// the file's end.
TEST_F(ObjectFileTest, MemberObjectsNeedASizeAwayFromTheFileHead) {
    const std::string object = ELF_BUILDER(ELF_BUILDER::BIG).bytes();
    FHM_FILE* file = fhm_open(dir_.write("ar", std::string(8, 'x') + object + "trailer").c_str(), "rb");
    fseek(file->fp(), 8, SEEK_SET);
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(OBJECT_FILE::new_OBJECT_FILE(file, 0, "m.o", nullptr), nullptr); }),
              ">>   error: a file size must be specified when reading an archive member; OBJECT_FILE not created\n");

    std::unique_ptr<OBJECT_FILE> member(OBJECT_FILE::new_OBJECT_FILE(file, object.size(), "m.o", nullptr));
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(member->handle().offset, 8u);
    EXPECT_FALSE(member->handle().owns_file);
    EXPECT_EQ(ftell(file->fp()), 8);   // the shared stream is left where it was
    member.reset();
    fhm_close(file);

    // A member shorter than the head read for recognition ends where it
    // ends: what follows it in the archive is no target ID.
    file = fhm_open(dir_.write("short", "xx" + coff_head(0x00C2, 0x9C, false)).c_str(), "rb");
    member.reset(OBJECT_FILE::new_OBJECT_FILE(file, 2, 20, "short.o", nullptr));
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(member->handle().machine, OF_MACHINE_UNKNOWN);
    member.reset();
    fhm_close(file);
    // Opened by path, only object files are taken.
    EXPECT_EQ(OBJECT_FILE::new_OBJECT_FILE(dir_.write("t.txt", "text").c_str(), nullptr), nullptr);
    EXPECT_EQ(OBJECT_FILE::new_OBJECT_FILE(dir_.path("missing.o").c_str(), nullptr), nullptr);
}

// get_file_data counts from the object's first byte, wherever it lies in its
// file, and never reaches past the object's end, even when offsets wrap.
TEST_F(ObjectFileTest, FileDataStaysInsideTheObject) {
    OF_FILE_HANDLE handle;
    handle.file = fhm_open(dir_.write("ar", "0123456789ABCDEFGHIJ").c_str(), "rb");
    handle.offset = 10;
    handle.size = 6;
    TEST_FILE object(handle);
    DATA_MAP map;
    ASSERT_EQ(object.get_file_data(map, 2, 3), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(map.data()), map.size()), "CDE");
    ASSERT_EQ(object.get_file_data(map, 4, 100), 0);
    EXPECT_EQ(map.size(), 2u);
    ASSERT_EQ(object.get_file_data(map, 0xFFFFFFF0UL, 0x20), 0);
    EXPECT_EQ(map.size(), 0u);
    fhm_close(handle.file);
}

// A severe error sticks; a warning or truncation gives way to anything but
// another of its kind; a development error to all but those and itself.
TEST_F(ObjectFileTest, FirstSevereErrorSticks) {
    const OF_ERROR_CODE WARN = OF_ERR_WARNING, TRUNC = OF_ERR_TRUNCATED, DEV = OF_ERR_DEVELOPMENT;
    const struct { OF_ERROR_CODE first, second, pending; } cases[] = {
        {OF_ERR_CORRUPT, OF_ERR_FORMAT, OF_ERR_CORRUPT}, {OF_ERR_INTERNAL, WARN, OF_ERR_INTERNAL},
        {WARN, OF_ERR_CORRUPT, OF_ERR_CORRUPT}, {TRUNC, OF_ERR_ILLEGAL_OP, OF_ERR_ILLEGAL_OP}, {WARN, TRUNC, WARN},
        {TRUNC, WARN, TRUNC}, {WARN, DEV, DEV}, {DEV, WARN, DEV}, {DEV, DEV, DEV}, {DEV, OF_ERR_ACCESS, OF_ERR_ACCESS}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.first) + " then " + std::to_string(c.second));
        TEST_FILE file;
        file.set_error(c.first, "first %d", 1);
        file.set_error(c.second, "second %d", 2);
        EXPECT_EQ(file.error_code(), c.pending);
        EXPECT_STREQ(file.error_message(), c.pending == c.first ? "first 1" : "second 2");
    }
}

// The callback hears of an error raised while the file was built once it is
// installed, and of the pending error again each time another is raised.
TEST_F(ObjectFileTest, CallbackHearsEveryErrorAndRepeatsThePendingOne) {
    std::unique_ptr<TEST_FILE> file(TEST_FILE::open(ERROR_LOG::callback, OF_ERR_WARNING));
    file->set_error(OF_ERR_CORRUPT, "c");
    file->set_error(OF_ERR_FORMAT, "dropped");
    const std::pair<int, std::string> building(OF_ERR_WARNING, "raised while building"), corrupt(OF_ERR_CORRUPT, "c");
    EXPECT_EQ(ERROR_LOG::calls(), (std::vector<std::pair<int, std::string>>{building, building, corrupt, corrupt}));

    TEST_FILE other;   // messages are bounded
    other.set_error(OF_ERR_CORRUPT, "%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(strlen(other.error_message()), 4095u);
}

TEST_F(ObjectFileTest, StateMachine) {
    TEST_FILE file;
    EXPECT_EQ(file.set_state(OF_STATE_FORMATTED), 0);
    EXPECT_EQ(file.set_state(OF_STATE_FORMATTED), 0);
    EXPECT_EQ(file.progressed, (std::vector<int>{OF_STATE_LOCKED, OF_STATE_FORMATTED}));
    EXPECT_EQ(file.reset_state(OF_STATE_OPEN), 0);
    EXPECT_EQ(file.reverted, (std::vector<int>{OF_STATE_OPEN}));
    EXPECT_EQ(file.state(), OF_STATE_OPEN);

    // Each case ends with an operation that fails, raising the code and the message given.
    const struct { const char* what; int (*operation)(TEST_FILE&); OF_ERROR_CODE code; const char* message;
        OF_STATE state_after; } cases[] = {
        {"at most", [](TEST_FILE& f) { f.set_state(OF_STATE_LOCKED); return f.max_state(OF_STATE_OPEN); },
         OF_ERR_ILLEGAL_OP, "currently in the locked state, and must be in at most the open state", OF_STATE_LOCKED},
        {"at least", [](TEST_FILE& f) { return f.min_state(OF_STATE_SAVED); }, OF_ERR_ILLEGAL_OP,
         "currently in the open state, and must be in at least the saved state", OF_STATE_OPEN},
        {"set below", [](TEST_FILE& f) { f.set_state(OF_STATE_FORMATTED); return f.set_state(OF_STATE_LOCKED); },
         OF_ERR_ILLEGAL_OP, "currently in the formatted state, and cannot revert to the locked", OF_STATE_FORMATTED},
        {"progress fails",
         [](TEST_FILE& f) { f.fail_progress_at = OF_STATE_FORMATTED; return f.set_state(OF_STATE_SAVED); },
         OF_ERR_INTERNAL, "while progressing an OBJECT_FILE object from the locked to the formatted", OF_STATE_OPEN},
        {"revert fails",
         [](TEST_FILE& f) { f.set_state(OF_STATE_SAVED); f.fail_revert = true; return f.reset_state(OF_STATE_LOCKED); },
         OF_ERR_INTERNAL, "while reverting an OBJECT_FILE object from the saved to the locked", OF_STATE_SAVED},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TEST_FILE failing;
        EXPECT_EQ(c.operation(failing), -1);
        EXPECT_EQ(failing.error_code(), c.code);
        EXPECT_NE(std::string(failing.error_message()).find(c.message), std::string::npos) << failing.error_message();
        EXPECT_EQ(failing.state(), c.state_after);
    }
}

}  // namespace

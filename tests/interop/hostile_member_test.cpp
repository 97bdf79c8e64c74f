// Members built to exhaust memory or time: the symbol index stops at its
// size limit as soon as it passes it, names are copied only for symbols that
// the index takes, what the object-file library reads for the index is
// dropped as soon as the index has looked at it, and finding the symbol
// table loads no section it passes over.
#include <gtest/gtest.h>

#include <sstream>

#include "common/archive_builder.h"
#include "common/elf_builder.h"
#include "host_tools.h"

namespace {

#if defined(__SANITIZE_ADDRESS__)
const bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
const bool kSanitized = true;
#else
const bool kSanitized = false;
#endif
#else
const bool kSanitized = false;
#endif

const long kIndexLimitKib = 99999999 / 1024;
const long kMaxCpuMs = 1000;

struct MEASURED_RUN {
    RUN_RESULT result;
    long peak_kib = 0;
    long cpu_ms = 0;
};

// Runs arwren in the scratch directory with its peak memory and processor
// time measured by /usr/bin/time, which counts the run alone: a child forked
// from this process would count this process's memory as its own. A
// regression must fail the run, not exhaust the machine; the sanitizer's
// shadow memory needs the address space, so it gets a limit of its own.
MEASURED_RUN measured_run(const SCRATCH_DIR& scratch, const std::vector<std::string>& args) {
    RUN_OPTIONS options;
    options.cwd = scratch.dir();
    options.timeout_ms = 60000;
    if (kSanitized)
        setenv("ASAN_OPTIONS", "detect_leaks=1:hard_rss_limit_mb=2048", 1);
    else
        options.address_space_limit = 2048LL << 20;
    std::vector<std::string> argv = {"/usr/bin/time", "-f", "%M %U %S", "-o", "usage"};
    for (const std::string& a : arwren_argv(args))
        argv.push_back(a);
    MEASURED_RUN r;
    r.result = run_process(argv, options);
    double user_s = 0, system_s = 0;
    // The figures are the last line, after any note of a failed status.
    std::istringstream(lines_of(scratch.read("usage")).back()) >> r.peak_kib >> user_s >> system_s;
    std::filesystem::remove(scratch.path("usage"));
    r.cpu_ms = long((user_s + system_s) * 1000);
    return r;
}

enum SHARER { GLOBAL_SYMBOLS, LOCAL_SYMBOLS, SECTIONS };

// copies symbols of one binding, or copies sections before the symbol
// table, every one named by the same string of name_length characters.
std::string shared_name_object(SHARER sharer, size_t name_length, unsigned copies) {
    ELF_BUILDER elf;
    const std::string name(name_length, 'n');
    if (sharer == SECTIONS) {
        elf.section(name, 1, "");
        elf.repeated_section(copies);
    }
    const unsigned text = elf.section(".text", 1, std::string(4, '\0'));
    if (sharer == SECTIONS)
        elf.symbol("defined", 1, 2, uint16_t(text));
    else
        elf.symbol(name, sharer == GLOBAL_SYMBOLS ? 1 : 0, 2, uint16_t(text)).repeated(copies);
    return elf.bytes();
}

TEST(HostileMember, ManySymbolsSharingOneLongNameCostLittleMemoryAndTime) {
    const struct {
        const char* what;
        SHARER sharer;
        size_t name_length;
        unsigned copies;
        int status;
        const char* err;
    } cases[] = {
        // About 1 MB; indexing every symbol would take 2.4 GB.
        {"global", GLOBAL_SYMBOLS, 40000, 60000, 1, "  -->  error: Member file too large: '/'\n"},
        // About 2 MB; copying every name would take 62 GB.
        {"local", LOCAL_SYMBOLS, 1000000, 62000, 0, ""},
        // About 1.3 MB; naming every section would take 10 GB.
        {"sections", SECTIONS, 500000, 20000, 0, ""},
    };
    ASSERT_TRUE(have_file("/usr/bin/time", "time"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SCRATCH_DIR scratch;
        const std::string object = shared_name_object(c.sharer, c.name_length, c.copies);
        scratch.write("big.o", object);
        scratch.write("small.txt", "kept\n");
        ASSERT_EQ(run_arwren({"rq", "lib.a", "small.txt"}, scratch.dir()).status, 0);
        const std::string old = scratch.read("lib.a");

        MEASURED_RUN r = measured_run(scratch, {"rq", "lib.a", "big.o"});
        EXPECT_FALSE(r.result.timed_out);
        EXPECT_EQ(r.result.status, c.status);
        EXPECT_EQ(r.result.err, c.err);
        if (c.status != 0) {
            EXPECT_EQ(scratch.read("lib.a"), old);
        }
        EXPECT_EQ(scratch.names(), (std::vector<std::string>{"big.o", "lib.a", "small.txt"}));
        // The index at its limit and a few times the member, well under
        // 256 MiB. Instrumented code is slower and its memory its own.
        const long member_kib = long(object.size() / 1024);
        if (!kSanitized) {
            EXPECT_LT(r.peak_kib, kIndexLimitKib + 16 * member_kib + 8192);
            EXPECT_LT(r.peak_kib, 256 * 1024);
            EXPECT_LT(r.cpu_ms, kMaxCpuMs);
        }
        RecordProperty(std::string(c.what) + "_peak_kib", std::to_string(r.peak_kib));
        RecordProperty(std::string(c.what) + "_cpu_ms", std::to_string(r.cpu_ms));
    }
}

// A member whose header claims 99999998 bytes in an archive of a few
// hundred, its tables claiming 90 MB each: the index reads only the bytes
// that exist, and the copy then finds the member short.
TEST(HostileMember, SizeClaimedPastTheEndOfTheFileCostsNoMemory) {
    ASSERT_TRUE(have_file("/usr/bin/time", "time"));
    ELF_BUILDER elf;
    elf.symbol("claims", 1, 2, 0xfff1);
    std::string object = elf.bytes();
    const uint32_t shoff = uint32_t(uint8_t(object[32])) | uint32_t(uint8_t(object[33])) << 8;
    for (size_t header = shoff; header + 40 <= object.size(); header += 40) {
        if (object[header + 4] == 2 || object[header + 4] == 3)   // the symbol and string tables
            object.replace(header + 20, 4, std::string("\x80\xf0\x5d\x05", 4));   // 90000000
    }
    SCRATCH_DIR scratch;
    const std::string archive =
        ARCHIVE_BUILDER().member("lying.o", object).field(ARCHIVE_BUILDER::SIZE, "99999998").bytes();
    scratch.write("lib.a", archive);
    scratch.write("small.txt", "x");
    MEASURED_RUN r = measured_run(scratch, {"rq", "lib.a", "small.txt"});
    EXPECT_EQ(r.result.status, 1);
    EXPECT_EQ(r.result.err, "  -->  error: Error writing archive\n");
    EXPECT_EQ(scratch.read("lib.a"), archive);
    if (!kSanitized) {
        EXPECT_LT(r.peak_kib, 32 * 1024);
    }
    RecordProperty("peak_kib", std::to_string(r.peak_kib));
}

}  // namespace

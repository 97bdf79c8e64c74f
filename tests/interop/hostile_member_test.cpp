// Members built to exhaust memory: the symbol index stops at its size limit
// as soon as it passes it, what the object-file library reads for the index
// is dropped as soon as the index has looked at it, and a member's claimed
// size is read only as far as the archive goes.
#include "common/archive_builder.h"
#include "common/elf_builder.h"
#include "host_tools.h"

namespace {

#ifndef __has_feature
#define __has_feature(feature) 0   // GCC before 14 has none; it says __SANITIZE_ADDRESS__
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
const bool kSanitized = true;
#else
const bool kSanitized = false;
#endif

// Runs arwren on run/lib.a and run/m.o and returns its peak memory in KiB,
// measured by /usr/bin/time, which counts the run alone (a child forked from
// this process would count this process's memory as its own). A regression
// must fail the run, not exhaust the machine; the sanitizer's shadow memory
// needs the address space, so it gets a limit of its own.
long peak_kib(const SCRATCH_DIR& scratch, RUN_RESULT* result) {
    if (kSanitized)
        setenv("ASAN_OPTIONS", "detect_leaks=1:hard_rss_limit_mb=2048", 1);
    *result = run_process({"/usr/bin/time", "-f", "%M", "-o", "../usage", "prlimit",
                           kSanitized ? "--as=unlimited" : "--as=2147483648", ARWREN_BIN, "rq", "lib.a", "m.o"},
                          RUN_OPTIONS{scratch.path("run"), 60000});
    EXPECT_FALSE(result->timed_out);
    // The figure is the last line, after any note of a failed status.
    return kSanitized ? 0 : std::stol("0" + lines_of(scratch.read("usage")).back());
}

// An object of copies symbols of one binding, all named by the same string.
std::string shared_name_object(unsigned binding, size_t name_length, unsigned copies) {
    ELF_BUILDER elf;
    elf.symbol(std::string(name_length, 'n'), binding, 2, uint16_t(elf.section(".text", 1, "code"))).repeated(copies);
    return elf.bytes();
}

// An object whose symbol and string tables claim 90 MB each.
std::string object_claiming_90_mb() {
    ELF_BUILDER elf;
    elf.symbol("claims", 1, 2, 0xfff1);
    std::string object = elf.bytes();
    const uint32_t shoff = uint32_t(uint8_t(object[32])) | uint32_t(uint8_t(object[33])) << 8;
    for (size_t header = shoff; header + 40 <= object.size(); header += 40)
        if (object[header + 4] == 2 || object[header + 4] == 3)   // the symbol and string tables
            object.replace(header + 20, 4, std::string("\x80\xf0\x5d\x05", 4));   // 90000000
    return object;
}

TEST(HostileMember, CostsLittleMemory) {
    ASSERT_TRUE(have_tools({{"time", "time"}}));
    const std::string small = ARCHIVE_BUILDER().member("small.txt", "kept\n").bytes();
    const std::string lying =
        ARCHIVE_BUILDER().member("lying.o", object_claiming_90_mb()).field(ARCHIVE_BUILDER::SIZE, "99999998").bytes();
    const struct { const char* what; std::string archive, member; long peak_kib; int status; const char* err; } cases[] = {
        // About 1 MB; indexing every symbol would take 2.4 GB. The index
        // stops at its limit, with a few times the member beside it.
        {"global", small, shared_name_object(1, 40000, 60000), 99999999 / 1024 + 16 * 2048 + 8192, 1,
         "  -->  error: Member file too large: '/'\n"},
        // About 2 MB; keeping every name read would take 62 GB.
        {"local", small, shared_name_object(0, 1000000, 62000), 99999999 / 1024 + 16 * 2048 + 8192, 0, ""},
        // A member claiming 99999998 bytes in an archive of a few hundred:
        // the index reads only the bytes that exist, and the copy then finds
        // the member short.
        {"claimed size", lying, "x", 32 * 1024, 1, "  -->  error: Error writing archive\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SCRATCH_DIR scratch;
        scratch.write("run/lib.a", c.archive);
        scratch.write("run/m.o", c.member);
        RUN_RESULT r;
        EXPECT_LT(peak_kib(scratch, &r), c.peak_kib);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.err, c.err);
        EXPECT_TRUE(c.status == 0 || scratch.read("run/lib.a") == c.archive);
        EXPECT_EQ(scratch.names("run"), (std::vector<std::string>{"lib.a", "m.o"}));
    }
}

}  // namespace

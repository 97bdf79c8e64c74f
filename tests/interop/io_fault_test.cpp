// A failing disk, tried from outside: strace makes one I/O system call of a
// run fail (the n-th call of one kind, for every n that the run makes once
// it has opened the archive). Whatever fails, a, r and d either stop with an
// error and leave the archive byte for byte as it was, or succeed and leave
// exactly the archive that a run without faults writes; x succeeds only
// when every file it wrote is whole, and leaves no file that is not. No
// other file is left beside the archive unless a warning names it.
#include <gtest/gtest.h>

#include <deque>
#include <memory>

#include "common/archive_builder.h"
#include "common/elf_builder.h"
#include "host_tools.h"

namespace {

// The faults each call is given: EIO once; for writes also ENOSPC once (a
// full disk); for unlink also EIO from then on ("+"), since a name that
// cannot be removed is tried again.
const std::vector<std::pair<std::string, std::vector<std::string>>> kFaults = {
    {"openat", {"EIO"}}, {"read", {"EIO"}},  {"pread64", {"EIO"}}, {"write", {"EIO", "ENOSPC"}},
    {"pwrite64", {"EIO", "ENOSPC"}}, {"close", {"EIO"}}, {"lseek", {"EIO"}}, {"rename", {"EIO"}},
    {"unlink", {"EIO", "EIO+"}}, {"newfstatat", {"EIO"}}, {"fstat", {"EIO"}}, {"ftruncate", {"EIO"}}};
const size_t kParallel = 4;
const char kArchive[] = "../arc/lib.a";
const std::string kLeftBehind = "  -->  warning: temporary file left behind: '../arc/";

std::string object(const std::string& symbol, size_t data_size, unsigned seed) {
    ELF_BUILDER elf;
    elf.symbol(symbol, 1, 1, uint16_t(elf.section(".data", 1, pattern_bytes(data_size, seed))));
    return elf.bytes();
}

// arc/lib.a holds m1.o and m2.o (the latter larger than the block the
// archive is read in); src/ holds a newer m1.o and a new m3.o; x extracts
// into out/.
const std::string kOldM1 = object("one", 301, 1), kM2 = object("two", 600000, 2);

struct COMMAND { std::vector<std::string> args; const char* cwd; };

// One run of a command under strace, in a directory of its own.
struct RUN {
    SCRATCH_DIR dir;
    std::unique_ptr<CHILD_PROCESS> child;
    RUN_RESULT result;

    RUN(const std::string& archive, const COMMAND& c, const std::vector<std::string>& strace) {
        dir.write("arc/lib.a", archive);
        dir.write("src/m1.o", object("uno", 503, 3), 1600000000);
        dir.write("src/m2.o", kM2, 1400000000);
        dir.write("src/m3.o", object("three", 40, 4), 1600000000);
        dir.subdir("out");
        std::vector<std::string> argv{"strace", "-qq"};
        argv.insert(argv.end(), strace.begin(), strace.end());
        for (const std::string& a : arwren_argv(c.args))
            argv.push_back(a);
        child = std::make_unique<CHILD_PROCESS>(argv, RUN_OPTIONS{dir.path(c.cwd)});
    }
    RUN_RESULT& finish() { return result = child->finish(); }
};

// Which calls of the system call (numbered from the start of the run) the
// trace shows once the archive has been opened.
std::vector<int> calls_after_open(const std::vector<std::string>& trace, const std::string& syscall) {
    std::vector<int> calls;
    bool opened = false;
    int n = 0;
    for (const std::string& line : trace) {
        opened = opened || line.rfind(std::string("openat(AT_FDCWD, \"") + kArchive + "\"", 0) == 0;
        const bool call = line.rfind(syscall + "(", 0) == 0;
        n += call;
        if (call && opened)
            calls.push_back(n);
    }
    return calls;
}

void check(const RUN& run, const COMMAND& c, const std::string& fault, const std::string& old,
           const std::string& rewritten) {
    const RUN_RESULT& r = run.result;
    SCOPED_TRACE(c.args[0] + ": " + fault + "\nstatus " + std::to_string(r.status) + ", stderr: " + r.err);
    ASSERT_TRUE(r.status == 0 || (r.status == 1 && !r.err.empty()));
    const bool extracts = c.args[0] == "x";
    EXPECT_TRUE(run.dir.read("arc/lib.a") == (extracts || r.status == 1 ? old : rewritten))
        << (r.status == 1 ? "the old archive is gone" : "not the archive a run without faults writes");
    // Beside the archive lie only files that a warning names, and a warning
    // names only files that lie there.
    std::vector<std::string> left, named;
    for (const std::string& name : run.dir.names("arc"))
        if (name != "lib.a")
            left.push_back(kLeftBehind + name + "'");
    for (const std::string& line : lines_of(r.err))
        if (line.compare(0, kLeftBehind.size(), kLeftBehind) == 0)
            named.push_back(line);
    std::sort(named.begin(), named.end());
    EXPECT_EQ(named, left);
    const std::vector<std::string> out = run.dir.names("out");
    if (extracts && r.status == 0) {
        EXPECT_EQ(out, (std::vector<std::string>{"m1.o", "m2.o"}));
    }
    for (const std::string& name : out)
        EXPECT_TRUE(run.dir.read("out/" + name) == (name == "m1.o" ? kOldM1 : kM2)) << name << " is not whole";
}

class IO_FAULTS : public ::testing::Test {
protected:
    void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
        // The sanitizer's runtime probes memory with writes to a pipe of its
        // own, dozens per run, which would be failed in turn too, and its
        // leak checker cannot work under a tracer.
        GTEST_SKIP() << "run in the build without sanitizers";
#endif
        ASSERT_TRUE(have_tools({{"strace", "strace"}}));
        SCRATCH_DIR base;
        base.write("m1.o", kOldM1, 1400000000);
        base.write("m2.o", kM2, 1400000000);
        ASSERT_EQ(run_arwren({"rq", "lib.a", "m1.o", "m2.o"}, base.dir()).status, 0);
        archive_ = base.read("lib.a");
    }

    std::string archive_;
};

TEST_F(IO_FAULTS, EveryFailedCallKeepsTheOldArchiveOrWritesTheNewOne) {
    const COMMAND commands[] = {{{"rq", kArchive, "m1.o", "m3.o"}, "src"}, {{"aq", kArchive, "m3.o"}, "src"},
                                {{"dq", kArchive, "m1.o"}, "src"}, {{"x", kArchive}, "out"}};
    std::string traced = "trace=";
    for (const auto& f : kFaults)
        traced += f.first + ",";
    for (const COMMAND& c : commands) {
        SCOPED_TRACE(c.args[0]);
        // A run without faults: the calls to fail, and the archive to expect.
        RUN clean(archive_, c, {"-o", "trace", "-e", traced});
        ASSERT_EQ(clean.finish().status, 0) << clean.result.err;
        EXPECT_EQ(clean.result.out + clean.result.err, "");
        const std::string rewritten = clean.dir.read("arc/lib.a");
        ASSERT_EQ(rewritten == archive_, c.args[0] == "x");
        const std::vector<std::string> trace = lines_of(clean.dir.read(std::string(c.cwd) + "/trace"));
        std::vector<std::string> injections;
        for (const auto& [syscall, faults] : kFaults)
            for (const std::string& fault : faults)
                for (int n : calls_after_open(trace, syscall)) {
                    const bool every = fault.back() == '+';
                    injections.push_back("inject=" + syscall + ":error=" + fault.substr(0, fault.size() - every) +
                                         ":when=" + std::to_string(n) + (every ? "+" : ""));
                }
        EXPECT_GT(injections.size(), 10u);
        for (size_t first = 0; first < injections.size(); first += kParallel) {
            std::deque<RUN> runs;
            for (size_t i = first; i < std::min(injections.size(), first + kParallel); ++i)
                runs.emplace_back(archive_, c, std::vector<std::string>{"-o", "/dev/null", "-e", traced, "-e", injections[i]});
            for (size_t i = 0; i < runs.size(); ++i) {
                runs[i].finish();
                check(runs[i], c, injections[first + i], archive_, rewritten);
            }
        }
    }
}

// The worst case: the first write of the new archive fails, and then so does
// the rename that puts the old one back. The old archive is not lost: it
// stays under the temporary name, and the warning gives that name.
TEST_F(IO_FAULTS, OldArchiveThatCannotBePutBackIsNamed) {
    RUN run(archive_, {{"dq", kArchive, "m1.o"}, "src"},
            {"-o", "/dev/null", "-e", "trace=write,rename", "-e", "inject=write:error=EIO:when=1", "-e",
             "inject=rename:error=EIO:when=2"});
    EXPECT_EQ(run.finish().status, 1);
    const std::vector<std::string> left = run.dir.names("arc");
    ASSERT_EQ(left.size(), 1u) << run.result.err;
    EXPECT_EQ(run.result.err, "  -->  error: Error writing archive\n" + kLeftBehind + left[0] + "'\n");
    EXPECT_TRUE(run.dir.read("arc/" + left[0]) == archive_);
}

// A long-name table larger than a block of the reader is read in two; when
// the second read fails, the table is refused, not listed half read.
TEST_F(IO_FAULTS, FailedSecondReadOfTheNameTableIsReported) {
    const std::string table = std::string(600000, 'n') + "/\n", traced = "trace=openat,pread64";
    const std::string archive = "!<arch>\n" + ARCHIVE_BUILDER::header("//", "0", "0", table.size()) + table +
                                ARCHIVE_BUILDER::header("/0", "0", "0", 1) + "x\n";
    RUN clean(archive, {{"t", kArchive}, "src"}, {"-o", "trace", "-e", traced});
    ASSERT_EQ(clean.finish().status, 0);
    const std::vector<int> reads = calls_after_open(lines_of(clean.dir.read("src/trace")), "pread64");
    RUN run(archive, {{"t", kArchive}, "src"},
            {"-o", "/dev/null", "-e", traced, "-e", "inject=pread64:error=EIO:when=" + std::to_string(reads.at(1))});
    EXPECT_EQ(run.finish().err, "  -->  error: Cannot read name table: '../arc/lib.a'\n");
    EXPECT_EQ(run.result.status, 1);
}

}  // namespace

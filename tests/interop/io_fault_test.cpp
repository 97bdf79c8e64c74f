// A failing disk, tried from outside: strace makes one I/O system call of a
// run fail (the n-th call of one kind, for every n that the run makes once
// it has opened the archive). Whatever fails, a, r and d either stop with an
// error and leave the archive byte for byte as it was, or succeed and leave
// exactly the archive that a run without faults writes; x succeeds only
// when every file it wrote is whole, and leaves no file that is not. No
// other file is left beside the archive unless a warning names it.
#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <memory>

#include "common/elf_builder.h"
#include "host_tools.h"

namespace {

const std::vector<std::string> kSyscalls = {"openat", "read",  "pread64",    "write",
                                            "pwrite64", "close", "lseek",     "rename",
                                            "unlink", "newfstatat", "fstat", "ftruncate"};
const size_t kParallel = 4;
const char kArchive[] = "../arc/lib.a";
const char kLeftBehind[] = "  -->  warning: temporary file left behind: '";

std::string object(const std::string& symbol, size_t data_size, unsigned seed) {
    ELF_BUILDER elf;
    const unsigned data = elf.section(".data", 1, pattern_bytes(data_size, seed));
    elf.symbol(symbol, 1, 1, uint16_t(data));
    return elf.bytes();
}

// The files of one run: arc/lib.a holds m1.o and m2.o (the latter larger
// than the block the archive is read in); src/ holds a newer m1.o and a new
// m3.o; x extracts into out/.
struct FILES {
    std::string old_m1 = object("one", 301, 1), m2 = object("two", 600000, 2);
    std::string m1 = object("uno", 503, 3), m3 = object("three", 40, 4);
    std::string archive;

    void lay_out(const SCRATCH_DIR& dir) const {
        dir.write("arc/lib.a", archive);
        dir.write("src/m1.o", m1, 1600000000);
        dir.write("src/m2.o", m2, 1400000000);
        dir.write("src/m3.o", m3, 1600000000);
        dir.subdir("out");
    }
};

struct COMMAND {
    const char* name;
    std::vector<std::string> args;
    const char* cwd;
};

std::vector<std::string> traced(const std::vector<std::string>& strace_args, const COMMAND& c) {
    std::vector<std::string> argv{"strace", "-qq"};
    argv.insert(argv.end(), strace_args.begin(), strace_args.end());
    std::vector<std::string> run = arwren_argv(c.args);
    argv.insert(argv.end(), run.begin(), run.end());
    return argv;
}

// How many calls of the system call the trace shows before and after the
// archive is first opened.
std::pair<int, int> count_calls(const std::vector<std::string>& trace, const std::string& syscall) {
    int before = 0, after = 0;
    bool opened = false;
    for (const std::string& line : trace) {
        opened = opened || (line.find("openat(") != std::string::npos &&
                            line.find(std::string("\"") + kArchive + "\"") != std::string::npos);
        size_t at = line.find(syscall + "(");
        if (at != std::string::npos && (at == 0 || line[at - 1] == ' '))
            ++(opened ? after : before);
    }
    return {before, after};
}

// The faults each call is given: EIO once; for writes also ENOSPC once (a
// full disk); for unlink also EIO from then on, since a name that cannot be
// removed is tried again.
struct FAULT {
    std::string error, then;   // then: "+" for every later call as well
};

std::vector<FAULT> faults_for(const std::string& syscall) {
    std::vector<FAULT> faults{{"EIO", ""}};
    if (syscall.find("write") != std::string::npos)
        faults.push_back({"ENOSPC", ""});
    if (syscall == "unlink")
        faults.push_back({"EIO", "+"});
    return faults;
}

struct INJECTION {
    INJECTION(const std::string& s, const FAULT& f, int call) : syscall(s), fault(f), n(call) {}
    std::string syscall;
    FAULT fault;
    int n;
    std::unique_ptr<SCRATCH_DIR> dir = std::make_unique<SCRATCH_DIR>();
    std::unique_ptr<CHILD_PROCESS> child;
    RUN_RESULT result;
};

// Beside the archive lie only files that a warning names, and a warning
// names only files that lie there.
void expect_only_named_files_left(const SCRATCH_DIR& dir, const std::string& err) {
    std::vector<std::string> left, named;
    for (const std::string& name : dir.names("arc")) {
        if (name != "lib.a")
            left.push_back(kLeftBehind + std::string("../arc/") + name + "'");
    }
    for (const std::string& line : lines_of(err)) {
        if (line.compare(0, strlen(kLeftBehind), kLeftBehind) == 0)
            named.push_back(line);
    }
    std::sort(named.begin(), named.end());
    EXPECT_EQ(named, left);
}

void check(const INJECTION& j, const COMMAND& c, const FILES& files,
           const std::string& rewritten) {
    const RUN_RESULT& r = j.result;
    SCOPED_TRACE(std::string(c.name) + ": " + j.syscall + " call " + std::to_string(j.n) +
                 j.fault.then + " fails with " + j.fault.error + "\nstatus " +
                 std::to_string(r.status) + ", stderr: " + r.err);
    ASSERT_TRUE(r.status == 0 || r.status == 1);
    if (r.status == 1) {
        EXPECT_NE(r.err, "") << "no message";
    }
    const bool extracts = c.args[0] == "x";
    const std::string archive = j.dir->read("arc/lib.a");
    if (extracts || r.status == 1)
        EXPECT_TRUE(archive == files.archive) << "the old archive is gone";
    else
        EXPECT_TRUE(archive == rewritten) << "not the archive a run without faults writes";
    expect_only_named_files_left(*j.dir, r.err);
    if (!extracts)
        return;
    const std::vector<std::string> out = j.dir->names("out");
    if (r.status == 0) {
        EXPECT_EQ(out, (std::vector<std::string>{"m1.o", "m2.o"}));
    }
    for (const std::string& name : out)
        EXPECT_TRUE(j.dir->read("out/" + name) == (name == "m1.o" ? files.old_m1 : files.m2))
            << name << " is not whole";
}

// Runs the injections kParallel at a time.
void run_all(std::vector<INJECTION>& jobs, const COMMAND& c, const FILES& files) {
    for (size_t first = 0; first < jobs.size(); first += kParallel) {
        const size_t end = std::min(jobs.size(), first + kParallel);
        for (size_t i = first; i < end; ++i) {
            INJECTION& j = jobs[i];
            files.lay_out(*j.dir);
            RUN_OPTIONS options;
            options.cwd = j.dir->path(c.cwd);
            const std::string inject = "inject=" + j.syscall + ":error=" + j.fault.error +
                                       ":when=" + std::to_string(j.n) + j.fault.then;
            j.child = std::make_unique<CHILD_PROCESS>(
                traced({"-o", "/dev/null", "-e", "trace=" + j.syscall, "-e", inject}, c), options);
        }
        for (size_t i = first; i < end; ++i)
            jobs[i].result = jobs[i].child->finish();
    }
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
        ASSERT_TRUE(have_tool("strace", "strace"));
        SCRATCH_DIR base;
        base.write("m1.o", files_.old_m1, 1400000000);
        base.write("m2.o", files_.m2, 1400000000);
        ASSERT_EQ(run_arwren({"rq", "lib.a", "m1.o", "m2.o"}, base.dir()).status, 0);
        files_.archive = base.read("lib.a");
    }

    FILES files_;
};

TEST_F(IO_FAULTS, EveryFailedCallKeepsTheOldArchiveOrWritesTheNewOne) {
    const COMMAND commands[] = {
        {"r", {"rq", kArchive, "m1.o", "m3.o"}, "src"},
        {"a", {"aq", kArchive, "m3.o"}, "src"},
        {"d", {"dq", kArchive, "m1.o"}, "src"},
        {"x", {"x", kArchive}, "out"},
    };
    std::string trace_set;
    for (const std::string& s : kSyscalls)
        trace_set += (trace_set.empty() ? "" : ",") + s;
    for (const COMMAND& c : commands) {
        SCOPED_TRACE(c.name);
        // A run without faults: the calls to fail, and the archive to expect.
        SCRATCH_DIR clean;
        files_.lay_out(clean);
        RUN_OPTIONS options;
        options.cwd = clean.path(c.cwd);
        const std::string trace_file = clean.path("trace");
        RUN_RESULT r =
            run_process(traced({"-o", trace_file, "-e", "trace=" + trace_set}, c), options);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out + r.err, "");
        const std::string rewritten = clean.read("arc/lib.a");
        ASSERT_EQ(rewritten == files_.archive, c.args[0] == "x");
        const std::vector<std::string> trace = lines_of(clean.read("trace"));
        std::vector<INJECTION> jobs;
        std::string counts;
        for (const std::string& s : kSyscalls) {
            const std::pair<int, int> calls = count_calls(trace, s);
            const std::vector<FAULT> faults = faults_for(s);
            for (const FAULT& fault : faults) {
                for (int n = calls.first + 1; n <= calls.first + calls.second; ++n)
                    jobs.emplace_back(s, fault, n);
            }
            counts += " " + s + " " + std::to_string(calls.second) + "x" +
                      std::to_string(faults.size());
        }
        std::cout << c.name << ": " << jobs.size() << " injections:" << counts << "\n";
        run_all(jobs, c, files_);
        for (const INJECTION& j : jobs)
            check(j, c, files_, rewritten);
    }
}

// The worst case: the first write of the new archive fails, and then so does
// the rename that puts the old one back. The old archive is not lost: it
// stays under the temporary name, and the warning gives that name.
TEST_F(IO_FAULTS, OldArchiveThatCannotBePutBackIsNamed) {
    SCRATCH_DIR dir;
    files_.lay_out(dir);
    RUN_OPTIONS options;
    options.cwd = dir.path("src");
    const COMMAND d{"d", {"dq", kArchive, "m1.o"}, "src"};
    RUN_RESULT r = run_process(traced({"-o", "/dev/null", "-e", "trace=write,rename", "-e",
                                       "inject=write:error=EIO:when=1", "-e",
                                       "inject=rename:error=EIO:when=2"},
                                      d),
                               options);
    EXPECT_EQ(r.status, 1);
    const std::vector<std::string> left = dir.names("arc");
    ASSERT_EQ(left.size(), 1u) << r.err;
    const std::string warning = kLeftBehind + std::string("../arc/") + left[0] + "'\n";
    EXPECT_EQ(r.err, "  -->  error: Error writing archive\n" + warning);
    EXPECT_TRUE(dir.read("arc/" + left[0]) == files_.archive);
}

}  // namespace

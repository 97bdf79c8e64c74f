// Real build systems with arwren as their archiver. The CMake project in
// examples/cmake-client cross-compiles a static library for ARM, has arwren
// write it through CMake's archiver rule, and links a program against it,
// with either of CMake's usual generators; make keeps the same library up
// to date member by member through its archive-member rules.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <set>

#include "ar_image.h"
#include "host_tools.h"

namespace {

struct GENERATOR {
    const char* tag;
    const char* name;     // for cmake -G
    const char* program;  // the build tool it runs
    const char* package;
};

class CMakeClient : public ::testing::TestWithParam<GENERATOR> {};

const INDEX_PAIRS kIndex = {{"fir_step", "fir.c.obj"},
                            {"mix_saturate", "saturating_mix.c.obj"},
                            {"dsp_window", "window.c.obj"}};

// Builds the project, then checks that arwren wrote libdsp.a and nothing
// rewrote it after (no ranlib, member modes 0 as only arwren writes them),
// that it holds each object once, that its index is what the sources define
// and what GNU nm reads, and that the program linked every member in.
void build_and_check(const SCRATCH_DIR& scratch, const std::string& what) {
    SCOPED_TRACE(what);
    RUN_RESULT build;
    ASSERT_TRUE(run_ok({"cmake", "--build", "build", "--verbose"}, scratch.dir(), &build));
    EXPECT_NE(build.out.find(std::string(ARWREN_BIN) + " aq libdsp.a "), std::string::npos)
        << build.out;
    EXPECT_EQ(build.out.find("ranlib"), std::string::npos) << build.out;

    const std::string bytes = scratch.read("build/libdsp.a");
    AR_IMAGE image;
    ASSERT_TRUE(image.parse(bytes)) << image.error;
    EXPECT_EQ(image.member_names(),
              (std::vector<std::string>{"fir.c.obj", "saturating_mix.c.obj", "window.c.obj"}));
    for (const AR_IMAGE::MEMBER& m : image.members)
        EXPECT_EQ(bytes.substr(m.header_offset + 40, 8), "0       ") << m.name;
    EXPECT_EQ(image.index_by_member(), kIndex);
    RUN_RESULT nm = run_process({"nm", "--print-armap", scratch.path("build/libdsp.a")});
    EXPECT_EQ(nm.status, 0) << nm.err;
    EXPECT_EQ(nm_armap(nm.out), kIndex);

    RUN_RESULT program;
    ASSERT_TRUE(run_ok({"arm-none-eabi-nm", "build/dsp_demo"}, scratch.dir(), &program));
    for (const auto& entry : kIndex)
        EXPECT_NE(program.out.find(" " + entry.first + "\n"), std::string::npos) << entry.first;
}

TEST_P(CMakeClient, ArwrenWritesTheLibraryTheProgramLinksAgainst) {
    const GENERATOR& generator = GetParam();
    ASSERT_TRUE(have_tool("cmake", "cmake"));
    ASSERT_TRUE(have_tool(generator.program, generator.package));
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    ASSERT_TRUE(have_tool("arm-none-eabi-nm", "binutils-arm-none-eabi"));
    ASSERT_TRUE(have_tool("nm", "binutils"));
    SCRATCH_DIR scratch;
    std::filesystem::copy(ARWREN_SOURCE_DIR "/examples/cmake-client", scratch.path("src"),
                          std::filesystem::copy_options::recursive);
    ASSERT_TRUE(run_ok({"cmake", "-G", generator.name, "-S", "src", "-B", "build",
                        "-DCMAKE_TOOLCHAIN_FILE=" + scratch.path("src/arm-none-eabi.cmake"),
                        "-DARWREN=" ARWREN_BIN},
                       scratch.dir()));
    build_and_check(scratch, "first build");
    // A changed source makes CMake write the library again: the old members
    // must be replaced, not added to.
    scratch.write("src/src/fir.c", scratch.read("src/src/fir.c") + "/* changed */\n");
    build_and_check(scratch, "rebuild");
}

INSTANTIATE_TEST_SUITE_P(Generators, CMakeClient,
                         ::testing::Values(GENERATOR{"make", "Unix Makefiles", "make", "make"},
                                           GENERATOR{"ninja", "Ninja", "ninja", "ninja-build"}),
                         [](const ::testing::TestParamInfo<GENERATOR>& info) {
                             return std::string(info.param.tag);
                         });

// The two lines a make user sets, and make's own rule for archive members
// (ar $(ARFLAGS) lib file), which reads the member dates back from the
// archive to decide what is out of date.
TEST(MakeClient, ArchiveMemberRulesKeepTheLibraryUpToDate) {
    ASSERT_TRUE(have_tool("make", "make"));
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    const std::string example = ARWREN_SOURCE_DIR "/examples/cmake-client/";
    for (const std::string name : {"include/dsp.h", "src/fir.c", "src/saturating_mix.c", "src/window.c"})
        scratch.write(name, SCRATCH_DIR::read_file(example + name), 1500000000);
    scratch.write("Makefile",
                  "CC = arm-none-eabi-gcc\n"
                  "CFLAGS = -Iinclude -O2\n"
                  "AR = " ARWREN_BIN "\n"
                  "ARFLAGS = rq\n"
                  "libdsp.a: libdsp.a(src/fir.o) libdsp.a(src/saturating_mix.o) libdsp.a(src/window.o)\n");
    const INDEX_PAIRS index = {{"fir_step", "fir.o"}, {"mix_saturate", "saturating_mix.o"},
                               {"dsp_window", "window.o"}};
    const struct {
        const char* step;
        bool change_fir;
        std::set<std::string> archived;  // objects make hands to arwren
    } steps[] = {
        {"first build", false, {"fir", "saturating_mix", "window"}},
        {"up to date", false, {}},
        {"one source changed", true, {"fir"}},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.step);
        if (s.change_fir) {
            // Member dates are whole seconds: make sees a change only when
            // it comes in a later second than the archiving.
            for (const time_t archived = time(nullptr); time(nullptr) == archived;)
                usleep(10000);
            scratch.write("src/fir.c", scratch.read("src/fir.c") + "/* changed */\n");
        }
        RUN_RESULT make;
        ASSERT_TRUE(run_ok({"make"}, scratch.dir(), &make));
        for (const std::string name : {"fir", "saturating_mix", "window"}) {
            const bool archived = make.out.find(" rq libdsp.a src/" + name + ".o\n") != std::string::npos;
            EXPECT_EQ(archived, s.archived.count(name) == 1) << name << "\n" << make.out;
        }
        AR_IMAGE image;
        ASSERT_TRUE(image.parse(scratch.read("libdsp.a"))) << image.error;
        EXPECT_EQ(image.index_by_member(), index);
    }
}

}  // namespace

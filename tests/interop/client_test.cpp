// A client of the archives: the CMake project in examples/cmake-client has
// arwren write its library, with either of CMake's usual generators, and the
// ARM cross linker links a program against it.
#include <filesystem>

#include "host_tools.h"

namespace {

class CMakeClient : public ::testing::TestWithParam<const char*> {};

// After the first build and after a changed source, arwren has written
// libdsp.a and nothing rewrote it (no ranlib, and member modes 0, as only
// arwren writes them); it holds each object once, its index is what the
// sources define, and the program linked every member in.
TEST_P(CMakeClient, ArwrenWritesTheLibraryTheProgramLinksAgainst) {
    const std::string generator = GetParam();
    ASSERT_TRUE(have_tools({{"cmake", "cmake"}, {generator == "Ninja" ? "ninja" : "make", "ninja-build, make"},
                            {"arm-none-eabi-gcc", "gcc-arm-none-eabi"}}));
    SCRATCH_DIR scratch;
    std::filesystem::copy(ARWREN_SOURCE_DIR "/examples/cmake-client", scratch.path("src"),
                          std::filesystem::copy_options::recursive);
    ASSERT_TRUE(run_ok({"cmake", "-G", generator, "-S", "src", "-B", "build",
                        "-DCMAKE_TOOLCHAIN_FILE=" + scratch.path("src/arm-none-eabi.cmake"), "-DARWREN=" ARWREN_BIN},
                       scratch.dir()));
    for (const char* step : {"first build", "rebuild"}) {
        SCOPED_TRACE(step);
        RUN_RESULT build, listing, program;
        ASSERT_TRUE(run_ok({"cmake", "--build", "build", "--verbose"}, scratch.dir(), &build));
        EXPECT_NE(build.out.find(std::string(ARWREN_BIN) + " aq libdsp.a "), std::string::npos) << build.out;
        EXPECT_EQ(build.out.find("ranlib"), std::string::npos) << build.out;
        ASSERT_TRUE(run_ok({"ar", "tv", "build/libdsp.a"}, scratch.dir(), &listing));
        std::string modes;
        for (const std::string& member : lines_of(listing.out))
            modes += member.substr(0, 14) + member.substr(member.rfind(' ')) + "\n";
        EXPECT_EQ(modes, "--------- 0/0  fir.c.obj\n--------- 0/0  saturating_mix.c.obj\n--------- 0/0  window.c.obj\n");
        EXPECT_EQ(nm_armap(scratch.path("build/libdsp.a")),
                  (std::vector<std::string>{"fir_step in fir.c.obj", "mix_saturate in saturating_mix.c.obj",
                                            "dsp_window in window.c.obj"}));
        ASSERT_TRUE(run_ok({"arm-none-eabi-nm", "build/dsp_demo"}, scratch.dir(), &program));
        for (const char* symbol : {" fir_step\n", " mix_saturate\n", " dsp_window\n"})
            EXPECT_NE(program.out.find(symbol), std::string::npos) << symbol;
        // A changed source makes CMake write the library again: the old
        // members must be replaced, not added to.
        scratch.write("src/src/fir.c", scratch.read("src/src/fir.c") + "/* changed */\n");
    }
}

INSTANTIATE_TEST_SUITE_P(Generators, CMakeClient, ::testing::Values("Unix Makefiles", "Ninja"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             return std::string(info.param[0] == 'U' ? "make" : "ninja");
                         });

}  // namespace

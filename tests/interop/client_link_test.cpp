// A real client of the archives: the ARM cross linker must produce the same
// image from arwren-built libc.a and libm.a as from the distribution's own.
#include <gtest/gtest.h>

#include "host_tools.h"
#include "process_run.h"
#include "scratch_dir.h"

namespace {

const char kProgram[] =
    "#include <math.h>\n"
    "#include <stdio.h>\n"
    "#include <stdlib.h>\n"
    "#include <string.h>\n"
    "int main(int argc, char **argv) {\n"
    "    char *copy = malloc(64);\n"
    "    strcpy(copy, argc > 0 ? argv[0] : \"none\");\n"
    "    printf(\"%zu %f\\n\", strlen(copy), sin((double)argc));\n"
    "    free(copy);\n"
    "    return 0;\n"
    "}\n";

// Directory of libgcc.a and the crt*.o files of the cross compiler.
std::string gcc_lib_dir() {
    RUN_RESULT r = run_process({"arm-none-eabi-gcc", "-print-libgcc-file-name"});
    std::string path = r.out.substr(0, r.out.find('\n'));
    return path.substr(0, path.rfind('/'));
}

// Everything spelled out (-nostdlib) so that the only input that differs
// between two links is the directory the -lc and -lm archives come from:
// newlib's crt0, the compiler's crti/crtbegin/crtend/crtn, the program,
// then libc, libm, the no-OS system call stubs and libgcc in one group.
std::vector<std::string> link_command(const std::string& libdir, const std::string& output) {
    const std::string gcc = gcc_lib_dir();
    const std::string newlib = kNewlibDir;
    return {"arm-none-eabi-gcc",
            "-nostdlib",
            newlib + "/crt0.o",
            gcc + "/crti.o",
            gcc + "/crtbegin.o",
            "prog.o",
            "-L" + libdir,
            "-Wl,--start-group",
            "-lc",
            "-lm",
            newlib + "/libnosys.a",
            gcc + "/libgcc.a",
            "-Wl,--end-group",
            gcc + "/crtend.o",
            gcc + "/crtn.o",
            "-o",
            output};
}

::testing::AssertionResult rebuild_with_arwren(const std::string& library,
                                               const SCRATCH_DIR& scratch,
                                               const std::string& libdir) {
    const std::string name = library.substr(library.rfind('/') + 1);
    const std::string src = scratch.subdir("members-" + name);
    std::vector<std::string> names;
    ::testing::AssertionResult extracted = gnu_ar_extract(library, src, names);
    if (!extracted)
        return extracted;
    std::vector<std::string> args{"aq", libdir + "/" + name};
    args.insert(args.end(), names.begin(), names.end());
    RUN_RESULT r = run_arwren(args, src);
    if (r.status != 0 || !r.err.empty())
        return ::testing::AssertionFailure() << describe(args, r);
    return ::testing::AssertionSuccess();
}

TEST(ClientLink, ImageEqualsTheOneLinkedAgainstTheDistributionLibraries) {
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    ASSERT_TRUE(have_tool("arm-none-eabi-objcopy", "binutils-arm-none-eabi"));
    ASSERT_TRUE(have_tool("ar", "binutils"));
    const std::string libc = std::string(kNewlibDir) + "/libc.a";
    const std::string libm = std::string(kNewlibDir) + "/libm.a";
    ASSERT_TRUE(have_file(libc, "libnewlib-arm-none-eabi"));
    ASSERT_TRUE(have_file(libm, "libnewlib-arm-none-eabi"));

    SCRATCH_DIR scratch;
    write_bytes(scratch.at("prog.c"), kProgram);
    ASSERT_TRUE(
        run_ok({"arm-none-eabi-gcc", "-O2", "-c", "prog.c", "-o", "prog.o"}, scratch.path()));
    const std::string ours = scratch.subdir("arwren-libs");
    ASSERT_TRUE(rebuild_with_arwren(libc, scratch, ours));
    ASSERT_TRUE(rebuild_with_arwren(libm, scratch, ours));

    ASSERT_TRUE(run_ok(link_command(ours, "ours.elf"), scratch.path()));
    ASSERT_TRUE(run_ok(link_command(kNewlibDir, "reference.elf"), scratch.path()));
    ASSERT_TRUE(
        run_ok({"arm-none-eabi-objcopy", "-O", "binary", "ours.elf", "ours.bin"}, scratch.path()));
    ASSERT_TRUE(run_ok({"arm-none-eabi-objcopy", "-O", "binary", "reference.elf", "reference.bin"},
                       scratch.path()));

    const std::string reference_bin = read_bytes(scratch.at("reference.bin"));
    ASSERT_GT(reference_bin.size(), 1000u);
    EXPECT_TRUE(read_bytes(scratch.at("ours.bin")) == reference_bin);
    // Nothing of an archive's path reaches the image, so the whole ELF
    // files, symbol tables included, must match too.
    EXPECT_TRUE(read_bytes(scratch.at("ours.elf")) == read_bytes(scratch.at("reference.elf")));
}

}  // namespace

// A real client of the archives: the ARM cross linker must produce the same
// image from arwren-built libc.a and libm.a as from the distribution's own.
#include <gtest/gtest.h>

#include "host_tools.h"

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

// Everything spelled out (-nostdlib) so that the only input that differs
// between two links is the directory the -lc and -lm archives come from:
// newlib's crt0, the compiler's crti/crtbegin/crtend/crtn, the program,
// then libc, libm, the no-OS system call stubs and libgcc in one group.
std::vector<std::string> link_command(const std::string& libdir, const std::string& output) {
    RUN_RESULT libgcc = run_process({"arm-none-eabi-gcc", "-print-libgcc-file-name"});
    const std::string gcc = libgcc.out.substr(0, libgcc.out.rfind('/'));
    return {"arm-none-eabi-gcc", "-nostdlib", kNewlibDir + "/crt0.o", gcc + "/crti.o",
            gcc + "/crtbegin.o", "prog.o", "-L" + libdir, "-Wl,--start-group", "-lc", "-lm",
            kNewlibDir + "/libnosys.a", gcc + "/libgcc.a", "-Wl,--end-group", gcc + "/crtend.o",
            gcc + "/crtn.o", "-o", output};
}

TEST(ClientLink, ImageEqualsTheOneLinkedAgainstTheDistributionLibraries) {
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    ASSERT_TRUE(have_tool("arm-none-eabi-objcopy", "binutils-arm-none-eabi"));
    ASSERT_TRUE(have_tool("ar", "binutils"));
    SCRATCH_DIR scratch;
    const std::string here = scratch.dir();
    const std::string ours = scratch.subdir("arwren-libs");
    for (const std::string name : {"libc.a", "libm.a"}) {
        ASSERT_TRUE(have_file(kNewlibDir + "/" + name, "libnewlib-arm-none-eabi"));
        std::vector<std::string> args{"aq", ours + "/" + name}, names;
        const std::string src = scratch.subdir("members-" + name);
        ASSERT_TRUE(gnu_ar_members(kNewlibDir + "/" + name, names, src));
        args.insert(args.end(), names.begin(), names.end());
        RUN_RESULT made = run_arwren(args, src);
        ASSERT_TRUE(made.status == 0 && made.err.empty()) << describe(args, made);
    }
    scratch.write("prog.c", kProgram);
    ASSERT_TRUE(run_ok({"arm-none-eabi-gcc", "-O2", "-c", "prog.c", "-o", "prog.o"}, here));
    ASSERT_TRUE(run_ok(link_command(ours, "ours.elf"), here));
    ASSERT_TRUE(run_ok(link_command(kNewlibDir, "reference.elf"), here));
    ASSERT_TRUE(run_ok({"arm-none-eabi-objcopy", "-O", "binary", "ours.elf", "ours.bin"}, here));
    ASSERT_TRUE(run_ok({"arm-none-eabi-objcopy", "-O", "binary", "reference.elf", "reference.bin"},
                       here));
    const std::string reference_bin = scratch.read("reference.bin");
    ASSERT_GT(reference_bin.size(), 1000u);
    EXPECT_TRUE(scratch.read("ours.bin") == reference_bin);
    // Nothing of an archive's path reaches the image, so the whole ELF
    // files, symbol tables included, must match too.
    EXPECT_TRUE(scratch.read("ours.elf") == scratch.read("reference.elf"));
}

}  // namespace

// arwren and the common archivers read each other's archives: GNU ar and
// llvm-ar list and extract what arwren writes, and arwren lists, extracts,
// replaces in and deletes from what they write, byte for byte.
#include <gtest/gtest.h>

#include "ar_image.h"
#include "host_tools.h"

namespace {

struct MEMBER_FILE {
    std::string name;
    std::string bytes;
};

// Names around the 15/16 character boundary; odd, even, one-byte and empty
// contents; and a real object so that every writer also makes an index.
// The files are written to src/ in the scratch directory.
std::vector<MEMBER_FILE> member_files(const SCRATCH_DIR& scratch) {
    scratch.write("obj.c", "int exported_value = 1;\nint exported_function(void) { return 2; }\n");
    EXPECT_TRUE(run_ok({"arm-none-eabi-gcc", "-c", "obj.c", "-o", "obj.o"}, scratch.dir()));
    const std::vector<MEMBER_FILE> files = {
        {"a", "x"},
        {"odd.txt", pattern_bytes(7, 1)},
        {"empty.dat", ""},
        {"fffffffffffff.o", pattern_bytes(1000, 2)},
        {"ssssssssssssss.o", pattern_bytes(1001, 3)},
        {"vvvvvvvvvvvvvvv.o", ""},
        {"a_rather_long_member_name_of_40_chars.oo", pattern_bytes(4097, 4)},
        {"obj.o", scratch.read("obj.o")},
    };
    for (const MEMBER_FILE& f : files)
        scratch.write("src/" + f.name, f.bytes, 1500000000);
    return files;
}

std::vector<std::string> names_of(const std::vector<MEMBER_FILE>& files) {
    std::vector<std::string> names;
    for (const MEMBER_FILE& f : files)
        names.push_back(f.name);
    return names;
}

// GNU ar lists the members in order and extracts each one's exact bytes.
void expect_gnu_ar_sees(const SCRATCH_DIR& scratch, const std::vector<MEMBER_FILE>& files,
                        const std::string& tag) {
    SCOPED_TRACE(tag);
    std::vector<std::string> listed;
    ASSERT_TRUE(gnu_ar_members(scratch.path("x.a"), listed, scratch.subdir("gnu-x-" + tag)));
    EXPECT_EQ(listed, names_of(files));
    for (const MEMBER_FILE& f : files)
        EXPECT_TRUE(scratch.read("gnu-x-" + tag + "/" + f.name) == f.bytes) << f.name;
    EXPECT_EQ(scratch.names("gnu-x-" + tag).size(), files.size());
}

TEST(GnuArInterop, GnuArAndLlvmArReadWhatArwrenWrites) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("llvm-ar", "llvm"));
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    const std::vector<MEMBER_FILE> files = member_files(scratch);
    std::vector<std::string> args{"aq", "../x.a"};
    for (const MEMBER_FILE& f : files)
        args.push_back(f.name);
    ASSERT_TRUE(run_ok(arwren_argv(args), scratch.path("src")));
    expect_gnu_ar_sees(scratch, files, "arwren");

    RUN_RESULT llvm = run_process({"llvm-ar", "t", scratch.path("x.a")});
    EXPECT_EQ(llvm.status, 0) << llvm.err;
    EXPECT_EQ(lines_of(llvm.out), names_of(files));
}

// Names that resemble the special members, hold blanks or a line end, or
// lie around the long-name boundary: GNU ar finds every one that arwren
// stores in the POSIX form under the same name, with the same bytes.
TEST(GnuArInterop, GnuArReadsEveryPosixNameArwrenStores) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    SCRATCH_DIR scratch;
    const std::vector<std::string> names = {
        " ", "a b", " lead", "trail ", "<filenames", "filenames>", "<filenames>x",
        "14_with_blank ", " 14_leading_bl", "15_without_blan", "16 with blanks  ", "17 with blanks   ", "new\nline",
        "<filenames>_long_name", "a_long_name_with_a_line\nend"};
    std::vector<std::string> args{"aq", "../x.a"};
    for (size_t i = 0; i < names.size(); ++i) {
        scratch.write("src/" + names[i], pattern_bytes(i + 1, unsigned(i)));
        args.push_back(names[i]);
    }
    RUN_RESULT r = run_arwren(args, scratch.path("src"));
    ASSERT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "  -->  error: Member name cannot be stored in the POSIX format: "
                     "'a_long_name_with_a_line\nend'\n");
    EXPECT_EQ(scratch.names(), std::vector<std::string>{"src"});
    args.pop_back();
    ASSERT_TRUE(run_ok(arwren_argv(args), scratch.path("src")));
    for (size_t i = 0; i + 1 < names.size(); ++i) {
        RUN_RESULT p = run_process({"ar", "p", scratch.path("x.a"), names[i]});
        EXPECT_EQ(p.status, 0) << "'" << names[i] << "': " << p.err;
        EXPECT_TRUE(p.out == pattern_bytes(i + 1, unsigned(i))) << "'" << names[i] << "'";
    }
    RUN_RESULT listing = run_process({"ar", "t", scratch.path("x.a")});
    std::string expected;
    for (size_t i = 0; i + 1 < names.size(); ++i)
        expected += names[i] + "\n";
    EXPECT_EQ(listing.out, expected);
}

struct FOREIGN_WRITER {
    const char* tag;
    const char* program;
    const char* package;
};

class ForeignArchive : public ::testing::TestWithParam<FOREIGN_WRITER> {};

TEST_P(ForeignArchive, ArwrenListsExtractsReplacesAndDeletes) {
    const FOREIGN_WRITER& writer = GetParam();
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool(writer.program, writer.package));
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    std::vector<MEMBER_FILE> files = member_files(scratch);
    const std::string src = scratch.path("src"), archive = scratch.path("x.a");
    std::vector<std::string> create{writer.program, "rc", archive};
    for (const MEMBER_FILE& f : files)
        create.push_back(f.name);
    ASSERT_TRUE(run_ok(create, src));

    RUN_RESULT listing = run_arwren({"t", archive}, src);
    ASSERT_EQ(listing.status, 0) << listing.err;
    EXPECT_EQ(toc_member_names(listing.out), names_of(files));
    ASSERT_TRUE(run_ok(arwren_argv({"x", archive}), scratch.subdir("arwren-x")));
    for (const MEMBER_FILE& f : files)
        EXPECT_TRUE(scratch.read("arwren-x/" + f.name) == f.bytes) << f.name;

    // Replace one long-named member with contents of a different, odd size,
    // then delete one short and one long name.
    files[4].bytes = pattern_bytes(333, 9);
    scratch.write("src/" + files[4].name, files[4].bytes);
    ASSERT_TRUE(run_ok(arwren_argv({"rq", archive, files[4].name}), src));
    expect_gnu_ar_sees(scratch, files, "replaced");
    ASSERT_TRUE(run_ok(arwren_argv({"dq", archive, files[1].name, files[6].name}), src));
    files.erase(files.begin() + 6);
    files.erase(files.begin() + 1);
    expect_gnu_ar_sees(scratch, files, "deleted");

    // The rewritten archive carries arwren's own index of the object.
    AR_IMAGE image;
    ASSERT_TRUE(image.parse(scratch.read("x.a"))) << image.error;
    EXPECT_EQ(image.index_by_member(),
              (INDEX_PAIRS{{"exported_value", "obj.o"}, {"exported_function", "obj.o"}}));
}

INSTANTIATE_TEST_SUITE_P(Writers, ForeignArchive,
                         ::testing::Values(FOREIGN_WRITER{"gnu", "ar", "binutils"},
                                           FOREIGN_WRITER{"llvm", "llvm-ar", "llvm"}),
                         [](const ::testing::TestParamInfo<FOREIGN_WRITER>& info) {
                             return std::string(info.param.tag);
                         });

}  // namespace

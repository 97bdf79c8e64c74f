// arwren and the common archivers read each other's archives: GNU ar and
// llvm-ar list and extract what arwren writes, and arwren lists, extracts,
// replaces in and deletes from what they write, byte for byte.
#include <gtest/gtest.h>

#include "ar_image.h"
#include "host_tools.h"
#include "process_run.h"
#include "scratch_dir.h"

namespace {

struct MEMBER_FILE {
    std::string name;
    std::string bytes;
};

std::string name_of_length(size_t length, char fill) {
    std::string name(length - 2, fill);
    return name + ".o";
}

// Short and long names around the 15/16 character boundary, odd, even,
// one-byte and empty contents, and one real object file so that every
// writer also produces a symbol index.
std::vector<MEMBER_FILE> member_files(const std::string& object_bytes) {
    return {
        {"a", "x"},
        {"odd.txt", pattern_bytes(7, 1)},
        {"empty.dat", ""},
        {name_of_length(15, 'f'), pattern_bytes(1000, 2)},
        {name_of_length(16, 's'), pattern_bytes(1001, 3)},
        {name_of_length(17, 'v'), ""},
        {"a_rather_long_member_name_of_40_chars.oo", pattern_bytes(4097, 4)},
        {"obj.o", object_bytes},
    };
}

std::vector<std::string> names_of(const std::vector<MEMBER_FILE>& files) {
    std::vector<std::string> names;
    for (const MEMBER_FILE& f : files)
        names.push_back(f.name);
    return names;
}

std::string make_object(const SCRATCH_DIR& scratch) {
    write_bytes(scratch.at("obj.c"),
                "int exported_value = 1;\nint exported_function(void) { return 2; }\n");
    if (!run_ok({"arm-none-eabi-gcc", "-c", "obj.c", "-o", "obj.o"}, scratch.path()))
        return "";
    return read_bytes(scratch.at("obj.o"));
}

void write_members(const std::string& dir, const std::vector<MEMBER_FILE>& files) {
    for (const MEMBER_FILE& f : files) {
        write_bytes(dir + "/" + f.name, f.bytes);
        set_mtime(dir + "/" + f.name, 1500000000);
    }
}

// Extracts the whole archive with GNU ar into a fresh directory and checks
// every member's bytes and the order of the list.
void expect_gnu_ar_sees(const SCRATCH_DIR& scratch, const std::string& archive,
                        const std::vector<MEMBER_FILE>& files, const std::string& tag) {
    SCOPED_TRACE(tag);
    std::vector<std::string> listed;
    const std::string out = scratch.subdir("gnu-x-" + tag);
    ASSERT_TRUE(gnu_ar_extract(archive, out, listed));
    EXPECT_EQ(listed, names_of(files));
    for (const MEMBER_FILE& f : files)
        EXPECT_TRUE(read_bytes(out + "/" + f.name) == f.bytes) << f.name;
    EXPECT_EQ(list_dir(out).size(), files.size());
}

TEST(GnuArInterop, GnuArAndLlvmArReadWhatArwrenWrites) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    ASSERT_TRUE(have_tool("llvm-ar", "llvm"));
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    const std::vector<MEMBER_FILE> files = member_files(make_object(scratch));
    ASSERT_FALSE(files.back().bytes.empty());
    const std::string src = scratch.subdir("src");
    write_members(src, files);

    std::vector<std::string> args{"aq", "../x.a"};
    for (const MEMBER_FILE& f : files)
        args.push_back(f.name);
    RUN_RESULT made = run_arwren(args, src);
    ASSERT_EQ(made.status, 0) << describe(args, made);
    const std::string archive = scratch.at("x.a");
    expect_gnu_ar_sees(scratch, archive, files, "arwren");

    RUN_RESULT llvm = run_process({"llvm-ar", "t", archive});
    EXPECT_EQ(llvm.status, 0) << llvm.err;
    std::string expected_listing;
    for (const MEMBER_FILE& f : files)
        expected_listing += f.name + "\n";
    EXPECT_EQ(llvm.out, expected_listing);

    // nm complains about the members that are no object files, not about
    // the index.
    RUN_RESULT nm = run_process({"nm", "--print-armap", archive});
    EXPECT_EQ(nm.err.find("index"), std::string::npos) << nm.err;
    EXPECT_NE(
        nm.out.find("Archive index:\nexported_value in obj.o\nexported_function in obj.o\n\n"),
        std::string::npos)
        << nm.out;
}

// The original format (key digit 0) cuts long names to 15 characters; the
// POSIX format (digit 2) keeps them. GNU ar reads both.
TEST(GnuArInterop, GnuArListsBothFormatsItKnows) {
    ASSERT_TRUE(have_tool("ar", "binutils"));
    SCRATCH_DIR scratch;
    const std::string src = scratch.subdir("src");
    const std::vector<std::string> names{"short.o", name_of_length(15, 'f'),
                                         name_of_length(16, 's'),
                                         "a_rather_long_member_name_of_40_chars.oo"};
    for (const std::string& name : names)
        write_bytes(src + "/" + name, name);
    const struct {
        const char* key;
        bool cut;
    } formats[] = {{"aq0", true}, {"aq2", false}};
    for (const auto& format : formats) {
        SCOPED_TRACE(format.key);
        const std::string archive = scratch.at(std::string(format.key) + ".a");
        std::vector<std::string> args{format.key, archive};
        args.insert(args.end(), names.begin(), names.end());
        ASSERT_EQ(run_arwren(args, src).status, 0);
        std::vector<std::string> expected;
        for (const std::string& name : names)
            expected.push_back(format.cut ? name.substr(0, 15) : name);
        std::vector<std::string> listed;
        ASSERT_TRUE(gnu_ar_list(archive, listed));
        EXPECT_EQ(listed, expected);
    }
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
    std::vector<MEMBER_FILE> files = member_files(make_object(scratch));
    const std::string src = scratch.subdir("src");
    write_members(src, files);
    const std::string archive = scratch.at("x.a");
    std::vector<std::string> create{writer.program, "rc", archive};
    for (const MEMBER_FILE& f : files)
        create.push_back(f.name);
    ASSERT_TRUE(run_ok(create, src));

    RUN_RESULT listing = run_arwren({"t", archive}, src);
    ASSERT_EQ(listing.status, 0) << listing.err;
    EXPECT_EQ(toc_member_names(listing.out), names_of(files));

    const std::string out = scratch.subdir("arwren-x");
    RUN_RESULT extracted = run_arwren({"x", archive}, out);
    ASSERT_EQ(extracted.status, 0) << extracted.err;
    for (const MEMBER_FILE& f : files)
        EXPECT_TRUE(read_bytes(out + "/" + f.name) == f.bytes) << f.name;

    // Replace one long-named member with contents of a different, odd size.
    files[4].bytes = pattern_bytes(333, 9);
    write_bytes(src + "/" + files[4].name, files[4].bytes);
    RUN_RESULT replaced = run_arwren({"rq", archive, files[4].name}, src);
    ASSERT_EQ(replaced.status, 0) << replaced.err;
    expect_gnu_ar_sees(scratch, archive, files, "replaced");

    // Delete one short and one long name.
    RUN_RESULT deleted = run_arwren({"dq", archive, files[1].name, files[6].name}, src);
    ASSERT_EQ(deleted.status, 0) << deleted.err;
    files.erase(files.begin() + 6);
    files.erase(files.begin() + 1);
    expect_gnu_ar_sees(scratch, archive, files, "deleted");

    // The rewritten archive carries arwren's own index of the object.
    AR_IMAGE image;
    ASSERT_TRUE(image.parse(read_bytes(archive))) << image.error();
    std::vector<std::pair<std::string, std::string>> index = image.index_by_member();
    ASSERT_EQ(index.size(), 2u);
    EXPECT_EQ(index[0].second, "obj.o");
    EXPECT_EQ(index[1].second, "obj.o");
}

INSTANTIATE_TEST_SUITE_P(Writers, ForeignArchive,
                         ::testing::Values(FOREIGN_WRITER{"gnu", "ar", "binutils"},
                                           FOREIGN_WRITER{"llvm", "llvm-ar", "llvm"}),
                         [](const ::testing::TestParamInfo<FOREIGN_WRITER>& info) {
                             return std::string(info.param.tag);
                         });

}  // namespace

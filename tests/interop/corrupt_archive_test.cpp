// Damaged archives: whatever the bytes, listing, extracting and replacing
// end with status 0 or 1 and a proper message, never a crash or a hang, and
// a failed rewrite leaves the damaged file exactly as it was.
#include <gtest/gtest.h>

#include "ar_image.h"
#include "host_tools.h"
#include "process_run.h"
#include "scratch_dir.h"

namespace {

struct DAMAGE {
    std::string what;
    std::string bytes;
    // The exact standard error of listing, when the damage calls for one.
    std::string list_error;
};

std::string overwrite(std::string bytes, uint64_t at, const std::string& text, size_t width) {
    std::string field = text;
    field.resize(width, ' ');
    bytes.replace(at, width, field);
    return bytes;
}

// A symbol index, a long-name table, an odd-sized and an empty member.
std::string intact_archive(const SCRATCH_DIR& scratch) {
    const std::string src = scratch.subdir("build");
    write_bytes(src + "/obj.c", "int visible = 4;\nint seen(void) { return visible; }\n");
    if (!run_ok({"arm-none-eabi-gcc", "-c", "obj.c", "-o", "obj.o"}, src))
        return "";
    write_bytes(src + "/odd.txt", "seven b");
    write_bytes(src + "/a_long_member_name.txt", pattern_bytes(300, 5));
    write_bytes(src + "/empty", "");
    if (run_arwren({"aq", "x.a", "obj.o", "odd.txt", "a_long_member_name.txt", "empty"}, src)
            .status != 0)
        return "";
    return read_bytes(src + "/x.a");
}

std::vector<DAMAGE> damages(const std::string& intact) {
    AR_IMAGE image;
    image.parse(intact);
    const std::string kCorrupt = "  -->  error: Corrupt member header: 'x.a'\n";
    // Offsets of the headers of the index, the long-name table and the
    // first and second ordinary members.
    const uint64_t index = 8;
    const uint64_t table = index + 60 + image.index_size();
    const uint64_t first = image.members()[0].header_offset;
    const uint64_t second = image.members()[1].header_offset;
    std::vector<DAMAGE> list = {
        {"header cut short", intact.substr(0, second + 30),
         "  -->  error: Cannot read member header: 'x.a'\n"},
        {"bad terminator", overwrite(intact, first + 58, "xx", 2), kCorrupt},
        {"size not a number", overwrite(intact, first + 48, "abc", 10), kCorrupt},
        {"blank date", overwrite(intact, first + 16, "", 12), kCorrupt},
        {"long-name offset past the table", overwrite(intact, second + 0, "/999", 16),
         "  -->  error: Corrupt member name: 'x.a'\n"},
        {"negative size", overwrite(intact, first + 48, "-5", 10), ""},
        {"size back onto its own header", overwrite(intact, first + 48, "-60", 10), ""},
        {"size back before the magic", overwrite(intact, first + 48, "-2000", 10), ""},
        {"huge size", overwrite(intact, first + 48, "9999999999", 10), ""},
        {"size past the end", overwrite(intact, second + 48, "2147483647", 10), ""},
        {"negative long-name offset", overwrite(intact, second, "/-1", 16), ""},
        {"huge long-name offset", overwrite(intact, second, "/99999999999999999999", 16), ""},
        {"empty long-name table", overwrite(intact, table + 48, "0", 10), ""},
        {"negative long-name table size", overwrite(intact, table + 48, "-2", 10), ""},
        {"long-name table past the end", overwrite(intact, table + 48, "99999", 10), ""},
        {"negative index size", overwrite(intact, index + 48, "-4", 10), ""},
        {"index past the end", overwrite(intact, index + 48, "9999999", 10), ""},
        {"index count huge", overwrite(intact, index + 60, "\x7f\xff\xff\xff", 4), ""},
    };
    for (uint64_t cut = 9; cut < intact.size(); cut += cut < 200 ? 7 : 61)
        list.push_back({"cut at " + std::to_string(cut), intact.substr(0, cut), ""});
    return list;
}

// Status 0 or 1, no sanitizer report, and any error in the program's form.
void expect_clean_end(const RUN_RESULT& r, const char* command) {
    SCOPED_TRACE(command);
    EXPECT_FALSE(r.timed_out);
    EXPECT_TRUE(r.status == 0 || r.status == 1) << "status " << r.status << "\n" << r.err;
    EXPECT_EQ(r.err.find("Sanitizer"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("runtime error"), std::string::npos) << r.err;
    if (r.status == 1) {
        EXPECT_EQ(r.err.compare(0, 14, "  -->  error: "), 0) << r.err;
    }
}

TEST(CorruptArchive, EveryCommandEndsCleanlyAndKeepsTheFile) {
    ASSERT_TRUE(have_tool("arm-none-eabi-gcc", "gcc-arm-none-eabi"));
    SCRATCH_DIR scratch;
    const std::string intact = intact_archive(scratch);
    ASSERT_FALSE(intact.empty());
    const std::string dir = scratch.subdir("arc");
    const std::string src = scratch.subdir("src");
    write_bytes(src + "/odd.txt", "nine byte");
    RUN_OPTIONS options;
    options.timeout_ms = 20000;
    for (const DAMAGE& d : damages(intact)) {
        SCOPED_TRACE(d.what);
        write_bytes(dir + "/x.a", d.bytes);
        options.cwd = dir;
        RUN_RESULT list = run_process({ARWREN_BIN, "t", "x.a"}, options);
        expect_clean_end(list, "t");
        if (!d.list_error.empty()) {
            EXPECT_EQ(list.status, 1);
            EXPECT_EQ(list.err, d.list_error);
        }
        const std::string out = scratch.subdir("out");
        options.cwd = out;
        expect_clean_end(run_process({ARWREN_BIN, "x", dir + "/x.a"}, options), "x");
        remove_tree(out);
        EXPECT_TRUE(read_bytes(dir + "/x.a") == d.bytes);

        options.cwd = src;
        RUN_RESULT replace = run_process({ARWREN_BIN, "rq", dir + "/x.a", "odd.txt"}, options);
        expect_clean_end(replace, "r");
        if (replace.status != 0) {
            EXPECT_TRUE(read_bytes(dir + "/x.a") == d.bytes);
        }
        EXPECT_EQ(list_dir(dir), std::vector<std::string>{"x.a"});
    }
}

}  // namespace

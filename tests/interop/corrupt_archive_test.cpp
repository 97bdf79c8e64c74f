// Damaged archives: whatever the bytes, listing, extracting and replacing
// end with status 0 or 1 and a proper message, never a crash or a hang, and
// a failed rewrite leaves the damaged file exactly as it was.
#include <gtest/gtest.h>

#include "ar_image.h"
#include "host_tools.h"

namespace {

struct DAMAGE {
    std::string what;
    std::string bytes;
    std::string list_error;  // the exact standard error of listing, when known
};

std::string overwrite(std::string bytes, uint64_t at, const std::string& text, size_t width) {
    std::string field = text;
    field.resize(width, ' ');
    return bytes.replace(at, width, field);
}

// The archive has a symbol index, a long-name table, an odd-sized and an
// empty member; each damage hits one header field or cuts the file short.
std::vector<DAMAGE> damages(const std::string& intact) {
    AR_IMAGE image;
    EXPECT_TRUE(image.parse(intact)) << image.error;
    const std::string corrupt = "  -->  error: Corrupt member header: 'x.a'\n";
    const uint64_t index = 8, table = index + 60 + image.index_size;
    const uint64_t first = image.members.at(0).header_offset;
    const uint64_t second = image.members.at(1).header_offset;
    std::vector<DAMAGE> list = {
        {"header cut short", intact.substr(0, second + 30),
         "  -->  error: Cannot read member header: 'x.a'\n"},
        {"bad terminator", overwrite(intact, first + 58, "xx", 2), corrupt},
        {"size not a number", overwrite(intact, first + 48, "abc", 10), corrupt},
        {"blank date", overwrite(intact, first + 16, "", 12), corrupt},
        {"long-name offset past the table", overwrite(intact, second, "/999", 16),
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

// Status 0 or 1 in time, no sanitizer report, and any error in the program's form.
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
    scratch.write("build/obj.c", "int visible = 4;\nint seen(void) { return visible; }\n");
    scratch.write("build/odd.txt", "seven b");
    scratch.write("build/a_long_member_name.txt", pattern_bytes(300, 5));
    scratch.write("build/empty", "");
    ASSERT_TRUE(run_ok({"arm-none-eabi-gcc", "-c", "obj.c", "-o", "obj.o"}, scratch.path("build")));
    ASSERT_TRUE(run_ok(arwren_argv({"aq", "x.a", "obj.o", "odd.txt", "a_long_member_name.txt", "empty"}),
                       scratch.path("build")));
    const std::string archive = scratch.path("arc/x.a");
    scratch.write("src/odd.txt", "nine byte");
    RUN_OPTIONS options;
    options.timeout_ms = 20000;
    for (const DAMAGE& d : damages(scratch.read("build/x.a"))) {
        SCOPED_TRACE(d.what);
        scratch.write("arc/x.a", d.bytes);
        options.cwd = scratch.path("arc");
        RUN_RESULT list = run_process(arwren_argv({"t", "x.a"}), options);
        expect_clean_end(list, "t");
        if (!d.list_error.empty()) {
            EXPECT_EQ(list.status, 1);
            EXPECT_EQ(list.err, d.list_error);
        }
        options.cwd = scratch.subdir("out");
        expect_clean_end(run_process(arwren_argv({"x", archive}), options), "x");
        std::filesystem::remove_all(options.cwd);
        EXPECT_TRUE(scratch.read("arc/x.a") == d.bytes);

        options.cwd = scratch.path("src");
        RUN_RESULT replace = run_process(arwren_argv({"rq", archive, "odd.txt"}), options);
        expect_clean_end(replace, "r");
        if (replace.status != 0) {
            EXPECT_TRUE(scratch.read("arc/x.a") == d.bytes);
        }
        EXPECT_EQ(scratch.names("arc"), std::vector<std::string>{"x.a"});
    }
}

}  // namespace

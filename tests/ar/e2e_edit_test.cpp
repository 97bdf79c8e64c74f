// Adding, replacing, deleting, extracting and listing, checked by the exact
// messages and the exact bytes of every file afterwards; archives of every
// name form, written by hand, and corrupt ones that every command refuses.
#include <cstdio>

#include "e2e_run.h"

namespace {

using B = ARCHIVE_BUILDER;

const std::string kLongName = "a_very_long_member_name.txt";   // 27 characters
const std::string kBuilding = "  ==>  building archive 'lib.a'\n";
const std::string kNewArchive = "  ==>  new archive 'lib.a'\n";

B two_members() {
    return std::move(B().member("a.txt", "aaa", kOld).member("b.txt", "bbbb", kOld));
}

TEST(EditEndToEnd, AddReplaceDeleteExtract) {
    const std::string two = two_members().bytes();
    const std::string a_b = B().member("a.txt", "aaa", kOld).member("b.txt", "bbbb", kNew).bytes();
    const std::string table_err = "  -->  error: Member name cannot be stored in the POSIX format: '<filenames>'\n";
    const E2E_CASE cases[] = {
        {"a makes a new archive", {{"a.txt", "aaa"}, {"sub/b.txt", "bbbb", kNew}}, {"a", "lib.a", "a.txt", "sub/b.txt"},
         kNewArchive + kBuilding, "", 0, {{"lib.a", a_b}}},
        {"aq is quiet", {{"a.txt", "aaa"}, {"sub/b.txt", "bbbb", kNew}}, {"aq", "lib.a", "a.txt", "sub/b.txt"},
         "", "", 0, {{"lib.a", a_b}}},
        {"-av names each file", {{"a.txt", "aaa"}, {"sub/b.txt", "bbbb", kNew}}, {"-av", "lib.a", "a.txt", "sub/b.txt"},
         kNewArchive + "  ==>  add 'a.txt'\n  ==>  add 'sub/b.txt'\n" + kBuilding, "", 0, {{"lib.a", a_b}}},
        {"oldest date", {{"old.o", "x", -2147483648L}}, {"aq", "lib.a", "old.o"}, "", "", 0,
         {{"lib.a", B().member("old.o", "x", -2147483648L).bytes()}}},
        {"missing file", {{"a.txt", "aaa"}}, {"aq", "lib", "gone.txt", "a.txt"}, "",
         "  -->  error: 'gone.txt' not found\n", 1, {{"lib.lib", B().member("a.txt", "aaa", kOld).bytes()}}},
        {"a appends a name again", {{"lib.a", two}, {"a.txt", "A", kNew}}, {"a", "lib.a", "a.txt"}, kBuilding, "", 0,
         {{"lib.a", two_members().member("a.txt", "A", kNew).bytes()}}},
        {"last digit wins", {{kLongName, "xy"}}, {"2aQ1", "lib.a", kLongName}, "", "", 0,
         {{"lib.a", B(B::NU_LONG_NAME).member(kLongName, "xy", kOld).bytes()}}},
        {"POSIX by default", {{kLongName, "xy"}}, {"a-q", "lib.a", kLongName}, "", "", 0,
         {{"lib.a", B().member(kLongName, "xy", kOld).bytes()}}},
        {"name read back as a table", {{"lib.a", two}, {"<filenames>", "x"}, {kLongName, "xy"}},
         {"rq", "lib.a", kLongName, "<filenames>"}, "", table_err, 1, {}},
        {"rv replaces in place and appends", {{"lib.a", two}, {"new/a.txt", "AAAAA", kNew}, {"c.txt", "cc", kNew}},
         {"rv", "lib.a", "c.txt", "new/a.txt"}, "  ==>  replace 'a.txt'\n  ==>  add 'c.txt'\n" + kBuilding, "", 0,
         {{"lib.a", B().member("a.txt", "AAAAA", kNew).member("b.txt", "bbbb", kOld).member("c.txt", "cc", kNew).bytes()}}},
        {"ru skips a file as old as its member", {{"lib.a", two}, {"a.txt", "zz", kOld}}, {"ru", "lib.a", "a.txt"},
         kBuilding, "", 0, {}},
        {"U takes a newer file", {{"lib.a", two}, {"a.txt", "zz", kOld + 1}}, {"U", "lib.a", "a.txt"}, kBuilding, "", 0,
         {{"lib.a", B().member("a.txt", "zz", kOld + 1).member("b.txt", "bbbb", kOld).bytes()}}},
        {"RQSV", {{"lib.a", two}, {"a.txt", "A", kOld - 1}}, {"RQSV", "lib.a", "a.txt"}, "  ==>  replace 'a.txt'\n", "",
         0, {{"lib.a", B().member("a.txt", "A", kOld - 1).member("b.txt", "bbbb", kOld).bytes()}}},
        {"member file that cannot be read", {{"lib.a", two}, {"d.o/f", ""}}, {"rq", "lib.a", "a.txt", "d.o"}, "",
         "  -->  error: Cannot read file: 'd.o'\n", 1, {}},
        {"rq without a list", {{"lib.a", two}, {"b.txt", "B", kNew}}, {"rq", "lib.a"}, "", "", 0,
         {{"lib.a", B().member("a.txt", "aaa", kOld).member("b.txt", "B", kNew).bytes()}}},
        {"member without its file", {{"lib.a", two}}, {"rq", "lib.a", "a.txt"}, "", "", 0, {}},
        {"dv without a list", {{"lib.a", two}}, {"dv", "lib.a"}, "", "", 0, {}},
        {"dv", {{"lib.a", two}}, {"dv", "lib.a", "x/a.txt", "zz.txt"}, "  ==>  delete 'a.txt'\n" + kBuilding,
         "  -->  error: 'zz.txt' not found\n", 1, {{"lib.a", B().member("b.txt", "bbbb", kOld).bytes()}}},
        {"D every member", {{"lib.a", two}}, {"Dq", "lib.a", "b.txt", "a.txt"}, "", "", 0, {{"lib.a", "!<arch>\n"}}},
        {"x", {{"lib.a", two}}, {"x", "lib.a"}, "", "", 0, {{"a.txt", "aaa"}, {"b.txt", "bbbb"}}},
        {"-Xv", {{"lib.a", two}, {"out/f", ""}}, {"-Xv", "lib.a", "out/b.txt", "q.txt"}, "  ==>  extract 'out/b.txt'\n",
         "  -->  error: 'q.txt' not found\n", 1, {{"out/b.txt", "bbbb"}}},
        {"x of two members of one name", {{"lib.a", B().member("a.o", "1").member("a.o", "2").bytes()}, {"d1/f", ""},
                                           {"d2/f", ""}}, {"x", "lib.a", "d1/a.o", "d2/a.o", "d2/a.o"}, "",
         "  -->  error: 'd2/a.o' not found\n", 1, {{"d1/a.o", "1"}, {"d2/a.o", "2"}}},
        {"x into no directory", {{"lib.a", two}}, {"x", "lib.a", "nodir/a.txt"}, "",
         "  -->  error: cannot create 'nodir/a.txt'\n", 1, {}},
        {"stored name with a directory", {{"sub/lib.a", B().member("../escape.o", "x", kOld).bytes()}},
         {"x", "sub/lib.a"}, "", "  -->  error: cannot create '../escape.o'\n", 1, {}},
    };
    for (const E2E_CASE& c : cases)
        run_case(c);
}

// Names of 14 to 17 characters, sizes odd, even and empty, in each form;
// the original form keeps 15 characters.
B names_around_16(B::FORM form) {
    return std::move(B(form).member("abcdefghijk.14", "odd", 100).member("abcdefghijkl.15", "even", 200)
                         .member("abcdefghijklm.16", "", 300).member("abcdefghijklmn.17", "x", 400));
}

std::string names_around_16_cut() {
    return B(B::ORIGINAL).member("abcdefghijk.14", "odd", 100).member("abcdefghijkl.15", "even", 200)
        .member("abcdefghijklm.1", "", 300).member("abcdefghijklmn.", "x", 400).bytes();
}

TEST(EditEndToEnd, RewritesEveryFormAsAsked) {
    const std::string posix = names_around_16(B::POSIX).bytes(), nu = names_around_16(B::NU_LONG_NAME).bytes();
    const std::string cut_posix = B().member("abcdefghijk.14", "odd", 100).member("abcdefghijkl.15", "even", 200)
                                      .member("abcdefghijklm.1", "", 300).member("abcdefghijklmn.", "x", 400).bytes();
    const struct {
        std::string from;
        const char* key;
        std::string to;
    } cases[] = {
        {posix, "rq0", names_around_16_cut()}, {posix, "rq1", nu}, {nu, "rq2", posix},
        {posix, "rq", posix}, {nu, "rq", nu},
        {names_around_16_cut(), "rq", cut_posix},   // no table: POSIX unless asked
        {B(B::NU_LONG_NAME).member("a.o", "1", 1).member("exactly15chars_", "22", 2).bytes(), "rq1",
         B(B::ORIGINAL).member("a.o", "1", 1).member("exactly15chars_", "22", 2).bytes()},   // no long name, no table
    };
    for (const auto& c : cases)
        run_case({c.key, {{"lib.a", c.from}}, {c.key, "lib.a"}, "", "", 0, {{"lib.a", c.to}}});
}

// One line of a listing.
std::string line(long size, const char* date, const std::string& name) {
    char text[200];
    snprintf(text, sizeof text, "  %8ld   %s    ", size, date);
    return text + name + "\n";
}

TEST(ListingEndToEnd, EveryFormAndOddHeaders) {
    const std::string table = "abcdefghij/\nlong_name_at_twelve.o/\n";
    const std::string posix_table = "!<arch>\n" + B::header("//", "", "", table.size()) + B::padded(table);
    const std::string long_table = "a_rather_long_member.o/\n";
    const char* epoch = "Thu Jan  1 00:00:00 1970";
    const std::string around_16 = line(3, "Thu Jan  1 00:01:40 1970", "abcdefghijk.14") +
                                  line(4, "Thu Jan  1 00:03:20 1970", "abcdefghijkl.15");
    const std::string forms_16_17 = line(0, "Thu Jan  1 00:05:00 1970", "abcdefghijklm.16") +
                                    line(1, "Thu Jan  1 00:06:40 1970", "abcdefghijklmn.17");
    const std::string cut_16_17 = line(0, "Thu Jan  1 00:05:00 1970", "abcdefghijklm.1") +
                                  line(1, "Thu Jan  1 00:06:40 1970", "abcdefghijklmn.");
    const struct {
        const char* what;
        std::string bytes;
        std::vector<std::string> files;
        std::string listing;
    } cases[] = {
        {"original", names_around_16(B::ORIGINAL).bytes(), {}, around_16 + cut_16_17},
        {"NU", names_around_16(B::NU_LONG_NAME).bytes(), {}, around_16 + forms_16_17},
        {"POSIX after an index", names_around_16(B::POSIX).index({{"f", 0}}, false).bytes(), {}, around_16 + forms_16_17},
        {"magic only", "!<arch>\n", {}, ""},
        {"selected by base name", B().member("a.o", "1").member("b.o", "22").member("c.o", "333").bytes(),
         {"c.o", "nowhere/a.o", "x.o", "c.o"},
         line(1, epoch, "a.o") + line(3, epoch, "c.o")},
        {"largest size and last date", B().member("big.o", "x", 2147483647).field(B::SIZE, "99999999").bytes(), {},
         line(99999999, "Tue Jan 19 03:14:07 2038", "big.o")},
        {"negative date", B().member("old.o", "", -86400).bytes(), {}, line(0, "Wed Dec 31 00:00:00 1969", "old.o")},
        {"dates held to 32 bits", B().member("a.o", "").field(B::DATE, "99999999999").member("b.o", "")
             .field(B::DATE, "-99999999999").member("c.o", "").field(B::DATE, std::string("1\0" "2", 3)).bytes(), {},
         line(0, "Tue Jan 19 03:14:07 2038", "a.o") + line(0, "Fri Dec 13 20:45:52 1901", "b.o") +
             line(0, "Thu Jan  1 00:00:01 1970", "c.o")},
        {"slash digits", posix_table + B::header("/12", "0", "0", 3) + "abc\n", {}, line(3, epoch, "long_name_at_twelve.o")},
        {"slash zero", posix_table + B::header("/0", "0", "0", 3) + "abc\n", {}, line(3, epoch, "abcdefghij")},
        {"slash non-digits", posix_table + B::header("/1x", "0", "0", 3) + "abc\n", {}, line(3, epoch, "/1x")},
        {"offset inside the table", posix_table + B::header("/34", "0", "0", 3) + "abc\n", {}, line(3, epoch, "")},
        {"special members need no date", "!<arch>\n" + B::header("/", "", "", 4) + std::string(4, '\0') +
             B::header("//", "", "", long_table.size()) + long_table + B::header("/0", "7", "0", 1) + "z\n", {},
         line(1, "Thu Jan  1 00:00:07 1970", "a_rather_long_member.o")},
        {"blank name field", B().member("x", "abc").field(B::NAME, "").bytes(), {}, line(3, epoch, "")},
        {"empty name table", "!<arch>\n" + B::header("//", "0", "0", 0) + B().member("a.o", "abc").bytes().substr(8), {},
         line(3, epoch, "a.o")},
        {"mode and gid ignored, number ends early",
         B().member("a.o", "abc").field(B::MODE, "").field(B::GID, "zz").field(B::DATE, " \t+7x").bytes(), {},
         line(3, "Thu Jan  1 00:00:07 1970", "a.o")},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args = {"t", "lib.a"};
        args.insert(args.end(), c.files.begin(), c.files.end());
        const bool missing = !c.files.empty();
        run_case({c.what, {{"lib.a", c.bytes}}, args, toc_text(c.listing),
                  missing ? "  -->  error: 'x.o' not found\n  -->  error: 'c.o' not found\n" : "", missing ? 1 : 0, {}});
    }
}

// Every command refuses a corrupt archive, and a file with bytes but no
// magic is never taken for an archive to extend; neither the archive nor
// the member file changes. An empty file is a new archive.
TEST(ListingEndToEnd, CorruptAndForeignArchivesAreRefused) {
    const std::string good = B().member("a.o", "1").bytes();
    const std::string short_header = "  -->  error: Cannot read member header: 'bad.a'\n";
    const std::string corrupt = "  -->  error: Corrupt member header: 'bad.a'\n";
    const std::string name = "  -->  error: Corrupt member name: 'bad.a'\n";
    const std::string foreign = "  -->  error: 'bad.a' is not an archive\n";
    const struct {
        const char* what;
        std::string bytes, err;
        std::vector<const char*> keys;
    } cases[] = {
        {"short header", good.substr(0, 38), short_header, {"t", "x", "d", "r", "a"}},
        {"short header after a member", good + "b.o/ 0", short_header, {"t", "x", "d", "r", "a"}},
        {"bad terminator", B().member("a.o", "1").field(B::END, "`x").bytes(), corrupt, {"t", "x", "d", "r", "a"}},
        {"blank date", B().member("a.o", "1").field(B::DATE, "").bytes(), corrupt, {"t", "r"}},
        {"blank uid", B().member("a.o", "1").field(B::UID, "").bytes(), corrupt, {"t"}},
        {"sign without digits", B().member("a.o", "1").field(B::DATE, "- 1").bytes(), corrupt, {"t"}},
        {"blank size", B().member("a.o", "1").field(B::SIZE, "").bytes(), corrupt, {"t"}},
        {"negative size", B().member("a.o", "1").field(B::SIZE, "-4").bytes(), corrupt, {"t"}},
        {"size past 32-bit offsets", B().member("a.o", "1").field(B::SIZE, "2147483600").bytes(), corrupt, {"t"}},
        {"bad second member", good + B().member("b.o", "1").field(B::DATE, "").bytes().substr(8), corrupt, {"t"}},
        {"name offset past the table", B().member("abcdefghijklmnop", "").field(B::NAME, "/18").bytes(), name,
         {"t", "x", "d", "r", "a"}},
        {"NU short name disagrees with the table",
         B(B::NU_LONG_NAME).member("a_rather_long_member.o", "abc").field(B::NAME, "a_rather_lonX/").bytes(), name, {"t"}},
        {"name table beyond the file", "!<arch>\n" + B::header("//", "0", "0", 99999999) + "abc/\n",
         "  -->  error: Cannot read name table: 'bad.a'\n", {"t"}},
        {"text", "hi\n", foreign, {"a", "r", "t"}},
        {"other magic", "!<thin>\n", foreign, {"a", "r", "t"}},
        {"magic in capitals", "!<ARCH>\n", foreign, {"r"}},
    };
    for (const auto& c : cases)
        for (const char* key : c.keys)
            run_case({std::string(c.what) + " with " + key, {{"bad.a", c.bytes}, {"a.o", "new"}}, {key, "bad.a", "a.o"},
                      "", c.err, 1, {}});
    run_case({"empty file", {{"empty.a", ""}, {"a.o", "new"}}, {"aq", "empty.a", "a.o"}, "", "", 0,
              {{"empty.a", B().member("a.o", "new", kOld).bytes()}}});
}

}  // namespace

// The symbol index of archives holding NU-COFF objects of every format
// version and byte order, alone and beside ELF objects, checked by the exact
// archive bytes against the archive builder; and archives holding damaged
// NU-COFF members, which are still rewritten with a sound index.
#include "common/elf_builder.h"
#include "common/nucoff_builder.h"
#include "front_run.h"
#include "interop/ar_image.h"

namespace {

const long kDate = 1000000000;

struct MEMBER {
    std::string name, bytes;
    std::vector<std::string> indexed;   // its global definitions, in symbol-table order
};

// Globals in a section, absolute, in a string-table name, behind a function's
// aux entry and hidden in a label's aux entry are indexed; a common block
// (undefined here), a local and a reference are not.
NUCOFF_BUILDER coff_builder(int version, NUCOFF_BUILDER::ORDER order, const std::string& tag) {
    NUCOFF_BUILDER b(version, order);
    b.section(".text", "code");
    const std::string hidden = "hidden" + tag + b.num(0, 4) + b.num(1, 2) + b.num(0, 2) + '\x02' + '\0';
    b.symbol("local_" + tag, 0, 1, 0, 3)
        .symbol("func_" + tag, 0, 1, 0x20, 2, {b.aux({{4, 0}, {4, 4}})})
        .symbol("common_" + tag, 16, 0, 0, 2)
        .symbol("abs_" + tag, 5, -1, 0, 2)
        .symbol("label", 0, 1, 0, 6, {hidden})
        .symbol("a_long_global_name_" + tag, 2, 1, 0, 2)
        .symbol("ref_" + tag, 0, 0, 0, 5);
    return b;
}

MEMBER coff_member(int version, NUCOFF_BUILDER::ORDER order) {
    const std::string tag = std::to_string(version) + (order == NUCOFF_BUILDER::BIG ? "b" : "l");
    return {"coff_v" + tag + ".o", coff_builder(version, order, tag).bytes(),
            {"func_" + tag, "abs_" + tag, "hidden" + tag, "a_long_global_name_" + tag}};
}

MEMBER elf_member(ELF_BUILDER::ORDER order) {
    const std::string tag = order == ELF_BUILDER::BIG ? "big" : "little";
    ELF_BUILDER b(order);
    b.section(".text", 1, "code");
    b.symbol("elf_local_" + tag, 0, 2, 1).symbol("elf_global_" + tag, 1, 2, 1).symbol("elf_weak_" + tag, 2, 1, 1);
    return {"an_elf_object_" + tag + ".o", b.bytes(), {"elf_global_" + tag, "elf_weak_" + tag}};
}

// The archive arwren must write for these members in this form, and the
// lines that s prints.
std::pair<std::string, std::string> expected(const std::vector<MEMBER>& members, ARCHIVE_BUILDER::FORM form) {
    ARCHIVE_BUILDER archive(form);
    std::vector<std::pair<std::string, size_t>> entries;
    std::string printed;
    for (size_t i = 0; i < members.size(); ++i) {
        archive.member(members[i].name, members[i].bytes, kDate);
        for (const std::string& name : members[i].indexed) {
            entries.emplace_back(name, i);
            printed += "  ==>  symbol defined: '" + name + "'\n";
        }
    }
    return {archive.index(entries).bytes(), printed};
}

TEST(NucoffIndexEndToEnd, EveryVersionAndByteOrderInEveryArchiveForm) {
    std::vector<MEMBER> coff, mixed;
    for (int version : {0, 1, 2})
        for (NUCOFF_BUILDER::ORDER order : {NUCOFF_BUILDER::LITTLE, NUCOFF_BUILDER::BIG})
            coff.push_back(coff_member(version, order));
    mixed = {elf_member(ELF_BUILDER::BIG), coff[0], coff[5], elf_member(ELF_BUILDER::LITTLE), coff[2]};
    const struct {
        const char* digit;
        ARCHIVE_BUILDER::FORM form;
    } forms[] = {
        {"0", ARCHIVE_BUILDER::ORIGINAL}, {"1", ARCHIVE_BUILDER::NU_LONG_NAME}, {"2", ARCHIVE_BUILDER::POSIX}};
    for (const auto& f : forms) {
        for (const std::vector<MEMBER>* members : {&coff, &mixed}) {
            SCOPED_TRACE(std::string("form ") + f.digit + (members == &coff ? " NU-COFF" : " mixed"));
            SCRATCH_DIR dir;
            std::vector<std::string> args = {std::string("aqs") + f.digit, "lib.a"};
            for (const MEMBER& m : *members) {
                dir.write(m.name, m.bytes, kDate);
                args.push_back(m.name);
            }
            const auto want = expected(*members, f.form);
            expect_run(dir, args, want.second, "", 0);
            EXPECT_TRUE(dir.read("lib.a") == want.first);
        }
    }
}

// Whatever a damaged member holds, rewriting the archive ends cleanly with a
// well-formed archive whose index holds every intact member's definitions,
// each pointing at its member's header.
TEST(NucoffIndexEndToEnd, DamagedMembersLeaveTheIntactOnesIndexed) {
    const MEMBER before = coff_member(1, NUCOFF_BUILDER::BIG), after = coff_member(2, NUCOFF_BUILDER::LITTLE);
    INDEX_PAIRS want;
    for (const MEMBER* m : {&before, &after})
        for (const std::string& name : m->indexed)
            want.emplace_back(name, m->name);
    const NUCOFF_BUILDER b = coff_builder(0, NUCOFF_BUILDER::LITTLE, "d");
    const std::string intact = b.bytes();
    const size_t symbols = b.symbol_table_offset();   // 9 entries, 2 of them aux
    auto patch = [&](size_t at, uint32_t value, int width) {
        return std::string(intact).replace(at, width, b.num(value, width));
    };
    for (const std::string& damaged : {intact.substr(0, 12), patch(2, 0xFFFF, 2), patch(12, 0x7FFFFFFF, 4),
                                       patch(8, 0xFFFFFF00, 4), patch(symbols + 18 * 8 + 17, 0xFF, 1),
                                       patch(symbols + 18 * 7 + 4, 0x7FFFFFFF, 4),
                                       patch(b.string_table_offset(), 0xFFFFFFF0, 4),
                                       intact.substr(0, symbols + 59)}) {
        SCOPED_TRACE(damaged.size());
        SCRATCH_DIR dir;
        dir.write("lib.a", ARCHIVE_BUILDER()
                               .member(before.name, before.bytes, kDate)
                               .member("damaged.o", damaged, kDate)
                               .member(after.name, after.bytes, kDate)
                               .bytes());
        dir.write("new.txt", "text");
        expect_run(dir, {"rq", "lib.a", "new.txt"}, "", "", 0);
        AR_IMAGE image;
        ASSERT_TRUE(image.parse(dir.read("lib.a"))) << image.error;
        EXPECT_EQ(image.member_names(), (std::vector<std::string>{before.name, "damaged.o", after.name, "new.txt"}));
        INDEX_PAIRS intact_entries;
        for (const auto& entry : image.index_by_member()) {
            EXPECT_EQ(entry.second.find("<bad offset"), std::string::npos);
            if (entry.second != "damaged.o")
                intact_entries.push_back(entry);
        }
        EXPECT_EQ(intact_entries, want);
    }
}

}  // namespace

// The symbol index written on every rewrite and printed by the s option:
// real objects, ELF objects of both byte orders with every kind of symbol,
// NU-COFF objects of every format version and byte order in every archive
// form, checked by the exact archive bytes; and its size limit.
#include "common/elf_builder.h"
#include "common/nucoff_builder.h"
#include "e2e_run.h"

namespace {

std::string defined(const std::vector<std::string>& names) {
    std::string lines;
    for (const std::string& name : names)
        lines += "  ==>  symbol defined: '" + name + "'\n";
    return lines;
}

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

// Globals and weaks that are defined, absolute or common are indexed,
// nameless and duplicate ones included; locals and references are not.
MEMBER elf_member(ELF_BUILDER::ORDER order) {
    const std::string tag = order == ELF_BUILDER::BIG ? "big" : "little", huge(5000, 'T');
    ELF_BUILDER b(order);
    const uint16_t text = uint16_t(b.section(".text", 1, "code"));
    b.symbol("", 0, 3, text).symbol("local_" + tag, 0, 2, text).symbol("global_" + tag, 1, 2, text)
        .symbol("undefined_" + tag, 1, 0, 0).symbol("weak_" + tag, 2, 1, text).symbol("abs_" + tag, 1, 0, 0xfff1)
        .symbol("common_" + tag, 1, 1, 0xfff2, 4, 8).symbol("weak_common_" + tag, 2, 1, 0xfff2, 4, 8)
        .symbol("", 1, 2, text).symbol("shared", 1, 2, text).symbol(huge + tag, 1, 2, text);
    return {"an_elf_object_" + tag + ".o", b.bytes(),
            {"global_" + tag, "weak_" + tag, "abs_" + tag, "common_" + tag, "weak_common_" + tag, "", "shared",
             huge + tag}};
}

TEST(IndexEndToEnd, EveryObjectFormatAndByteOrderInEveryArchiveForm) {
    std::vector<MEMBER> coff, mixed;
    for (int version : {0, 1, 2})
        for (NUCOFF_BUILDER::ORDER order : {NUCOFF_BUILDER::LITTLE, NUCOFF_BUILDER::BIG})
            coff.push_back(coff_member(version, order));
    mixed = {elf_member(ELF_BUILDER::BIG), coff[0], {"notes.txt", "odd", {}}, coff[5],
             elf_member(ELF_BUILDER::LITTLE), coff[2]};
    const struct {
        const char* digit;
        ARCHIVE_BUILDER::FORM form;
    } forms[] = {{"0", ARCHIVE_BUILDER::ORIGINAL}, {"1", ARCHIVE_BUILDER::NU_LONG_NAME}, {"2", ARCHIVE_BUILDER::POSIX}};
    for (const auto& f : forms) {
        for (const std::vector<MEMBER>* members : {&coff, &mixed}) {
            E2E_CASE c{std::string("form ") + f.digit + (members == &coff ? " NU-COFF" : " mixed"), {},
                       {std::string("aqs") + f.digit, "lib.a"}, "", "", 0, {}};
            ARCHIVE_BUILDER archive(f.form);
            std::vector<std::pair<std::string, size_t>> entries;
            for (const MEMBER& m : *members) {
                c.files.push_back({m.name, m.bytes});
                c.args.push_back(m.name);
                archive.member(m.name, m.bytes, kOld);
                for (const std::string& name : m.indexed)
                    entries.emplace_back(name, &m - members->data());
                c.out += defined(m.indexed);
            }
            c.after = {{"lib.a", archive.index(entries).bytes()}};
            run_case(c);
        }
    }
}

// An object file added to an archive smaller than itself is read whole.
TEST(IndexEndToEnd, MemberFileLargerThanTheArchive) {
    const MEMBER elf = elf_member(ELF_BUILDER::LITTLE);
    const std::string lib = ARCHIVE_BUILDER().member("a.txt", "aaa", kOld).bytes();
    ARCHIVE_BUILDER after;
    std::vector<std::pair<std::string, size_t>> entries;
    for (const std::string& name : elf.indexed)
        entries.emplace_back(name, 1);
    after.member("a.txt", "aaa", kOld).member(elf.name, elf.bytes, kOld).index(entries);
    run_case({"larger", {{"lib.a", lib}, {elf.name, elf.bytes}}, {"rqs", "lib.a", elf.name}, defined(elf.indexed), "", 0,
              {{"lib.a", after.bytes()}}});
}

}  // namespace

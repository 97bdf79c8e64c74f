// Writes seed inputs for every fuzz target from the test builders: archives
// in the three name forms with an index and long names, ELF objects of both
// byte orders and every family's machine number with each kind of symbol
// and section layout the loader handles, and command files with every
// grammar rule. Object files named on the command line (real library
// members) are added as object seeds and as members of archive seeds.
//
//     fuzz_seeds OUTDIR [object.o ...]
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "common/archive_builder.h"
#include "common/elf_builder.h"

namespace {

using B = ARCHIVE_BUILDER;
enum : unsigned { LOCAL = 0, GLOBAL = 1, WEAK = 2 };
enum : unsigned { NOTYPE = 0, OBJECT = 1, FUNC = 2, SECTION = 3 };
constexpr uint16_t UNDEF = 0, ABS = 0xfff1, COMMON = 0xfff2, SMALL_COMMON = 0xff00;
// ARM and the maker's families.
const uint16_t kMachines[] = {40, 0xA1B0, 0xA1B1, 0xA1B2, 0xA1B3, 0xA1B4, 0xA1B5};

std::string out_dir;

void put(const std::string& target, const std::string& name, const std::string& bytes) {
    std::filesystem::create_directories(out_dir + "/" + target);
    std::ofstream(out_dir + "/" + target + "/" + name, std::ios::binary) << bytes;
}

std::string every_symbol_kind(ELF_BUILDER::ORDER order, uint16_t machine) {
    ELF_BUILDER elf(order, machine);
    const unsigned text = elf.section(".text", 1, std::string(16, '\x01'));
    elf.section(".bss", 8, "");
    elf.symbol("", LOCAL, SECTION, uint16_t(text))
        .symbol("local_fn", LOCAL, FUNC, uint16_t(text))
        .symbol("global_fn", GLOBAL, FUNC, uint16_t(text), 0, 4)
        .symbol("undefined_ref", GLOBAL, NOTYPE, UNDEF)
        .symbol("weak_fn", WEAK, FUNC, uint16_t(text), 4, 4)
        .symbol("absolute", GLOBAL, NOTYPE, ABS, 0x1234)
        .symbol("common_block", GLOBAL, OBJECT, COMMON, 4, 8)
        .symbol("small_common", GLOBAL, OBJECT, SMALL_COMMON, 4, 8)
        .symbol("unique", 10, OBJECT, uint16_t(text))
        .symbol("", GLOBAL, FUNC, uint16_t(text), 8);
    return elf.bytes();
}

void object_seeds(std::vector<std::string>& objects) {
    for (ELF_BUILDER::ORDER order : {ELF_BUILDER::LITTLE, ELF_BUILDER::BIG}) {
        const std::string o = order == ELF_BUILDER::LITTLE ? "le" : "be";
        for (uint16_t machine : kMachines)
            objects.push_back(every_symbol_kind(order, machine));
        ELF_BUILDER extended(order);
        const unsigned data = extended.section(".data", 1, "abcd");
        extended.symbol("far", GLOBAL, OBJECT, ELF_BUILDER::XINDEX, 0, 4, data).extended_numbering();
        objects.push_back(extended.bytes());
        ELF_BUILDER no_table(order);
        no_table.symbol("far", GLOBAL, OBJECT, ELF_BUILDER::XINDEX, 0, 4, 1).without_shndx_table();
        objects.push_back(no_table.bytes());
        ELF_BUILDER unlinked(order);
        unlinked.symbol("by_name", GLOBAL, FUNC, ABS).strtab_linked(false);
        objects.push_back(unlinked.bytes());
        ELF_BUILDER no_strings(order);
        no_strings.symbol("lost", GLOBAL, FUNC, ABS).without_strtab();
        objects.push_back(no_strings.bytes());
        ELF_BUILDER renamed(order);
        renamed.symbol("hidden", GLOBAL, FUNC, ABS).symtab_name(".dynsym");
        objects.push_back(renamed.bytes());
        ELF_BUILDER bare(order);
        bare.without_sections();
        objects.push_back(bare.bytes());
    }
    ELF_BUILDER odd_data;
    odd_data.symbol("x", GLOBAL, FUNC, ABS).ident(5, 0);
    objects.push_back(odd_data.bytes());
    // First bytes of each COFF version and byte order, and the ends of the
    // version-0 target range.
    for (const char* head : {"\xc2\x00", "\x00\xc2", "\xc1\x00", "\x00\xc1", "\x90\x00", "\x00\xa3",
                             "\x9c\x00", "\x00\x9e"}) {
        std::string coff(head, 2);
        coff.resize(64, '\0');
        objects.push_back(coff);
    }
    for (size_t i = 0; i < objects.size(); ++i)
        put("object_file", "builder_" + std::to_string(i), objects[i]);
}

void put_archive(const std::string& name, const std::string& archive,
                 std::initializer_list<unsigned> controls) {
    put("archive_reader", name, archive);
    for (unsigned control : controls)
        put("rewrite", name + "_" + std::to_string(control), std::string(1, char(control)) + archive);
}

// Builder archives are rewritten in each format, with and without the
// edits; the real members once.
void archive_seeds(const std::vector<std::string>& objects, const std::vector<std::string>& real) {
    std::vector<std::string> archives;
    for (B::FORM form : {B::ORIGINAL, B::NU_LONG_NAME, B::POSIX}) {
        B with_index(form);
        with_index.member("a.o", objects[0], 1000)
            .member("a_long_member_name.o", objects[7], 2000)
            .member("odd.txt", "odd", 3000)
            .member("empty", "")
            .member("exactly15chars_", "22")
            .index({{"global_fn", 0}, {"weak_fn", 0}, {"far", 1}});
        archives.push_back(with_index.bytes());
        B unpadded(form);
        unpadded.member("another_long_name.o", objects[1]).index({{"x", 0}}, false);
        archives.push_back(unpadded.bytes());
    }
    archives.push_back("!<arch>\n");
    for (size_t i = 0; i < archives.size(); ++i)
        put_archive("builder_" + std::to_string(i), archives[i], {0u, 1u, 2u, 3u, 4u | 3u, 8u | 2u});
    if (!real.empty()) {
        B library;
        for (size_t i = 0; i < real.size(); ++i)
            library.member("libc_member_" + std::to_string(i) + ".o", real[i]);
        put_archive("real_members", library.bytes(), {3u});
    }
}

void command_file_seeds() {
    const char* texts[] = {
        "t lib.a \"b c.o\"\n",
        "/* key */ t /* archive */\nlib.a a/*joined*/.o ; end\n",
        "rv lib.a -v a.o\n# comment\nb.o\n",
        "a lib \"my file.txt\" \"a\\\"b\" a\\\\b c\\n\n",
        "x lib.a -x#1 -# a#b\nc\n",
        "ab;c\ncd\n ef",
        "t lib.a /* open",
        "t lib.a \"open\tquote\n",
    };
    for (size_t i = 0; i < sizeof texts / sizeof texts[0]; ++i)
        put("cmdfile", "builder_" + std::to_string(i), texts[i]);
}

std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: %s OUTDIR [object.o ...]\n", argv[0]);
        return 1;
    }
    out_dir = argv[1];
    std::vector<std::string> objects, real;
    object_seeds(objects);
    for (int i = 2; i < argc; ++i) {
        real.push_back(read_file(argv[i]));
        put("object_file", "real_" + std::filesystem::path(argv[i]).filename().string(), real.back());
    }
    archive_seeds(objects, real);
    command_file_seeds();
    return 0;
}

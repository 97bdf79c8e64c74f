#include "ofe/elf/elf_file.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ofe/elf/elf_test_env.h"
#include "ofe/elf/elf_section.h"
#include "ofe/elf/elf_section_table.h"
#include "ofe/of_symbol_table.h"
#include "support/fhm_file.h"

using namespace OFE;

namespace {

class ElfFileTest : public ElfTestEnv, public testing::TestWithParam<ELF_BUILDER::ORDER> {
protected:
    ELF_BUILDER builder() const { return ELF_BUILDER(GetParam()); }
    OF_ENDIAN endian() const { return GetParam() == ELF_BUILDER::BIG ? OF_ENDIAN_BIG : OF_ENDIAN_LITTLE; }
};

INSTANTIATE_TEST_SUITE_P(BothByteOrders, ElfFileTest,
                         testing::Values(ELF_BUILDER::LITTLE, ELF_BUILDER::BIG),
                         [](const testing::TestParamInfo<ELF_BUILDER::ORDER>& info) {
                             return std::string(info.param == ELF_BUILDER::BIG ? "Big" : "Little");
                         });

// After loading, the header is in host order whatever the file's order, and
// the identification bytes are as in the file.
TEST_P(ElfFileTest, HeaderInHostOrder) {
    ELF_BUILDER b = builder();
    b.section(".text", 1, "code");
    auto file = open(b);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->machine_endian(), endian());
    EXPECT_EQ(file->header().e_ident[5], GetParam());
    EXPECT_EQ(file->header().e_machine, 40);
    EXPECT_EQ(file->header().e_shentsize, 40);
    EXPECT_EQ(file->header().e_shnum, 5);   // null, .text, .symtab, .strtab, .shstrtab
    EXPECT_EQ(file->file_type(), OF_FILE_TYPE_RELOCATABLE);
    EXPECT_EQ(file->machine(), OF_MACHINE_ARM);
    OF_SECTION_TABLE* sections = file->section_table();
    ASSERT_EQ(sections->scnnum(), 5u);
    EXPECT_STREQ(sections->section(1)->name(), ".text");
    EXPECT_EQ(sections->section(1)->size(), 4u);
    EXPECT_STREQ(sections->section(4)->name(), ".shstrtab");
    EXPECT_EQ(sections->section(0)->name(), std::string());
    EXPECT_EQ(sections->section(5), nullptr);
    EXPECT_TRUE(ERROR_LOG::calls().empty());
}

TEST_P(ElfFileTest, NoSectionsMeansNoSymbols) {
    auto file = open(builder().without_sections());
    ASSERT_TRUE(file);
    EXPECT_EQ(file->section_table()->scnnum(), 0u);
    OF_SYMBOL_TABLE* symbols = file->symbol_table();
    ASSERT_NE(symbols, nullptr);
    EXPECT_EQ(symbols->symnum(), 0u);
    EXPECT_EQ(symbols->symbol(0), nullptr);
    file->section_table()->load_all_sections_into_mem();
    EXPECT_TRUE(file->section_table()->all_sections_loaded());
    EXPECT_TRUE(ERROR_LOG::calls().empty());
}

// e_shnum 0 with e_shoff set: the count is section 0's sh_size, and
// e_shstrndx SHN_XINDEX names the string table through section 0's sh_link.
TEST_P(ElfFileTest, ExtendedSectionNumbering) {
    ELF_BUILDER b = builder();
    b.section(".data", 1, "dddd");
    b.symbol("d", STB_GLOBAL, 1, 1);
    auto file = open(b.extended_numbering());
    ASSERT_TRUE(file);
    EXPECT_EQ(file->header().e_shnum, 0);
    EXPECT_EQ(file->header().e_shstrndx, SHN_XINDEX);
    EXPECT_EQ(file->section_table()->scnnum(), 5u);
    EXPECT_STREQ(file->section_table()->section(1)->name(), ".data");
    OF_SYMBOL_TABLE* symbols = file->symbol_table();
    ASSERT_EQ(symbols->symnum(), 2u);
    EXPECT_STREQ(symbols->symbol(1)->name(), "d");
}

// An object inside an archive is read at its member offset; the offsets in
// its headers count from the member's first byte.
TEST_P(ElfFileTest, MemberInsideArchive) {
    ELF_BUILDER b = builder();
    b.section(".text", 1, "code");
    b.symbol("member_function", STB_GLOBAL, 2, 1);
    const std::string object = b.bytes();
    const std::string archive = std::string(68, 'A') + object + std::string(16, 'Z');
    FHM_FILE* input = fhm_open(dir_.write("lib.a", archive).c_str(), "rb");
    ASSERT_NE(input, nullptr);
    fseek(input->fp(), 68, SEEK_SET);
    std::unique_ptr<OBJECT_FILE> file(OBJECT_FILE::new_OBJECT_FILE(input, object.size(), nullptr, nullptr));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->handle().offset, 68u);
    OF_SYMBOL_TABLE* symbols = file->symbol_table();
    ASSERT_EQ(symbols->symnum(), 2u);
    EXPECT_STREQ(symbols->symbol(1)->name(), "member_function");
    EXPECT_EQ(symbols->symbol(1)->kind(), OF_SYM_KIND_DEFINED);
    EXPECT_EQ(ftell(input->fp()), 68);   // loading leaves the shared stream in place
    file.reset();
    fhm_close(input);
}

// Broken headers never read outside the object nor size tables by
// untrusted counts.
TEST_P(ElfFileTest, TruncatedAndCorruptHeaders) {
    ELF_BUILDER b = builder();
    b.section(".text", 1, "code");
    b.symbol("f", STB_GLOBAL, 2, 1);
    const std::string whole = b.bytes();
    {
        SCOPED_TRACE("header cut short");
        auto file = open_bytes(whole.substr(0, 40));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->section_table()->scnnum(), 0u);
        EXPECT_EQ(file->symbol_table()->symnum(), 0u);
    }
    {
        SCOPED_TRACE("section headers cut short");
        auto file = open_bytes(whole.substr(0, whole.size() - 60));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->section_table()->scnnum(), 3u);
        EXPECT_EQ(file->error_code(), OF_ERR_CORRUPT);
    }
    {
        SCOPED_TRACE("huge extended count");
        std::string bytes = b.extended_numbering().bytes();
        const size_t size_field = bytes.size() - 5 * 40 + 20;   // sh_size of header 0
        bytes.replace(size_field, 4, "\xff\xff\xff\xff", 4);
        auto file = open_bytes(bytes);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->section_table()->scnnum(), 5u);
        EXPECT_EQ(file->error_code(), OF_ERR_CORRUPT);
    }
}

TEST_P(ElfFileTest, SymbolTableIsFoundByName) {
    ELF_BUILDER other = builder();
    other.section(".text", 1, "code");
    other.symbol("f", STB_GLOBAL, 2, 1);
    auto file = open(other.symtab_name(".mysyms"));
    ASSERT_TRUE(file);
    OF_SYMBOL_TABLE* symbols = file->symbol_table();
    ASSERT_NE(symbols, nullptr);
    EXPECT_EQ(symbols->symnum(), 0u);
    EXPECT_EQ(file->symbol_table(), symbols);
    EXPECT_TRUE(ERROR_LOG::calls().empty());
}

TEST_P(ElfFileTest, StringTableByLinkOrByName) {
    ELF_BUILDER unlinked = builder();
    unlinked.section(".text", 1, "code");
    unlinked.symbol("by_name", STB_GLOBAL, 2, 1);
    auto file = open(unlinked.strtab_linked(false));
    ASSERT_TRUE(file);
    EXPECT_STREQ(file->symbol_table()->symbol(1)->name(), "by_name");
    EXPECT_TRUE(ERROR_LOG::calls().empty());

    ELF_BUILDER missing = builder();
    missing.symbol("lost", STB_GLOBAL, 2, SHN_ABS);
    auto nameless = open(missing.without_strtab(), "n.o");
    ASSERT_TRUE(nameless);
    OF_SYMBOL* symbol = nameless->symbol_table()->symbol(1);
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(symbol->name(), nullptr);
    EXPECT_EQ(symbol->kind(), OF_SYM_KIND_ABSOLUTE);
    ASSERT_FALSE(ERROR_LOG::calls().empty());
    EXPECT_EQ(ERROR_LOG::calls()[0].first, OF_ERR_INTERNAL);
    EXPECT_EQ(ERROR_LOG::calls()[0].second, "string table for symbol table \".symtab\" not found");
}

// Sections of a 16-bit-word family count their units in two bytes.
TEST_P(ElfFileTest, SectionUnitSizeComesFromTheFamily) {
    ELF_BUILDER wren(GetParam(), OBJECT_FILE::OF_MACHINE_to_ELF(OF_MACHINE_WREN));
    wren.section(".text", 1, "code");
    auto file = open(wren);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->machine(), OF_MACHINE_WREN);
    EXPECT_EQ(file->section_table()->section(1)->unit_size(), 2u);
    auto arm = open(builder(), "arm.o");
    EXPECT_EQ(arm->section_table()->section(0)->unit_size(), 1u);
}

TEST(ElfFileInterface, NonElfHandleHasNoTables) {
    OF_FILE_HANDLE handle;
    handle.format = OF_FORMAT_NUCOFF;
    ELF_FILE file(handle);
    EXPECT_EQ(file.section_table(), nullptr);
    EXPECT_EQ(file.symbol_table(), nullptr);
    EXPECT_EQ(file.error_code(), OF_ERR_CORRUPT);
    EXPECT_STREQ(file.error_message(), "attempting to get ELF interface for non-ELF file");
}

}  // namespace

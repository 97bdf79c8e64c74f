// What only the library's callers see of a read archive: the stored index,
// read on request, and members found by name, recognised and read in place.
// The front end's tests show everything else a read gives.

#include "archive_test_env.h"
#include "common/elf_builder.h"
#include "support/fhm_file.h"
#include "support/file_handle_manager.h"

namespace {

using B = ARCHIVE_BUILDER;
using ENTRIES = std::vector<std::pair<std::string, int32_t>>;

class ArchiveRead : public ARCHIVE_TEST {
protected:
    ENTRIES index_of(const std::string& bytes, bool ok = true) {
        write("lib.a", bytes);
        ar_.reset(new AR_FILE(path("lib.a").c_str(), nullptr, record_error));
        EXPECT_EQ(ar_->read_headers(true), ok);
        ar_->create_toc();
        ENTRIES got;
        for (AR_SYMBOL* s = ar_->first_symbol(); s != nullptr; s = s->next)
            got.push_back({s->name, s->offset});
        EXPECT_EQ(ar_->symbol_count(), int32_t(got.size()));
        return got;
    }

    std::unique_ptr<AR_FILE> ar_;
};

// Both ways of padding an odd index are read, offsets past 64 KiB too;
// names cut short or missing stay inside the data; an index claiming more
// entries than it holds is refused.
TEST_F(ArchiveRead, ReadsTheStoredIndexOnRequest) {
    for (bool pad_counted : {true, false}) {
        B b;
        b.member("a.o", std::string(70001, 'a')).member("b.o", "defg")
            .index({{"alpha", 0}, {"beta", 1}, {"gamma", 1}}, pad_counted);
        const int32_t a = int32_t(b.header_offset(0)), second = int32_t(b.header_offset(1));
        EXPECT_EQ(index_of(b.bytes()), (ENTRIES{{"alpha", a}, {"beta", second}, {"gamma", second}}));
        EXPECT_EQ(ar_->first_member()->next->data_offset, second + 60);
    }
    // The index read is not the one written: text members have none.
    ASSERT_TRUE(ar_->write_archive(AR_ABI_KEEP));
    EXPECT_EQ(ar_->first_symbol(), nullptr);
    const std::string cut = std::string("\0\0\0\3", 4) + std::string(12, '\0') + "ab";
    EXPECT_EQ(index_of("!<arch>\n" + B::header("/", "0", "0", cut.size()) + cut), (ENTRIES{{"ab", 0}, {"", 0}, {"", 0}}));
    const std::string nameless = std::string("\0\0\0\2", 4) + std::string(8, '\0');
    EXPECT_EQ(index_of("!<arch>\n" + B::header("/", "0", "0", nameless.size()) + nameless), (ENTRIES{{"", 0}, {"", 0}}));
    EXPECT_EQ(index_of(B().member("a.o", "abc").index({{"f", 0}}).bytes()), (ENTRIES{{"f", 8 + 60 + 10}}));
    EXPECT_TRUE(recorded_errors().empty());
    const std::string huge = std::string("\x7f\0\0\0", 4) + std::string(8, '\0');
    EXPECT_EQ(index_of("!<arch>\n" + B::header("/", "0", "0", huge.size()) + huge, false), ENTRIES{});
    EXPECT_EQ(recorded_errors(), (ERRORS{{1, "Cannot read symbol table: '" + path("lib.a") + "'"}}));
    index_of(B().member("a.o", "abc").field(B::DATE, "").index({{"f", 0}}).bytes(), false);   // a bad header after it
}

// Members are read through the archive's own stream in any order, or from
// their own files; only the object is recognised as one; every file opened
// is closed again.
TEST_F(ArchiveRead, MembersAreFoundRecognisedAndReadInPlace) {
    ELF_BUILDER elf;
    elf.symbol("f", 1, 2, 0xfff1);
    const std::string object = elf.bytes(), text(700, 't');
    const int handles = FILE_HANDLE_MANAGER::instance()->handle_count();
    index_of(B().member("a.o", "abcde").member("obj.o", object).member("t.txt", text).bytes());
    add_file(*ar_, "new.o", "from a file", "new.o");
    AR_MEMBER *a = ar_->find_member("a.o"), *obj = ar_->find_member("obj.o");
    ASSERT_TRUE(a != nullptr && obj != nullptr);
    EXPECT_EQ(ar_->find_member("b.o"), nullptr);
    EXPECT_EQ(ar_->member_format(obj), 2);   // ELF
    EXPECT_EQ(ar_->member_format(a), 0);
    const std::pair<AR_MEMBER*, std::string> reads[] = {
        {a, "abcde"}, {obj, object}, {a, "abcde"}, {ar_->last_member()->prev, text}, {ar_->last_member(), "from a file"}};
    for (const auto& r : reads) {
        FHM_FILE* in = ar_->open_member(r.first);
        std::string bytes(r.second.size(), '\0');
        ASSERT_EQ(fread(&bytes[0], 1, bytes.size(), in->fp()), bytes.size());
        EXPECT_TRUE(bytes == r.second) << r.first->name;
        ar_->close_member(r.first, in);
    }
    EXPECT_TRUE(recorded_errors().empty());
    EXPECT_EQ(FILE_HANDLE_MANAGER::instance()->handle_count(), handles + 1);   // the archive's own
    ar_->last_member()->path[0] = '\0';
    EXPECT_EQ(ar_->open_member(ar_->last_member()), nullptr);
    EXPECT_EQ(recorded_errors(), (ERRORS{{2, "Cannot open file: ''"}}));
}

}  // namespace

// The archive reader on any bytes: member headers, names resolved through
// either long-name table, the stored symbol index and the table of contents,
// and every member's contents read back through open_member.
#include <cstring>
#include <vector>

#include "ar/lib/ar_file.h"
#include "fuzz_support.h"

namespace {

void ignore_error(AR_FILE*, AR_ERROR_CODE, const char*) {}

// Reads a member's contents as far as the file holds them.
void read_member(AR_FILE& archive, AR_MEMBER* member) {
    FHM_FILE* contents = archive.open_member(member);
    if (contents == nullptr || member->size <= 0)
        return;
    static std::vector<char> buffer(1 << 16);
    size_t want = size_t(member->size) < buffer.size() ? size_t(member->size) : buffer.size();
    FUZZ_CHECK(fread(buffer.data(), 1, want, contents->fp()) <= want);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MEMORY_FILE file;
    MESSAGE_BUDGET budget;
    FHM_FILE* handle = file.open(data, size);
    FUZZ_CHECK(handle != nullptr);
    {
        AR_FILE archive(file.path(), handle, ignore_error);
        if (archive.is_archive() && archive.read_headers(true)) {
            archive.create_toc();
            for (AR_MEMBER* m = archive.first_member(); m != nullptr; m = m->next) {
                FUZZ_CHECK(m->name != nullptr && m->size >= 0);
                FUZZ_CHECK(archive.find_member(m->name) != nullptr);
                read_member(archive, m);
            }
            int32_t count = 0;
            for (AR_SYMBOL* s = archive.first_symbol(); s != nullptr; s = s->next, ++count)
                FUZZ_CHECK(s->name != nullptr && strlen(s->name) <= size);
            FUZZ_CHECK(count == archive.symbol_count());
        }
    }
    fhm_close(handle);
    return 0;
}

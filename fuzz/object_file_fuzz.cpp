// The object-file factory on any bytes placed like an archive member (after
// a header's worth of other bytes), and a full walk of what it builds: every
// symbol reached with next_symbol_id with its name, kind and binding, then
// every section with its name and extent. Whatever back ends the factory
// knows are fuzzed through it.
#include <cstring>

#include "fuzz_support.h"
#include "ofe/object_file.h"
#include "ofe/of_section.h"
#include "ofe/of_section_table.h"
#include "ofe/of_symbol.h"
#include "ofe/of_symbol_table.h"

namespace {

using namespace OFE;

// Where the object starts in its file: after the archive magic and one header.
constexpr size_t kMemberOffset = 68;

void ignore_error(OBJECT_FILE*, OF_ERROR_CODE, const char* message) {
    FUZZ_CHECK(message != nullptr);
}

void walk_symbols(OBJECT_FILE* object) {
    OF_SYMBOL_TABLE* table = object->symbol_table();
    if (table == nullptr)
        return;
    for (unsigned long id = 0; id < table->symnum();) {
        if (OF_SYMBOL* symbol = table->symbol(id)) {
            if (const char* name = symbol->name())
                FUZZ_CHECK(strlen(name) != size_t(-1));   // terminated: the sanitizer checks each byte
            FUZZ_CHECK(OF_SYMBOL::kind_name(symbol->kind()) != nullptr);
            FUZZ_CHECK(OF_SYMBOL::binding_name(symbol->binding()) != nullptr);
            FUZZ_CHECK(OF_SYMBOL::type_name(symbol->type()) != nullptr);
            symbol->value();
            symbol->size();
            symbol->section();
        }
        unsigned long next = table->next_symbol_id(id);
        FUZZ_CHECK(next > id);   // every walk ends
        table->unload_symbol(id);
        id = next;
    }
}

void walk_sections(OBJECT_FILE* object) {
    OF_SECTION_TABLE* table = object->section_table();
    if (table == nullptr)
        return;
    for (unsigned long id = 0; id < table->scnnum(); ++id) {
        OF_SECTION* section = table->section(id);
        if (section == nullptr)
            continue;
        if (const char* name = section->name())
            FUZZ_CHECK(strlen(name) != size_t(-1));
        section->address();
        section->size();
        // Bound, not read: the contents of most sections are never needed
        // to list symbols, and reading them all would slow every input.
        FUZZ_CHECK(!section->initialized() || section->contents().size() <= object->handle().size);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MEMORY_FILE file;
    if (size == 0)
        return 0;   // a member of no bytes is never handed to the factory
    MESSAGE_BUDGET budget;
    FHM_FILE* handle = file.open(data, size, kMemberOffset);
    FUZZ_CHECK(handle != nullptr && fseek(handle->fp(), long(kMemberOffset), SEEK_SET) == 0);
    if (OBJECT_FILE* object = OBJECT_FILE::new_OBJECT_FILE(handle, size, "member.o", ignore_error)) {
        FUZZ_CHECK(object->handle().offset == kMemberOffset && object->handle().size == size);
        FUZZ_CHECK(OBJECT_FILE::format_name(object->format()) != nullptr);
        FUZZ_CHECK(OBJECT_FILE::machine_name(object->machine()) != nullptr);
        FUZZ_CHECK(OBJECT_FILE::file_type_name(object->file_type()) != nullptr);
        walk_symbols(object);
        walk_sections(object);
        delete object;
    }
    fhm_close(handle);
    return 0;
}

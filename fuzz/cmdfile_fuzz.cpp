// The command-file tokenizer on any bytes, read to the end: tokens are never
// empty and hold no NUL byte, every failure comes back as a status, and
// every call consumes input, so the reading ends.
#include <cstring>

#include "ar/cmdfile.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FILE* stream = fmemopen(const_cast<uint8_t*>(data), size, "r");
    if (stream == nullptr)
        return 0;   // fmemopen refuses an empty buffer
    for (size_t calls = 0;; ++calls) {
        FUZZ_CHECK(calls <= size);
        CMDFILE_STATUS status = CMDFILE_OK;
        char* token = cmdfile_token(stream, &status);
        if (token != nullptr) {
            FUZZ_CHECK(status == CMDFILE_OK && token[0] != '\0');
            free(token);
            continue;
        }
        if (status != CMDFILE_NUL_BYTE)
            break;
    }
    fclose(stream);
    return 0;
}

#include "ar/ar_options.h"

#include <cstring>

#include "support/file_names.h"
#include "support/safe_alloc.h"

namespace {

// The list grows by this many entries whenever it is full.
constexpr int kFileListGrowth = 100;

}  // namespace

void append_file(AR_OPTIONS* options, char* name) {
    if (options->nfiles == options->capacity) {
        options->capacity += kFileListGrowth;
        size_t bytes = sizeof(char*) * static_cast<size_t>(options->capacity);
        options->files = static_cast<char**>(saferealloc(options->files, bytes));
        options->given = static_cast<char**>(saferealloc(options->given, bytes));
    }
    options->files[options->nfiles] = name;
    options->given[options->nfiles] = name;
    options->nfiles++;
}

void set_command_line_files(AR_OPTIONS* options, char** names, int count) {
    if (count <= 0)
        return;
    size_t bytes = sizeof(char*) * static_cast<size_t>(count);
    options->given = static_cast<char**>(safemalloc(bytes));
    for (int i = 0; i < count; i++) {
        names[i] = fn_realname(names[i]);
        options->given[i] = names[i];
    }
    options->files = names;
    options->nfiles = count;
    options->capacity = count;
}

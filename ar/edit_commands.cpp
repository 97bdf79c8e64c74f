#include "ar/edit_commands.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cstdlib>

#include "ar/ar_options.h"
#include "ar/front_messages.h"
#include "ar/lib/ar_file.h"
#include "ar/member_selection.h"
#include "ar/replace_action.h"
#include "support/fhm_file.h"
#include "support/file_names.h"

namespace {

// Whether a file exists, and its modification time and size as an archive
// member records them: one status query answers all three.
struct FILE_STATUS {
    bool exists;
    int32_t date;
    int32_t size;
};

// A size beyond 32 bits is held at the largest value, so that writing
// refuses it as too large instead of storing a wrapped size. Only a file
// that is not there is missing: one whose status cannot be read ends the
// run before the archive is touched, as its contents could not be read
// either.
FILE_STATUS file_status(const char* path) {
    struct stat info;
    if (path == nullptr)
        return FILE_STATUS{false, 0, 0};
    if (stat(path, &info) != 0) {
        if (errno != ENOENT && errno != ENOTDIR)
            front_error_exit("Cannot open file: '%s'", path);
        return FILE_STATUS{false, 0, 0};
    }
    int64_t size = info.st_size;
    if (size > INT32_MAX)
        size = INT32_MAX;
    return FILE_STATUS{true, static_cast<int32_t>(info.st_mtime), static_cast<int32_t>(size)};
}

void add_one_file(AR_FILE* archive, const char* path, const FILE_STATUS& status, bool verbose) {
    if (verbose)
        front_progress("add", path);
    AR_MEMBER* member = archive->new_member(fn_basename(path), status.date, status.size, path);
    archive->add_member(member);
}

// Points a selected member at its file; clearing data_offset makes the
// contents come from the file when the archive is written. A member whose
// file is missing stays as it is, and its entry still counts as dealt with.
void replace_selected(AR_OPTIONS* options, AR_FILE* archive, AR_MEMBER* member,
                      const char* path) {
    FILE_STATUS status = file_status(path);
    REPLACE_ACTION action =
        replace_action(status.exists, status.date, member->date, options->update != 0);
    if (action != REPLACE_FROM_FILE)
        return;
    if (options->verbose)
        front_progress("replace", member->name);
    member->date = status.date;
    member->size = status.size;
    member->path = archive->zone()->strdup(path);
    member->data_offset = 0;
}

// Extracting everything writes each member under its own name in the current
// directory. A name read from the archive that holds a "/" (as "../x" can in
// the 16-character field) would write elsewhere, so it is refused.
bool escapes_current_dir(const AR_MEMBER* member, const char* path) {
    return path == member->name && strchr(path, '/') != nullptr;
}

// The member is written in a few large pieces, so the output stream needs
// no buffer of its own (sizing one would cost a status query per file). A
// file that could not be written whole is removed: left in place, it would
// pass for the member to anyone who does not see the message.
void extract_member(AR_FILE* archive, AR_MEMBER* member, const char* path, bool verbose) {
    FHM_FILE* output = escapes_current_dir(member, path) ? nullptr : fhm_open(path, "wb");
    if (output == nullptr)
        front_error_exit("cannot create '%s'", path);
    setvbuf(output->fp(), nullptr, _IONBF, 0);   // mutants: skip (speed only)
    if (verbose)
        front_progress("extract", path);
    int result = archive->copy_member(member, output);
    bool closed = fhm_close(output) == 0;
    if (result == 0 && closed)
        return;
    remove(path);
    if (result == AR_FILE_READ_ERROR)
        front_error_exit("read error");
    if (result == AR_WRITE_ERROR)
        front_error_exit("write error");
    front_error_exit("cannot write '%s'", path);
}

}  // namespace

void add_files(AR_OPTIONS* options, AR_FILE* archive) {
    if (archive->first_member() == nullptr && options->nfiles > 0 && !options->quiet)
        printf("  ==>  new archive '%s'\n", options->archive);
    for (int i = 0; i < options->nfiles; i++) {
        const char* path = options->files[i];
        FILE_STATUS status = file_status(path);
        if (!status.exists)
            continue;  // a missing file stays listed and is reported as not found
        add_one_file(archive, path, status, options->verbose != 0);
        options->files[i] = nullptr;
    }
    build_archive(archive, options);
}

void build_archive(AR_FILE* archive, AR_OPTIONS* options) {
    if (!options->quiet)
        printf("  ==>  building archive '%s'\n", options->archive);
    if (!archive->write_archive(static_cast<AR_ABI>(options->format)))
        exit(1);  // the error callback has reported it already
    warn_left_behind(archive);
    if (!options->symbols)
        return;
    // The index is listed even in quiet mode: it was asked for explicitly.
    for (AR_SYMBOL* symbol = archive->first_symbol(); symbol != nullptr; symbol = symbol->next)
        printf("  ==>  symbol defined: '%s'\n", symbol->name);
}

void warn_left_behind(const AR_FILE* archive) {
    for (int i = 0; archive->left_behind(i) != nullptr; i++)
        front_warning("temporary file left behind: '%s'", archive->left_behind(i));
}

void replace_members(AR_OPTIONS* options, AR_FILE* archive) {
    if (archive->first_member() == nullptr) {
        add_files(options, archive);
        return;
    }
    MEMBER_SELECTION selection(options);
    for (AR_MEMBER* member = archive->first_member(); member != nullptr; member = member->next) {
        const char* path = selection.select(member->name);
        if (path != nullptr)
            replace_selected(options, archive, member, path);
    }
    add_files(options, archive);
}

void delete_members(AR_OPTIONS* options, AR_FILE* archive) {
    if (options->nfiles == 0)
        return;
    MEMBER_SELECTION selection(options);
    AR_MEMBER* member = archive->first_member();
    while (member != nullptr) {
        AR_MEMBER* next = member->next;  // read before the member is unlinked
        if (selection.select(member->name) != nullptr) {
            if (options->verbose)
                front_progress("delete", member->name);
            archive->delete_member(member);
        }
        member = next;
    }
    build_archive(archive, options);
}

void extract_members(AR_OPTIONS* options, AR_FILE* archive) {
    MEMBER_SELECTION selection(options);
    for (AR_MEMBER* member = archive->first_member(); member != nullptr; member = member->next) {
        const char* path = selection.select(member->name);
        if (path != nullptr)
            extract_member(archive, member, path, options->verbose != 0);
    }
}

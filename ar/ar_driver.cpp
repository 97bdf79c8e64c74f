#include "ar/ar_driver.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include "ar/ar_options.h"
#include "ar/cmdfile.h"
#include "ar/edit_commands.h"
#include "ar/fatal_signal.h"
#include "ar/front_messages.h"
#include "ar/toc.h"
#include "support/buildid.h"
#include "support/file_names.h"

#define ARWREN_STRINGIFY2(x) #x
#define ARWREN_STRINGIFY(x) ARWREN_STRINGIFY2(x)

namespace {

constexpr int kBannerField = 40;
constexpr char kProductName[] = "WREN Archiver";
constexpr char kVersion[] = "v" ARWREN_STRINGIFY(ARWREN_VERSION_MAJOR) "."
                            ARWREN_STRINGIFY(ARWREN_VERSION_MINOR) "."
                            ARWREN_STRINGIFY(ARWREN_VERSION_PATCH);
constexpr char kReleaseSuffix[] = " release";
constexpr char kCopyright[] = "(c) Copyright 2026 arwren developers";
constexpr char kCopyrightTail[] = "MIT License";
constexpr char kProgramName[] = "arwren";
constexpr size_t kArchiveNameMax = 495;

constexpr char kFullUsage[] =
    "\n Commands : (only one may be selected)"
    "\n    a - Add file                   r - Replace file"
    "\n    x - Extract file               d - Delete file"
    "\n    t - Print table of contents\n"
    "\n Options :"
    "\n    q - Quiet mode - Normal status messages suppressed"
    "\n    u - Update with newer files (use with 'r' command)"
    "\n    s - Print symbol table contents"
    "\n    v - Verbose"
    "\n    h - This help\n"
    "\n Output format options:"
    "\n    0 - Original AR format"
    "\n    1 - NU long-name format (obsolescent)"
    "\n    2 - POSIX format (default for newly created files)\n\n";

// The run's options and archive: static so that everything they own stays
// reachable until the process exits.
AR_OPTIONS run_options;
AR_FILE* run_archive = nullptr;

void print_product_line() {
    printf("%-*.*s%s%s\n", kBannerField, kBannerField, kProductName, kVersion, kReleaseSuffix);
}

[[noreturn]] void print_tool_version() {
    print_product_line();
    buildid(stdout, "Build Number ");
    exit(0);
}

// Applies one key letter; false for a letter that is not an option.
bool apply_key_letter(AR_OPTIONS* options, char letter) {
    switch (letter) {
    case '-': return true;
    case '0': options->format = 1; return true;
    case '1': options->format = 2; return true;
    case '2': options->format = 3; return true;
    case '?': case 'h': usage(true);
    case 'a': case 'A': options->command |= AR_OPTIONS::ADD; return true;
    case 'd': case 'D': options->command |= AR_OPTIONS::DELETE; return true;
    case 'r': case 'R': options->command |= AR_OPTIONS::REPLACE; return true;
    case 't': case 'T': options->command |= AR_OPTIONS::TOC; return true;
    case 'x': case 'X': options->command |= AR_OPTIONS::EXTRACT; return true;
    case 'u': case 'U':
        options->update = 1;
        options->command |= AR_OPTIONS::REPLACE;  // u implies r
        return true;
    case 'q': case 'Q': options->quiet = 1; return true;
    case 's': case 'S': options->symbols = 1; return true;
    case 'v': case 'V': options->verbose = 1; return true;
    default: return false;
    }
}

bool has_one_bit(int bits) {
    return bits != 0 && (bits & (bits - 1)) == 0;
}

// d, t and x need an existing archive; a and r start a new one when it is
// missing, and only then: one that exists but cannot be read is refused
// rather than overwritten.
void check_archive_exists(const AR_OPTIONS* options, AR_FILE* archive) {
    bool creates = (options->command & (AR_OPTIONS::ADD | AR_OPTIONS::REPLACE)) != 0;
    if (!archive->has_input() && !(creates && archive->is_missing()))
        front_error_exit("cannot open archive: '%s'", options->archive);
    if (creates)
        return;
    if (!archive->is_archive())
        front_error_exit("'%s' is not an archive", options->archive);
}

// a and r read an existing file as the archive to extend. A file that holds
// bytes but no archive magic and yet read without a header error (a file of
// at most eight bytes, or another tool's archive variant) would otherwise be
// overwritten silently; it is refused instead. An empty file is a new archive.
void refuse_foreign_file(const AR_OPTIONS* options, AR_FILE* archive) {
    struct stat st;
    if (!archive->has_input() || archive->is_archive())
        return;
    if (stat(options->archive, &st) == 0 && st.st_size > 0)
        front_error_exit("'%s' is not an archive", options->archive);
}

// Reads the key, the archive name and the files from the command line or
// from the command file that the first argument names.
void read_arguments(AR_OPTIONS* options, int argc, char** argv) {
    if (argc < 2)
        usage(false);
    const char* first = argv[1];
    if (first[0] == '@' || (first[0] == '-' && first[1] == '@')) {
        read_command_file(options, strchr(first, '@') + 1);
        return;
    }
    parse_key(options, first);
    if (argc < 3)
        front_error_exit("must specify an archive");
    set_archive_name(options, argv[2]);
    set_command_line_files(options, argv + 3, argc - 3);
}

}  // namespace

void usage(bool full) {
    print_product_line();
    printf("%-*.*s%s\n", kBannerField, kBannerField, kCopyright, kCopyrightTail);
    printf("\n Syntax : %s [%s][%s][012] archive files ...\n", kProgramName, "arxdt", "quvsh");
    printf("          %s @command_file\n", kProgramName);
    if (full)
        fputs(kFullUsage, stdout);
    exit(1);
}

void parse_key(AR_OPTIONS* options, const char* key) {
    if (strcmp(key, "--toolversion") == 0)
        print_tool_version();
    for (const char* letter = key; *letter != '\0'; letter++) {
        if (!apply_key_letter(options, *letter))
            front_error_exit("bad option '%.1s'", letter);
    }
    if (options->command == 0)
        usage(false);
    if (!has_one_bit(options->command))
        front_error_exit("only one of [arxdt] allowed");
}

void set_archive_name(AR_OPTIONS* options, const char* name) {
    strncpy(options->archive, name, kArchiveNameMax);
    options->archive[kArchiveNameMax] = '\0';   // mutants: skip (the run's options are static, so zeroed)
    fn_addext(options->archive, ".lib", 0);
}

void execute_command(AR_OPTIONS* options, AR_FILE* archive) {
    switch (options->command) {
    case AR_OPTIONS::ADD: add_files(options, archive); break;
    case AR_OPTIONS::REPLACE: replace_members(options, archive); break;
    case AR_OPTIONS::DELETE: delete_members(options, archive); break;
    case AR_OPTIONS::EXTRACT: extract_members(options, archive); break;
    case AR_OPTIONS::TOC: print_toc(options, archive); break;
    default: break;
    }
}

int report_not_found(const AR_OPTIONS* options) {
    int count = 0;
    for (int i = 0; i < options->nfiles; i++) {
        if (options->files[i] != nullptr) {
            front_error("'%s' not found", options->files[i]);
            count++;
        }
    }
    return count;
}

void ar_error_exit(AR_FILE* archive, AR_ERROR_CODE, const char* message) {
    if (archive != nullptr)
        archive->cleanup();
    front_error("%s", message);
    if (archive != nullptr)
        warn_left_behind(archive);
    exit(1);
}

void run_archiver(int argc, char** argv) {
    install_fatal_signals();
    AR_OPTIONS* options = &run_options;
    read_arguments(options, argc, argv);
    run_archive = new AR_FILE(options->archive, nullptr, ar_error_exit);
    AR_FILE* archive = run_archive;
    check_archive_exists(options, archive);
    archive->read_headers(false);
    archive->create_toc();
    refuse_foreign_file(options, archive);
    current_archive = archive;
    execute_command(options, archive);
    fflush(stdout);   // mutants: skip (exit flushes it as well)
    exit(report_not_found(options) != 0 ? 1 : 0);
}

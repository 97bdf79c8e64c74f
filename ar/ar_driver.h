#ifndef ARWREN_AR_AR_DRIVER_H
#define ARWREN_AR_AR_DRIVER_H

#include "ar/lib/ar_file.h"

struct AR_OPTIONS;

// The whole run: parse, open, read headers, one command, report, exit.
[[noreturn]] void run_archiver(int argc, char** argv);

// Prints the banner and syntax, with full also the commands and options, and
// ends the process with status 1 (asking for help is a failure status).
[[noreturn]] void usage(bool full);

// Reads the key into options; handles "--toolversion" and help itself.
void parse_key(AR_OPTIONS* options, const char* key);

// Stores at most 495 characters of name as the archive name and gives it the
// extension ".lib" when it has none.
void set_archive_name(AR_OPTIONS* options, const char* name);

// Runs the one command the key selected.
void execute_command(AR_OPTIONS* options, AR_FILE* archive);

// Reports every file that no command dealt with; returns how many there were.
int report_not_found(const AR_OPTIONS* options);

// The archive library's error callback: restores the archive, prints the
// message and ends the process with status 1.
void ar_error_exit(AR_FILE* archive, AR_ERROR_CODE code, const char* message);

#endif

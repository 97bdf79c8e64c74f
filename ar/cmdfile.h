#ifndef ARWREN_AR_CMDFILE_H
#define ARWREN_AR_CMDFILE_H

#include <cstdio>

struct AR_OPTIONS;

// The next token of a command file as a new string owned by the caller, or
// null at the end of the stream (and for a null stream). Never empty.
// An unterminated comment or quote ends the process with status 255.
char* fnextopt(FILE* stream);

// Reads the key, the archive name and the file list from the command file
// name instead of the command line.
void read_command_file(AR_OPTIONS* options, const char* name);

#endif

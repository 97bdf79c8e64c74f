#ifndef ARWREN_AR_CMDFILE_H
#define ARWREN_AR_CMDFILE_H

#include <cstdio>

struct AR_OPTIONS;

// How reading a command-file token ended.
enum CMDFILE_STATUS {
    CMDFILE_OK,             // a token, or the end of the stream
    CMDFILE_NUL_BYTE,       // the token holds a NUL byte, which no key or name can hold
    CMDFILE_OPEN_COMMENT,   // the stream ended inside a block comment
    CMDFILE_OPEN_QUOTE      // the stream ended inside a quote
};

// The next token of a command file as a new string owned by the caller, or
// null at the end of the stream (and for a null stream). Never empty.
// An unterminated comment or quote ends the process with status 255; a
// token holding a NUL byte refuses the command file, named by file_name,
// with status 1.
char* fnextopt(FILE* stream, const char* file_name = nullptr);

// The same tokenizer without messages and without ending the process: a
// failure gives null and its status. For callers that must go on.
char* cmdfile_token(FILE* stream, CMDFILE_STATUS* status);

// Reads the key, the archive name and the file list from the command file
// name instead of the command line.
void read_command_file(AR_OPTIONS* options, const char* name);

#endif

#ifndef ARWREN_AR_AR_OPTIONS_H
#define ARWREN_AR_AR_OPTIONS_H

// The run's options, created at start with every field zero.
struct AR_OPTIONS {
    enum COMMAND { ADD = 1, DELETE = 2, REPLACE = 4, TOC = 8, EXTRACT = 16 };

    int command;          // bit set of COMMAND; exactly one bit once the key is read
    int format;           // 0 none, 1 key "0", 2 key "1", 3 key "2": passed as the AR_ABI
    unsigned char update;
    unsigned char symbols;
    unsigned char verbose;
    unsigned char quiet;
    char archive[500];    // at most 495 characters copied, then ".lib" when no extension
    char** files;         // entries set to null once a command dealt with them
    int nfiles;
    int capacity;
    char** given;         // every entry as first stored: keeps a name alive after files[i] is nulled
};

// Appends one file name (owned by the list from now on) to a growing list.
void append_file(AR_OPTIONS* options, char* name);

// Takes the file names of the command line, each replaced by its own copy.
void set_command_line_files(AR_OPTIONS* options, char** names, int count);

#endif

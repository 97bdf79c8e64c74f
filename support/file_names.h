#ifndef ARWREN_SUPPORT_FILE_NAMES_H
#define ARWREN_SUPPORT_FILE_NAMES_H

// File-name helpers on NUL-terminated strings; "/" is the only separator.
// An extension is the part after a "." that follows the last "/".
const char* fn_basename(const char* path);
bool fn_hasdir(const char* path);
char* fn_addext(char* name, const char* ext, int replace);  // edits name in place; returns it
char* fn_delext(char* name);                                 // edits name in place; returns it
void fn_split(const char* path, char** dir, char** base, char** ext);  // static buffers
char* fn_realname(const char* name);                         // new copy, owned by the caller
bool fn_exists(const char* name);
int fn_strcmp(const char* a, const char* b);
int fn_rename(const char* from, const char* to);             // 1 success, 0 failure
char* fn_tmpnam(char* buffer, const char* ignored, const char* dir);
int fn_delete(const char* name);                             // 0 on success

// Small wrappers of the runtime that the archiver's own paths do not use.
bool fn_samefile(const char* a, const char* b);              // same device and inode
bool fn_matches_ext(const char* name, const char* ext);      // ext with or without its "."
char* fn_build(const char* dir, const char* base, const char* ext);  // new memory
bool fn_has_full_path(const char* name);                     // begins with "/"
bool fn_has_relative_path(const char* name);                 // has a directory, not from "/"
char* fn_get_working_dir();                                  // new memory; null on failure
int fn_change_dir(const char* dir);                          // 0 on success
bool fn_is_empty(const char* name);                          // exists and has no bytes

#endif

#ifndef ARWREN_SUPPORT_FILE_NAMES_H
#define ARWREN_SUPPORT_FILE_NAMES_H

// File-name helpers on NUL-terminated strings; "/" is the only separator.
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

#endif

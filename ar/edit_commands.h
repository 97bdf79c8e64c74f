#ifndef ARWREN_AR_EDIT_COMMANDS_H
#define ARWREN_AR_EDIT_COMMANDS_H

class AR_FILE;
struct AR_OPTIONS;

// a: appends every remaining existing file as a new member, then rewrites.
void add_files(AR_OPTIONS* options, AR_FILE* archive);

// Rewrites the archive in the chosen format and lists its symbol index on s.
void build_archive(AR_FILE* archive, AR_OPTIONS* options);

// Warns about each temporary file of the rewrite that stayed behind.
void warn_left_behind(const AR_FILE* archive);

// r and ru: refreshes selected members from their files, appends the rest.
void replace_members(AR_OPTIONS* options, AR_FILE* archive);

// d: removes the selected members; an empty file list does nothing at all.
void delete_members(AR_OPTIONS* options, AR_FILE* archive);

// x: copies each selected member to its file path.
void extract_members(AR_OPTIONS* options, AR_FILE* archive);

#endif

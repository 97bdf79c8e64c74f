#ifndef ARWREN_AR_TOC_H
#define ARWREN_AR_TOC_H

#include <cstdint>
#include <cstdio>

class AR_FILE;
struct AR_OPTIONS;

// Lists the selected members: size, local date and name, under a heading.
void print_toc(AR_OPTIONS* options, AR_FILE* archive);

// One listing line for a member.
void print_toc_line(FILE* out, int32_t size, int32_t date, const char* name);

#endif

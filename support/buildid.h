#ifndef ARWREN_SUPPORT_BUILDID_H
#define ARWREN_SUPPORT_BUILDID_H

#include <cstdio>

// Writes label and a short build code to stream (standard output when null).
void buildid(FILE* stream, const char* label);

#endif

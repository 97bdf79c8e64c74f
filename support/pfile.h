#ifndef ARWREN_SUPPORT_PFILE_H
#define ARWREN_SUPPORT_PFILE_H

#include <cstddef>
#include <cstdio>

// Checked wrappers of the stream functions: misuse and failures are reported
// through USER_MSG and the call carries on.
long pftell(FILE* stream);                                        // -1 on failure
int pfseek(FILE* stream, long offset, int whence);                // fseek's result
size_t pfread(void* buffer, size_t size, size_t count, FILE* stream);
size_t pfwrite(const void* buffer, size_t size, size_t count, FILE* stream);

#endif

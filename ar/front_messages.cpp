#include "ar/front_messages.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr char kErrorPrefix[] = "  -->  error: ";
constexpr char kWarningPrefix[] = "  -->  warning: ";
constexpr char kProgressFormat[] = "  ==>  %s '%s'\n";

void write_line(const char* prefix, const char* format, va_list args) {
    // Progress written so far comes out before the error when both streams
    // share a terminal or a file.
    fflush(stdout);
    fputs(prefix, stderr);
    vfprintf(stderr, format, args);
    fputc('\n', stderr);
}

}  // namespace

void front_error_exit(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write_line(kErrorPrefix, format, args);
    va_end(args);
    exit(1);
}

void front_error(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write_line(kErrorPrefix, format, args);
    va_end(args);
}

void front_warning(const char* format, ...) {
    va_list args;
    va_start(args, format);
    write_line(kWarningPrefix, format, args);
    va_end(args);
}

void front_progress(const char* verb, const char* name) {
    printf(kProgressFormat, verb, name);
}

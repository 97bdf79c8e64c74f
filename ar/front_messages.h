#ifndef ARWREN_AR_FRONT_MESSAGES_H
#define ARWREN_AR_FRONT_MESSAGES_H

// The front end's fixed message style: progress on standard output after
// "  ==>  ", errors and warnings on standard error after "  -->  error: "
// and "  -->  warning: ".

// Prints one error line and ends the process with status 1.
[[noreturn]] void front_error_exit(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Prints one error line and returns (used for the not-found report).
void front_error(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Prints one warning line, after "  -->  warning: ", on standard error.
void front_warning(const char* format, ...) __attribute__((format(printf, 1, 2)));

// "  ==>  <verb> '<name>'" for add, replace, delete and extract.
void front_progress(const char* verb, const char* name);

#endif

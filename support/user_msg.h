#ifndef ARWREN_SUPPORT_USER_MSG_H
#define ARWREN_SUPPORT_USER_MSG_H

#include <cstdarg>

// printf-style checking of message formats (argument numbers count "this").
#define USER_MSG_FORMAT(format_arg, first_arg) __attribute__((format(printf, format_arg, first_arg)))

// The process-wide channel through which the program speaks to its user:
// remarks, warnings, errors and fatal errors with fixed prefixes, wrapped to
// 78 columns, counted against an error limit.
class USER_MSG {
public:
    enum ERROR_SEVERITY {
        DEBUG = 0,
        CONT = 1,
        REMARK = 16,
        WARNING = 32,        // 32..37: warning levels 1..5 (31 + level)
        ERROR = 48,
        USAGE = 64,
        APPERROR = 79,
        FATAL = 80,
        INTERNAL = 96
    };

    static USER_MSG* get_umsg_obj();

    virtual ~USER_MSG();
    virtual void set_sev_level(ERROR_SEVERITY level);
    virtual void set_warning_level(unsigned int level);
    virtual void set_max_errors(int max);
    virtual int get_error_count();
    virtual int get_sev_level();
    virtual void debug(const char* format, ...) USER_MSG_FORMAT(2, 3);
    virtual void cont(const char* format, ...) USER_MSG_FORMAT(2, 3);
    virtual void remark(const char* format, ...) USER_MSG_FORMAT(2, 3);
    virtual void warning(unsigned int level, const char* format, ...) USER_MSG_FORMAT(3, 4);
    virtual void error(const char* format, ...) USER_MSG_FORMAT(2, 3);
    virtual void apperror(const char* format, ...) USER_MSG_FORMAT(2, 3);
    virtual void fatal(const char* format, ...) USER_MSG_FORMAT(2, 3);
    virtual void usage(const char* format, ...) USER_MSG_FORMAT(2, 3);
    virtual void die(const char* a, const char* b, ...) USER_MSG_FORMAT(3, 4);
    virtual void message(ERROR_SEVERITY severity, const char* format, va_list args, bool abort_on_exit)
        USER_MSG_FORMAT(3, 0);
    virtual void message(ERROR_SEVERITY severity, const char* format, ...) USER_MSG_FORMAT(3, 4);

protected:
    USER_MSG();

private:
    int sev_level_;
    int max_errors_;
    int error_count_;
};

#endif

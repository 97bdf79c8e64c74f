#ifndef ARWREN_SUPPORT_USER_MSG_H
#define ARWREN_SUPPORT_USER_MSG_H

#include <cstdarg>

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
    virtual void debug(const char* format, ...);
    virtual void cont(const char* format, ...);
    virtual void remark(const char* format, ...);
    virtual void warning(unsigned int level, const char* format, ...);
    virtual void error(const char* format, ...);
    virtual void apperror(const char* format, ...);
    virtual void fatal(const char* format, ...);
    virtual void usage(const char* format, ...);
    virtual void die(const char* a, const char* b, ...);
    virtual void message(ERROR_SEVERITY severity, const char* format, va_list args, bool abort_on_exit);
    virtual void message(ERROR_SEVERITY severity, const char* format, ...);

protected:
    USER_MSG();

private:
    int sev_level_;
    int max_errors_;
    int error_count_;
};

#endif

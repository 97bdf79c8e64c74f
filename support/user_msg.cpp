#include "support/user_msg.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "support/safe_alloc.h"

namespace {

const size_t TEXT_SIZE = 4096;   // prefix, message and terminator
const size_t LINE_WIDTH = 78;
const char CONT_PREFIX[] = "            ";

struct SEVERITY_INFO {
    int severity;
    const char* prefix;
    bool to_stdout;
    bool counted;   // raises the error count
};

const SEVERITY_INFO SEVERITIES[] = {
    {USER_MSG::DEBUG, ">>   debug: ", true, false},
    {USER_MSG::REMARK, ">>  remark: ", true, false},
    {USER_MSG::WARNING, ">> warning: ", false, false},
    {USER_MSG::ERROR, ">>   error: ", false, true},
    {USER_MSG::USAGE, ">>   usage: ", false, false},
    {USER_MSG::APPERROR, ">> application error: ", false, true},
    {USER_MSG::FATAL, ">> fatal error: ", false, false},
    {USER_MSG::INTERNAL, ">> internal error: ", false, false},
};

// The severity of the last message that was not a continuation line; a
// continuation takes its stream, threshold and ending from it.
int last_severity = USER_MSG::DEBUG;

// All warning levels (32 to 37) share the one warning entry.
const SEVERITY_INFO* find_severity(int severity) {
    if (severity >= USER_MSG::WARNING && severity <= USER_MSG::WARNING + 5)
        severity = USER_MSG::WARNING;
    for (const SEVERITY_INFO& info : SEVERITIES) {
        if (info.severity == severity)
            return &info;
    }
    return nullptr;
}

[[noreturn]] void end_program(bool abort_on_exit) {
    if (abort_on_exit) {
        fflush(nullptr);
        abort();
    }
    exit(1);
}

[[noreturn]] void report_invalid_severity(int severity, bool abort_on_exit) {
    fflush(stdout);
    fprintf(stderr, ">> internal error: USER_MSG::message:  invalid error severity %u\n",
            static_cast<unsigned>(severity));
    end_program(abort_on_exit);
}

[[noreturn]] void report_overflow(bool abort_on_exit) {
    fflush(stdout);
    fprintf(stderr, ">> internal error: USER_MSG::message:  attempt to generate a message > %d bytes, "
                    "which would result in a buffer overflow; terminating program.\n",
            static_cast<int>(TEXT_SIZE - 1));
    end_program(abort_on_exit);
}

// The prefix and the formatted message in one buffer; false when together
// they would not fit in TEXT_SIZE - 1 bytes.
__attribute__((format(printf, 3, 0)))
bool format_text(char (&text)[TEXT_SIZE], const char* prefix, const char* format, va_list args) {
    size_t prefix_length = strlen(prefix);
    memcpy(text, prefix, prefix_length + 1);
    if (format == nullptr)
        return true;
    int length = vsnprintf(text + prefix_length, TEXT_SIZE - prefix_length, format, args);
    if (length < 0) {
        text[prefix_length] = '\0';
        return true;
    }
    return prefix_length + static_cast<size_t>(length) <= TEXT_SIZE - 1;
}

// Standard output is flushed first so that the two streams keep their order
// on a shared terminal or file.
FILE* open_stream(bool to_stdout) {
    if (to_stdout)
        return stdout;
    fflush(stdout);
    return stderr;
}

void print_line(FILE* out, size_t indent, const char* text, size_t length) {
    char line[TEXT_SIZE + LINE_WIDTH];
    memset(line, ' ', indent);
    memcpy(line + indent, text, length);
    line[indent + length] = '\0';
    fprintf(out, "%s\n", line);
}

// The first line starts at column 0, later ones are indented by the prefix
// length. Lines break at the last blank that keeps them within 78 columns; a
// word longer than that is left whole on the last line.
void print_wrapped(FILE* out, const char* text, size_t indent_width) {
    size_t indent = 0;
    size_t length = strlen(text);
    while (length > LINE_WIDTH - indent) {
        size_t width = LINE_WIDTH - indent;
        size_t blank = width + 1;
        while (blank > 0 && text[blank - 1] != ' ')
            --blank;
        if (blank == 0)
            break;
        print_line(out, indent, text, blank - 1);
        text += blank;
        length -= blank;
        indent = indent_width;
    }
    print_line(out, indent, text, length);
}

}  // namespace

USER_MSG* USER_MSG::get_umsg_obj() {
    static USER_MSG* instance = nullptr;
    if (instance == nullptr)
        instance = new (safemalloc(sizeof(USER_MSG))) USER_MSG();
    return instance;
}

USER_MSG::USER_MSG() : sev_level_(REMARK), max_errors_(100), error_count_(0) {}

USER_MSG::~USER_MSG() {}

void USER_MSG::set_sev_level(ERROR_SEVERITY level) { sev_level_ = level; }
void USER_MSG::set_max_errors(int max) { max_errors_ = max; }
int USER_MSG::get_error_count() { return error_count_; }
int USER_MSG::get_sev_level() { return sev_level_; }

// Levels 1 to 5 only. The complaint about any other level deliberately
// quotes the severity it would have had, 31 + level, not the level itself.
void USER_MSG::set_warning_level(unsigned int level) {
    if (level < 1 || level > 5) {
        message(INTERNAL, "invalid warning level %d", static_cast<int>(31 + level));
        return;
    }
    sev_level_ = static_cast<int>(31 + level);
}

void USER_MSG::warning(unsigned int level, const char* format, ...) {
    if (level < 1 || level > 5) {
        message(INTERNAL, "invalid warning level %d", static_cast<int>(31 + level));
        return;
    }
    va_list args;
    va_start(args, format);
    message(static_cast<ERROR_SEVERITY>(31 + level), format, args, false);
    va_end(args);
}

void USER_MSG::debug(const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(DEBUG, format, args, false);
    va_end(args);
}

void USER_MSG::cont(const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(CONT, format, args, false);
    va_end(args);
}

void USER_MSG::remark(const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(REMARK, format, args, false);
    va_end(args);
}

void USER_MSG::error(const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(ERROR, format, args, false);
    va_end(args);
}

void USER_MSG::apperror(const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(APPERROR, format, args, false);
    va_end(args);
}

void USER_MSG::fatal(const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(FATAL, format, args, false);
    va_end(args);
}

void USER_MSG::usage(const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(USAGE, format, args, false);
    va_end(args);
}

void USER_MSG::message(ERROR_SEVERITY severity, const char* format, ...) {
    va_list args;
    va_start(args, format);
    message(severity, format, args, false);
    va_end(args);
}

void USER_MSG::die(const char* a, const char* b, ...) {
    char text[TEXT_SIZE];
    va_list args;
    va_start(args, b);
    if (b == nullptr || vsnprintf(text, sizeof text, b, args) < 0)
        text[0] = '\0';
    va_end(args);
    message(INTERNAL, "%s: %s", a != nullptr ? a : "", text);
}

// Continuation lines take the remembered severity, so a continuation of a
// suppressed message is suppressed too; they are never counted.
void USER_MSG::message(ERROR_SEVERITY severity, const char* format, va_list args, bool abort_on_exit) {
    bool continuation = severity == CONT;
    int level = continuation ? last_severity : static_cast<int>(severity);
    if (!continuation)
        last_severity = level;
    if (level < sev_level_)
        return;
    const SEVERITY_INFO* info = find_severity(level);
    if (info == nullptr)
        report_invalid_severity(level, abort_on_exit);
    if (info->counted && !continuation)
        ++error_count_;
    const char* prefix = continuation ? CONT_PREFIX : info->prefix;
    char text[TEXT_SIZE];
    if (!format_text(text, prefix, format, args))
        report_overflow(abort_on_exit);
    print_wrapped(open_stream(info->to_stdout), text, strlen(prefix));
    if (error_count_ >= max_errors_) {
        fflush(stdout);
        fputs("too many errors; aborting\n", stderr);
        end_program(abort_on_exit);
    }
    if (info->severity >= FATAL)
        end_program(abort_on_exit);
}

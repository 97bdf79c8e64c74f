#include "ar/cmdfile.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "ar/ar_driver.h"
#include "ar/ar_options.h"
#include "ar/front_messages.h"
#include "support/file_names.h"
#include "support/safe_alloc.h"

namespace {

// The token buffer starts at this size and grows by it whenever it is full.
constexpr size_t kTokenGrowth = 80;
// How much of an unterminated quote is shown.
constexpr size_t kQuoteExcerpt = 30;
constexpr int kUnterminatedStatus = 255;

bool is_space(int c) {
    return c != EOF && isspace(static_cast<unsigned char>(c));
}

// Reads one token character by character. Escapes, quotes and comments may
// continue a token across line ends, so the state lives here, not in a line.
// A failure stops the token and is kept for the caller to report.
class TOKEN_READER {
public:
    explicit TOKEN_READER(FILE* stream) : stream_(stream) {}
    ~TOKEN_READER() { free(text_); }
    TOKEN_READER(const TOKEN_READER&) = delete;
    TOKEN_READER& operator=(const TOKEN_READER&) = delete;

    char* read();   // the token, now the caller's; null at the end or on a failure
    CMDFILE_STATUS status() const { return status_; }
    [[noreturn]] void report_unterminated() const;

private:
    int next();
    void take(int c);
    void append(int c);
    void append_escaped(int c);
    void skip_block_comment();
    void skip_line();
    void read_quote();
    bool word_has_dash() const;
    void fail(CMDFILE_STATUS status);

    FILE* stream_;
    char* text_ = static_cast<char*>(safemalloc(kTokenGrowth));
    size_t length_ = 0;
    size_t capacity_ = kTokenGrowth;
    size_t quote_start_ = 0;   // where the last quote's text begins in the token
    bool escaped_ = false;
    bool at_eof_ = false;
    CMDFILE_STATUS status_ = CMDFILE_OK;
};

// End of file is remembered, so that a comment that ran into it ends the
// token instead of reading on.
int TOKEN_READER::next() {
    if (at_eof_)
        return EOF;
    int c = getc(stream_);
    at_eof_ = (c == EOF);   // mutants: skip (getc keeps returning EOF once it has)
    return c;
}

char* TOKEN_READER::read() {
    int c = next();
    while (is_space(c))
        c = next();
    for (; c != EOF && status_ == CMDFILE_OK; c = next()) {
        if (is_space(c)) {
            if (length_ > 0)
                break;
            continue;
        }
        take(c);
    }
    if (length_ == 0 || status_ == CMDFILE_OPEN_COMMENT || status_ == CMDFILE_OPEN_QUOTE)
        return nullptr;
    // A NUL would end the name early: the token is read whole and refused.
    if (memchr(text_, '\0', length_) != nullptr) {
        status_ = CMDFILE_NUL_BYTE;
        return nullptr;
    }
    text_[length_] = '\0';
    char* token = text_;
    text_ = nullptr;
    return token;
}

void TOKEN_READER::fail(CMDFILE_STATUS status) {
    status_ = status;
    at_eof_ = true;
}

void TOKEN_READER::take(int c) {
    if (c == '*' && length_ > 0 && text_[length_ - 1] == '/') {
        length_--;  // the "/" opened the comment; the token goes on after it
        skip_block_comment();
    } else if (c == '"' && !escaped_) {
        read_quote();
    } else if (c == ';' || (c == '#' && !word_has_dash())) {
        // The token is not ended here: the next line's first word may join it.
        skip_line();
    } else {
        append_escaped(c);
    }
}

void TOKEN_READER::append(int c) {
    // Keep one byte for the terminating NUL.
    if (length_ + 1 >= capacity_) {
        capacity_ += kTokenGrowth;
        text_ = static_cast<char*>(saferealloc(text_, capacity_));
    }
    text_[length_++] = static_cast<char>(c);
}

// A backslash is kept and escapes the next character; an escaped quote or
// backslash takes the backslash's place, anything else follows it.
void TOKEN_READER::append_escaped(int c) {
    if (escaped_ && (c == '"' || c == '\\')) {
        text_[length_ - 1] = static_cast<char>(c);
        escaped_ = false;
        return;
    }
    append(c);
    escaped_ = (c == '\\');
}

void TOKEN_READER::skip_block_comment() {
    int previous = 0;
    for (;;) {
        int c = next();
        if (c == EOF) {
            fail(CMDFILE_OPEN_COMMENT);
            return;
        }
        if (previous == '*' && c == '/')
            break;
        previous = c;
    }
    escaped_ = false;
}

void TOKEN_READER::skip_line() {
    int c = next();
    while (c != EOF && c != '\n')
        c = next();
    escaped_ = false;
}

// Everything up to the closing quote is taken as it is, white space and line
// ends included; the quotes themselves are dropped.
void TOKEN_READER::read_quote() {
    quote_start_ = length_;
    for (;;) {
        int c = next();
        if (c == EOF) {
            fail(CMDFILE_OPEN_QUOTE);
            return;
        }
        if (c == '"' && !escaped_)
            break;
        append_escaped(c);
    }
    escaped_ = false;
}

// "#" is an ordinary character in a word holding "-", so option words may
// contain it.
bool TOKEN_READER::word_has_dash() const {
    for (size_t i = length_; i > 0 && !is_space(text_[i - 1]); i--) {
        if (text_[i - 1] == '-')
            return true;
    }
    return false;
}

void TOKEN_READER::report_unterminated() const {
    if (status_ == CMDFILE_OPEN_COMMENT) {
        fputs(">> Unterminated comment in command file;", stderr);
        fputs(" aborting!\n", stderr);
        exit(kUnterminatedStatus);
    }
    size_t length = length_ - quote_start_;
    if (length > kQuoteExcerpt)
        length = kQuoteExcerpt;
    while (length > 0 && text_[quote_start_ + length - 1] == '\n')
        length--;
    fputs(">> Unterminated quote in command file; aborting\n", stderr);
    fputs("   Quote starts at \"", stderr);
    for (size_t i = quote_start_; i < quote_start_ + length; i++) {
        if (text_[i] == '\n')
            fputs("\\n", stderr);
        else if (text_[i] == '\t')
            fputs("\\t", stderr);
        else
            fputc(text_[i], stderr);
    }
    fputc('\n', stderr);
    exit(kUnterminatedStatus);
}

// Files follow the key and the archive name; a word that looks like an
// option is reported and skipped.
void read_file_list(AR_OPTIONS* options, FILE* stream, const char* file_name) {
    while (char* token = fnextopt(stream, file_name)) {
        char* name = fn_realname(token);
        free(token);   // mutants: skip (only a leak, which the sanitized build's leak check reports)
        if (name[0] == '-') {
            printf("  -->  warning: option %s ignored in file list\n", name);
            free(name);
            continue;
        }
        append_file(options, name);
    }
}

}  // namespace

char* fnextopt(FILE* stream, const char* file_name) {
    if (stream == nullptr)
        return nullptr;
    TOKEN_READER reader(stream);
    char* token = reader.read();
    if (reader.status() == CMDFILE_OPEN_COMMENT || reader.status() == CMDFILE_OPEN_QUOTE)
        reader.report_unterminated();
    if (reader.status() == CMDFILE_NUL_BYTE) {
        if (file_name != nullptr)
            front_error_exit("NUL byte in command file '%s'", file_name);
        front_error_exit("NUL byte in command file");
    }
    return token;
}

char* cmdfile_token(FILE* stream, CMDFILE_STATUS* status) {
    *status = CMDFILE_OK;
    if (stream == nullptr)
        return nullptr;
    TOKEN_READER reader(stream);
    char* token = reader.read();
    *status = reader.status();
    return token;
}

void read_command_file(AR_OPTIONS* options, const char* name) {
    FILE* stream = fopen(name, "r");
    if (stream == nullptr)
        front_error_exit("cannot open '%s'", name);
    char* key = fnextopt(stream, name);
    char* archive = key != nullptr ? fnextopt(stream, name) : nullptr;
    if (key == nullptr || archive == nullptr)
        usage(false);
    set_archive_name(options, archive);
    parse_key(options, key);
    free(key);
    free(archive);
    read_file_list(options, stream, name);
    fclose(stream);
}

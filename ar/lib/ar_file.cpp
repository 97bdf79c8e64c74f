// The archive model: construction, the member list, member contents and the
// one error door of the archive library.
#include "ar/lib/ar_file.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "ar/lib/ar_header.h"
#include "support/fhm_file.h"

namespace {

// Moving forward by at most this much reads instead of seeking.
constexpr size_t SKIP_BY_READING = 512;

constexpr size_t MESSAGE_SIZE = 4096;  // 4095 characters and the NUL

}  // namespace

AR_FILE::AR_FILE(const char* name, FHM_FILE* handle, AR_ERROR_CALLBACK callback)
    : input_(handle), owns_input_(false), name_(nullptr), format_(AR_ABI_KEEP),
      first_member_offset_(0), zone_(1024, "archive", 0), first_member_(nullptr),
      last_member_(nullptr), has_name_table_(false), name_table_(nullptr),
      name_table_size_(0), first_symbol_(nullptr), last_symbol_(nullptr), symbol_count_(0),
      symbol_table_size_(0), symbol_data_(nullptr), long_name_size_(0), moved_aside_(0),
      output_live_(0), final_name_(nullptr), temp_name_(nullptr), output_(nullptr),
      callback_(callback), input_buffer_(nullptr), output_buffer_(nullptr),
      member_buffer_(nullptr), member_buffer_user_(nullptr), errors_(0)
{
    name_ = zone_.strdup(name);
    if (input_ == nullptr) {
        // A missing archive is not an error here: it is a new, empty one.
        input_ = fhm_open(name, "rb");
        owns_input_ = input_ != nullptr;
        if (owns_input_)
            set_stream_buffer(input_, &input_buffer_, INPUT_BUFFER_SIZE);
    }
}

AR_FILE::~AR_FILE()
{
    // A rewrite abandoned half way must not lose the old archive.
    cleanup();
    close_input_ar();
}

void AR_FILE::set_error(AR_ERROR_CODE code, const char* format, ...)
{
    char message[MESSAGE_SIZE];
    va_list args;
    va_start(args, format);
    vsnprintf(message, sizeof message, format, args);
    va_end(args);
    ++errors_;
    if (callback_ != nullptr)
        callback_(this, code, message);
}

// The buffer lives in the zone, which outlives every stream that uses it:
// the streams are closed before the zone is destroyed.
void AR_FILE::set_stream_buffer(FHM_FILE* file, char** buffer, size_t size)
{
    FILE* fp = file->fp();
    if (fp == nullptr)
        return;
    if (*buffer == nullptr)
        *buffer = static_cast<char*>(zone_.alloc(size));
    setvbuf(fp, *buffer, _IOFBF, size);
}

bool AR_FILE::is_symbol_table(const char* name) const
{
    return strcmp(name, AR_SYMBOL_TABLE_NAME) == 0;
}

// Recognising the long-name table is also how the format of an existing
// archive is learnt.
bool AR_FILE::is_name_table(const char* name)
{
    if (strcmp(name, AR_NU_NAME_TABLE) == 0) {
        format_ = AR_ABI_NU_LONG_NAME;
        return true;
    }
    if (strcmp(name, AR_POSIX_NAME_TABLE) == 0) {
        format_ = AR_ABI_POSIX;
        return true;
    }
    return false;
}

bool AR_FILE::is_long_name(const char* name)
{
    return strlen(name) >= AR_LONG_NAME_MIN;
}

AR_MEMBER* AR_FILE::find_member(const char* name) const
{
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next) {
        if (strcmp(m->name, name) == 0)
            return m;
    }
    return nullptr;
}

AR_MEMBER* AR_FILE::make_member(const char* name, int32_t date, int32_t size,
                                int32_t data_offset)
{
    AR_MEMBER* m = static_cast<AR_MEMBER*>(zone_.alloc(sizeof(AR_MEMBER)));
    m->name = name != nullptr ? zone_.strdup(name) : nullptr;
    m->date = date;
    m->size = size;
    m->data_offset = data_offset;
    return m;
}

AR_MEMBER* AR_FILE::new_member(const char* name, int32_t date, int32_t size, const char* path)
{
    AR_MEMBER* m = make_member(name, date, size, 0);
    m->path = path != nullptr ? zone_.strdup(path) : nullptr;
    return m;
}

void AR_FILE::add_member(AR_MEMBER* member)
{
    member->next = nullptr;
    member->prev = last_member_;
    if (last_member_ != nullptr)
        last_member_->next = member;
    else
        first_member_ = member;
    last_member_ = member;
}

void AR_FILE::delete_member(AR_MEMBER* member)
{
    if (member->prev != nullptr)
        member->prev->next = member->next;
    else
        first_member_ = member->next;
    if (member->next != nullptr)
        member->next->prev = member->prev;
    else
        last_member_ = member->prev;
    member->next = nullptr;
    member->prev = nullptr;
}

FHM_FILE* AR_FILE::open_member(AR_MEMBER* member)
{
    if (member->path != nullptr) {
        FHM_FILE* file = fhm_open(member->path, "rb");
        if (file == nullptr) {
            set_error(AR_OPEN_ERROR, "Cannot open file: '%s'", member->path);
        } else if (member_buffer_user_ == nullptr) {
            // One member file at a time shares the buffer.
            member_buffer_user_ = file;
            set_stream_buffer(file, &member_buffer_, MEMBER_BUFFER_SIZE);
        }
        return file;
    }
    if (input_ == nullptr)
        return nullptr;
    if (!seek_input(member->data_offset)) {
        set_error(AR_FILE_READ_ERROR, "Cannot read file: '%s'", name_);
        return nullptr;
    }
    return input_;
}

void AR_FILE::close_member(AR_MEMBER* member, FHM_FILE* handle)
{
    if (member->path == nullptr || handle == nullptr || handle == input_)
        return;
    if (handle == member_buffer_user_)
        member_buffer_user_ = nullptr;
    fhm_close(handle);
}

// The field is cleared before the stream is closed so that a signal handler
// running cleanup() never closes it twice.
void AR_FILE::close_input_ar()
{
    FHM_FILE* input = input_;
    if (input == nullptr || !owns_input_)
        return;
    input_ = nullptr;
    owns_input_ = false;
    fhm_close(input);
}

// Positions the input. Walking an archive front to back mostly moves a
// short way forward: that is done by reading through the stream's buffer,
// since every seek costs a system call even within the buffer.
bool AR_FILE::seek_input(int64_t offset)
{
    FILE* fp = input_ != nullptr ? input_->fp() : nullptr;
    if (fp == nullptr)
        return false;
    int64_t here = ftello(fp);
    if (here == offset)
        return true;
    if (here >= 0 && offset > here && offset - here <= int64_t(SKIP_BY_READING)) {
        char skipped[SKIP_BY_READING];
        size_t n = size_t(offset - here);
        if (fread(skipped, 1, n, fp) == n)
            return true;
        clearerr(fp);
    }
    return fseeko(fp, offset, SEEK_SET) == 0;
}

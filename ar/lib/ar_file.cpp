// The archive model: construction, the member list, member contents and the
// one error door of the archive library.
#include "ar/lib/ar_file.h"

#include <sys/stat.h>

#include <cerrno>
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
      output_live_(0), restore_failed_(0), final_name_(nullptr), temp_name_(nullptr),
      output_(nullptr), callback_(callback), output_buffer_(nullptr), errors_(0),
      missing_(false), input_size_(-1), left_behind_(), left_count_(0)
{
    name_ = zone_.strdup(name);
    if (input_ == nullptr) {
        // A missing archive is not an error here: it is a new, empty one.
        // Only a missing one: an archive that exists but cannot be opened
        // must never be taken for an empty one and overwritten.
        FHM_FILE* file = fhm_open(name, "rb");
        missing_ = file == nullptr && errno == ENOENT;
        set_input(file, true);
    } else {
        set_input(input_, false);
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
    if (fp == nullptr)   // mutants: skip (speed only)
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
        if (file == nullptr)
            set_error(AR_OPEN_ERROR, "Cannot open file: '%s'", member->path);
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
    fhm_close(handle);
}

int AR_FILE::copy_member(AR_MEMBER* member, FHM_FILE* to)
{
    SOURCE source;
    if (!open_source(member, &source))
        return AR_FILE_READ_ERROR;
    int result = copy_source(source, member->size, to);
    close_source(source);
    return result;
}

void AR_FILE::drop_pool()
{
    pool_blocks_.attach(nullptr);
    if (!pool_.remove_name())
        note_left_behind(pool_.name());
    pool_.clear();
}

void AR_FILE::note_left_behind(const char* name)
{
    if (left_count_ < LEFT_BEHIND_MAX)
        left_behind_[left_count_++] = zone_.strdup(name);
}

const char* AR_FILE::left_behind(int i) const
{
    return i >= 0 && i < left_count_ ? left_behind_[i] : nullptr;
}

// A caller's handle is lent no blocks: the caller may close it before the
// archive is done with.
// The size of an open regular file, or -1 for anything else (a pipe, a
// device) or when it cannot be found.
int64_t AR_FILE::regular_file_size(FHM_FILE* file)
{
    FILE* fp = file != nullptr ? file->fp() : nullptr;
    struct stat st;
    if (fp == nullptr || fstat(fileno(fp), &st) != 0 || !S_ISREG(st.st_mode))
        return -1;
    return int64_t(st.st_size);
}

void AR_FILE::set_input(FHM_FILE* file, bool owned)
{
    input_ = file;
    owns_input_ = owned && file != nullptr;
    input_size_ = regular_file_size(file);
    input_blocks_.attach(file, input_size_, owns_input_);
}

// The field is cleared before the stream is closed so that a signal handler
// running cleanup() never closes it twice.
void AR_FILE::close_input_ar()
{
    FHM_FILE* input = input_;
    if (input == nullptr || !owns_input_)
        return;
    set_input(nullptr, false);
    fhm_close(input);
}

// A member's contents: its file, opened here, or its stretch of the input
// archive.
bool AR_FILE::open_source(AR_MEMBER* member, SOURCE* source)
{
    *source = SOURCE();
    if (member->path != nullptr) {
        source->file = fhm_open(member->path, "rb");
        if (source->file == nullptr)
            set_error(AR_OPEN_ERROR, "Cannot open file: '%s'", member->path);
        return source->file != nullptr;
    }
    source->file = input_;
    source->offset = member->data_offset;
    return input_ != nullptr;
}

// Brings a member's contents into memory for the index pass, where the
// object-file reader finds them through the file's view: a member file is
// read whole in one read and, when an archive is being written, kept for
// the copy; a member of the input archive is read with the block around it.
// A failed read of the input stops the member; a failed read of a member
// file is left for the caller to find on the file. A member file found
// shorter than its size is not kept: the copy reads it again and reports it.
bool AR_FILE::read_ahead(AR_MEMBER* member, SOURCE* source)
{
    const unsigned char* bytes = nullptr;
    if (member->size <= 0)
        return true;
    if (source->file == input_) {
        if (input_blocks_.fetch(source->offset, size_t(member->size), &bytes) >= 0)
            return true;
        set_error(AR_FILE_READ_ERROR, "Cannot read file: '%s'", name_);
        return false;
    }
    if (uint64_t(member->size) > WHOLE_READ_MAX)
        return true;
    file_blocks_.attach(source->file, member->size);   // mutants: skip (speed only)
    if (file_blocks_.fetch(0, size_t(member->size), &bytes) == long(member->size) &&
        output_ != nullptr)
        pool_.keep(final_name_, member, bytes, size_t(member->size));
    return true;
}

// Only a member file was opened for its source.
void AR_FILE::close_source(const SOURCE& source)
{
    if (source.file == nullptr || source.file == input_ || source.file == pool_.file())
        return;
    if (file_blocks_.file() == source.file)
        file_blocks_.attach(nullptr);
    fhm_close(source.file);
}

// Copies in blocks, each passed to the output in one call.
int AR_FILE::copy_source(const SOURCE& source, int32_t size, FHM_FILE* to)
{
    FILE* out = to->fp();
    if (out == nullptr)
        return AR_WRITE_ERROR;
    // The input and the pool are read on in large blocks from member to
    // member; a member file is read no further than its member.
    AR_BLOCK_READER* reader = &file_blocks_;
    if (source.file == input_)
        reader = &input_blocks_;
    else if (source.file == pool_.file())
        reader = &pool_blocks_;
    if (reader != &input_blocks_)
        reader->attach(source.file, reader == &file_blocks_ ? source.offset + size : -1);
    for (int64_t done = 0; done < size;) {
        const unsigned char* bytes = nullptr;
        long n = reader->fetch(source.offset + done, size_t(size - done), &bytes);
        if (n <= 0)
            return AR_FILE_READ_ERROR;
        if (fwrite(bytes, 1, size_t(n), out) != size_t(n))
            return AR_WRITE_ERROR;
        done += n;
    }
    return 0;
}

// Positions the input stream for a caller that reads a member through it.
// Moving a short way forward is done by reading through the stream's
// buffer, since every seek costs a system call even within the buffer.
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
        clearerr(fp);   // mutants: skip (the seek clears end of file; no read of the input looks at the error flag)
    }
    return fseeko(fp, offset, SEEK_SET) == 0;
}

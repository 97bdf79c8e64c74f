// Writing an archive anew: the old archive is moved aside under a temporary
// name, the new one is written under the final name, and the old one is
// removed only once the new one is complete.
//
// restore_files() may run from a fatal-signal handler at any instruction, so every
// step below changes the rewrite state in an order that leaves, under the
// archive's name, either the old archive untouched or the new one complete.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "ar/lib/ar_file.h"
#include "ar/lib/ar_header.h"
#include "ar/lib/ar_layout.h"
#include "ar/lib/ar_member_name.h"
#include "support/fhm_file.h"
#include "support/file_names.h"

namespace {

constexpr size_t COPY_CHUNK = 4096;

// Gathers the many short pieces of the index and of the long-name table, so
// that the output stream is called once every few kilobytes. write(data,
// size) returns the count written; finish() the total.
template <class WRITE>
class GATHERED_OUTPUT {
public:
    explicit GATHERED_OUTPUT(WRITE write) : write_(write) {}

    void put(const void* data, size_t size)
    {
        if (size > sizeof buffer_ - used_)
            flush();
        if (size > sizeof buffer_) {
            written_ += write_(data, size);
            return;
        }
        memcpy(buffer_ + used_, data, size);
        used_ += size;
    }

    void put_be32(int32_t value)
    {
        uint32_t v = uint32_t(value);
        const unsigned char word[4] = {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8),
                                       uint8_t(v)};
        put(word, sizeof word);
    }

    int64_t finish()
    {
        flush();
        return written_;
    }

private:
    void flush()
    {
        if (used_ != 0)
            written_ += write_(buffer_, used_);
        used_ = 0;
    }

    WRITE write_;
    unsigned char buffer_[4096];
    size_t used_ = 0;
    int64_t written_ = 0;
};

template <class WRITE>
GATHERED_OUTPUT<WRITE> gathered(WRITE write)
{
    return GATHERED_OUTPUT<WRITE>(write);
}

}  // namespace

int copy_file(FHM_FILE* from, FHM_FILE* to, int32_t size, bool pad)
{
    FILE* in = from->fp();
    FILE* out = to->fp();
    if (in == nullptr)
        return AR_FILE_READ_ERROR;
    if (out == nullptr)
        return AR_WRITE_ERROR;
    char chunk[COPY_CHUNK];
    for (int64_t left = size; left > 0;) {
        size_t n = left < int64_t(sizeof chunk) ? size_t(left) : sizeof chunk;
        if (fread(chunk, 1, n, in) != n)
            return AR_FILE_READ_ERROR;
        if (fwrite(chunk, 1, n, out) != n)
            return AR_WRITE_ERROR;
        left -= int64_t(n);
    }
    if (pad && (size & 1) != 0 && fputc('\n', out) == EOF)
        return AR_WRITE_ERROR;
    return 0;
}

bool AR_FILE::write_archive(AR_ABI abi)
{
    if (!contents_available() || !names_storable(output_format(abi)) || !open_new_ar(abi))
        return false;
    calculate_long_name_offsets();
    if (!build_symbol_table() || !write_symbol_table() || !write_long_name_table() ||
        !write_members())
        return false;
    return finish_new_archive();
}

// Every member must have somewhere to be copied from before the archive is
// touched: once it has been written, the old input is gone, and a second
// write would otherwise truncate the only copy of the kept members.
bool AR_FILE::contents_available()
{
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next) {
        if (m->path == nullptr && input_ == nullptr && m->size > 0) {
            set_error(AR_FILE_READ_ERROR, "Cannot read file: '%s'", m->name);
            return false;
        }
    }
    return true;
}

// Every member must read back under its own name from the format it is
// written in; a name that cannot is refused before the archive is touched.
bool AR_FILE::names_storable(AR_ABI format)
{
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next) {
        if (!ar_name_storable(m->name, format)) {
            set_error(AR_CREATE_ERROR, "Member name cannot be stored in the %s format: '%s'",
                      ar_format_name(format), m->name);
            return false;
        }
    }
    return true;
}

// An archive read without a long-name table has no format of its own and
// is rewritten in POSIX form unless a format is asked for.
AR_ABI AR_FILE::output_format(AR_ABI abi) const
{
    if (abi != AR_ABI_KEEP)
        return abi;
    return format_ != AR_ABI_KEEP ? format_ : AR_ABI_POSIX;
}

bool AR_FILE::open_new_ar(AR_ABI abi)
{
    final_name_ = name_;
    format_ = output_format(abi);
    if (input_ != nullptr && !move_old_archive_aside())
        return false;
    return create_new_archive();
}

// The temporary name lies in the archive's own directory so that moving the
// archive aside and back are plain renames.
bool AR_FILE::move_old_archive_aside()
{
    char* dir = nullptr;
    fn_split(final_name_, &dir, nullptr, nullptr);
    char* temp = fn_tmpnam(nullptr, "AR", dir);
    temp_name_ = zone_.strdup(temp);
    free(temp);
    close_input_ar();
    // Flag first: a signal between the two steps then finds nothing under
    // the temporary name and renames nothing back.
    moved_aside_ = 1;
    if (!fn_rename(final_name_, temp_name_)) {
        moved_aside_ = 0;
        set_error(AR_CREATE_ERROR, "Cannot create new archive");
        return false;
    }
    name_ = temp_name_;
    FHM_FILE* input = fhm_open(temp_name_, "rb");
    if (input == nullptr) {
        set_error(AR_CREATE_ERROR, "Cannot create archive: '%s'", name_);
        return false;   // mutants: skip (reported, and no kept member can be read after it)
    }
    set_input(input, true);
    return true;
}

bool AR_FILE::create_new_archive()
{
    // Flag first: whatever is created under the final name from here on is
    // the half-written new archive that cleanup() removes.
    output_live_ = 1;
    FHM_FILE* output = fhm_open(final_name_, "wb");
    if (output == nullptr) {
        output_live_ = 0;
        set_error(AR_CREATE_ERROR, "Cannot create archive: '%s'", name_);
        return false;
    }
    output_ = output;
    set_stream_buffer(output_, &output_buffer_, OUTPUT_BUFFER_SIZE);
    if (write_bytes(AR_MAGIC, AR_MAGIC_SIZE) != int64_t(AR_MAGIC_SIZE)) {
        set_error(AR_WRITE_ERROR, "Cannot write archive: '%s'", final_name_);
        return false;
    }
    return true;
}

void AR_FILE::calculate_long_name_offsets()
{
    apply_layout(ar_layout(first_member_, nullptr, format_), false);
}

// Gives the members their long-name offsets and, with the index, their
// header offsets, and the index entries the offsets of their members.
void AR_FILE::apply_layout(const AR_LAYOUT& layout, bool with_index)
{
    long_name_size_ = int32_t(layout.long_name_size);
    size_t i = 0;
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next, ++i) {
        m->long_name_offset = int32_t(layout.long_name_offsets[i]);
        if (with_index)
            m->header_offset = int32_t(layout.header_offsets[i]);
    }
    if (!with_index)
        return;
    symbol_table_size_ = layout.index_size;
    for (AR_SYMBOL* s = first_symbol_; s != nullptr; s = s->next)
        s->offset = s->member->header_offset;
}

const char* AR_FILE::format_member_name(const AR_MEMBER* member, char* field) const
{
    const char* name = member->name;
    if (ar_is_special_name(name)) {
        strcpy(field, name);
    } else if (format_ == AR_ABI_POSIX && is_long_name(name)) {
        snprintf(field, AR_NAME_TEXT_SIZE, "/%ld", long(member->long_name_offset));
    } else {
        // The original and NU formats keep 15 characters; in the original
        // format the rest of a long name is lost, deliberately.
        size_t len = strnlen(name, AR_SHORT_NAME_MAX);
        memcpy(field, name, len);
        field[len] = '/';
        field[len + 1] = '\0';
    }
    return field;
}

bool AR_FILE::write_header(const AR_MEMBER* member)
{
    // The size field has room for 10 digits but sizes stop at 8.
    if (member->size > AR_MAX_MEMBER_SIZE) {
        set_error(AR_MEMBER_TOO_LARGE, "Member file too large: '%s'", member->name);
        return false;
    }
    int uid = 0;
    if (format_ == AR_ABI_NU_LONG_NAME) {
        if (member->long_name_offset > AR_MAX_UID_OFFSET) {
            set_error(AR_NAME_TABLE_TOO_LARGE, "Archive file name table too large");
            return false;
        }
        uid = member->long_name_offset;
    }
    char field[AR_NAME_TEXT_SIZE];
    const char* name = format_member_name(member, field);
    AR_HEADER header;
    bool fits = ar_put_text(header.name, name, strlen(name)) &&
                ar_put_number(header.date, member->date) && ar_put_number(header.uid, uid) &&
                ar_put_number(header.gid, 0) && ar_put_number<8>(header.mode, 0) &&
                ar_put_number(header.size, member->size);
    memcpy(header.end, AR_HEADER_END, AR_END_WIDTH);
    if (!fits || write_bytes(&header, sizeof header) != int64_t(sizeof header)) {
        set_error(AR_WRITE_ERROR, "Cannot write archive: '%s'", final_name_);
        return false;   // mutants: skip (reported; the flush at the end fails all the same)
    }
    return true;
}

int64_t AR_FILE::write_bytes(const void* data, size_t size)
{
    FILE* fp = output_ != nullptr ? output_->fp() : nullptr;
    return fp != nullptr ? int64_t(fwrite(data, 1, size, fp)) : 0;
}

// The index counts its own padding byte (a NUL) in its size, unlike every
// other member.
bool AR_FILE::write_symbol_table()
{
    if (symbol_table_size_ == 0)
        return true;
    int64_t padded = ar_padded(symbol_table_size_);
    AR_MEMBER index{};
    index.name = const_cast<char*>(AR_SYMBOL_TABLE_NAME);
    index.size = int32_t(padded);
    if (!write_header(&index))
        return false;
    auto out = gathered([this](const void* data, size_t size) { return write_bytes(data, size); });
    out.put_be32(symbol_count_);
    for (AR_SYMBOL* s = first_symbol_; s != nullptr; s = s->next)
        out.put_be32(s->offset);
    for (AR_SYMBOL* s = first_symbol_; s != nullptr; s = s->next)
        out.put(s->name, strlen(s->name) + 1);
    if ((symbol_table_size_ & 1) != 0)
        out.put("", 1);
    if (out.finish() != padded) {
        set_error(AR_WRITE_ERROR, "Cannot write symbol table");
        return false;
    }
    return true;
}

bool AR_FILE::write_long_name_table()
{
    if (long_name_size_ == 0)
        return true;
    bool nu = format_ == AR_ABI_NU_LONG_NAME;
    AR_MEMBER table{};
    table.name = const_cast<char*>(nu ? AR_NU_NAME_TABLE : AR_POSIX_NAME_TABLE);
    table.size = long_name_size_;
    if (!write_header(&table))
        return false;
    auto out = gathered([this](const void* data, size_t size) { return write_bytes(data, size); });
    if (nu)
        out.put("\n", 1);
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next) {
        size_t len = strlen(m->name);
        if (len >= AR_LONG_NAME_MIN) {
            out.put(m->name, len);
            out.put("/\n", 2);
        }
    }
    if ((long_name_size_ & 1) != 0)
        out.put("\n", 1);
    if (out.finish() != ar_padded(long_name_size_)) {
        set_error(AR_WRITE_ERROR, "Cannot write name_table");
        return false;
    }
    return true;
}

bool AR_FILE::write_members()
{
    pool_.finish_keeping();
    for (AR_MEMBER* m = first_member_; m != nullptr; m = m->next) {
        if (!write_member(m))
            return false;
    }
    drop_pool();
    return true;
}

// The contents come from the pool's file, where the index pass kept them,
// else from the member file or the input archive.
bool AR_FILE::write_member(AR_MEMBER* member)
{
    if (member->size == 0)
        return write_header(member);
    int before = errors_;
    SOURCE source;
    source.offset = pool_.take(member);
    if (source.offset >= 0)
        source.file = pool_.file();
    else if (!open_source(member, &source)) {
        // Neither a source file nor an input archive to copy from.
        if (errors_ == before)
            set_error(AR_FILE_READ_ERROR, "Cannot read file: '%s'", member->name);
        return false;
    }
    if (!write_header(member)) {
        close_source(source);   // mutants: skip (a handle left open on the way out)
        return false;
    }
    int result = copy_source(source, member->size, output_);
    if (result == 0 && (member->size & 1) != 0 && write_bytes("\n", 1) != 1)
        result = AR_WRITE_ERROR;
    close_source(source);
    if (result != 0) {
        set_error(AR_ERROR_CODE(result), "Error writing archive");
        return false;
    }
    return true;
}

// The new archive is complete once its stream is flushed and closed; only
// then does the old one go.
bool AR_FILE::finish_new_archive()
{
    FHM_FILE* output = output_;
    FILE* fp = output->fp();
    bool ok = fp != nullptr && fflush(fp) == 0 && ferror(fp) == 0;
    output_ = nullptr;
    if (fhm_close(output) != 0)
        ok = false;
    if (!ok) {
        set_error(AR_WRITE_ERROR, "Cannot write archive: '%s'", final_name_);
        return false;
    }
    output_live_ = 0;
    remove_old_archive();
    return true;
}

// The moved-aside flag is cleared only after the old file is gone: until
// then a signal still finds and restores it. An old archive that cannot be
// removed stays under its temporary name beside the new one, and is named
// to the caller.
void AR_FILE::remove_old_archive()
{
    close_input_ar();
    if (moved_aside_) {
        if (fn_delete(temp_name_) != 0)
            note_left_behind(temp_name_);
        moved_aside_ = 0;
    }
    name_ = final_name_;
}

// Puts the files right with nothing but unlink() and rename(), which are
// safe inside a signal handler: the handler may have interrupted stdio or
// the allocator, so it must neither close streams nor free memory. The
// temporary name always lies in the archive's own directory, so the rename
// back is a plain rename. Each step is safe to repeat.
void AR_FILE::restore_files()
{
    pool_.restore_files();
    if (output_live_) {
        unlink(final_name_);
        output_live_ = 0;
    }
    if (moved_aside_) {
        if (rename(temp_name_, final_name_) != 0)
            restore_failed_ = 1;
        moved_aside_ = 0;
    }
}

// The error path's cleanup: the files first, then the streams.
void AR_FILE::cleanup()
{
    bool was_moved = moved_aside_;
    restore_files();
    if (was_moved)
        name_ = final_name_;
    if (restore_failed_) {
        note_left_behind(temp_name_);
        restore_failed_ = 0;
    }
    FHM_FILE* output = output_;
    output_ = nullptr;
    if (output != nullptr)
        fhm_close(output);
    close_input_ar();
    drop_pool();
}

#ifndef ARWREN_AR_LIB_AR_FILE_H
#define ARWREN_AR_LIB_AR_FILE_H

#include <csignal>
#include <cstddef>
#include <cstdint>

#include "ar/lib/ar_block_reader.h"
#include "ar/lib/ar_content_pool.h"
#include "ar/lib/ar_member.h"
#include "ar/lib/ar_symbol.h"
#include "support/mzone.h"

class FHM_FILE;
namespace OFE { class OBJECT_FILE; }

// How member names longer than 15 characters are stored.
enum AR_ABI {
    AR_ABI_KEEP = 0,          // keep the format read; POSIX for a new archive
    AR_ABI_ORIGINAL = 1,      // names cut to 15 characters
    AR_ABI_NU_LONG_NAME = 2,  // "<filenames>/" table, offsets in the uid field
    AR_ABI_POSIX = 3          // "//" table, "/offset" names
};

enum AR_ERROR_CODE {
    AR_READ_ERROR = 1,
    AR_OPEN_ERROR = 2,
    AR_FILE_READ_ERROR = 3,
    AR_WRITE_ERROR = 4,
    AR_CREATE_ERROR = 5,
    AR_MEMBER_TOO_LARGE = 6,
    AR_NAME_TABLE_TOO_LARGE = 7
};

class AR_FILE;
struct AR_LAYOUT;
typedef void (*AR_ERROR_CALLBACK)(AR_FILE* archive, AR_ERROR_CODE code, const char* message);

// One archive: its members as read, edited in memory, and written anew.
class AR_FILE {
public:
    // Reads the archive from handle, or opens name itself when handle is
    // null.
    AR_FILE(const char* name, FHM_FILE* handle, AR_ERROR_CALLBACK callback);
    ~AR_FILE();
    AR_FILE(const AR_FILE&) = delete;
    AR_FILE& operator=(const AR_FILE&) = delete;

    // Reading.
    bool has_input() const { return input_ != nullptr; }
    // True when the archive file did not exist when it was opened: a new one.
    bool is_missing() const { return missing_; }
    bool is_archive();
    bool read_headers(bool read_symbols);
    void create_toc();
    AR_MEMBER* read_member_header(int32_t offset);  // null at the end or on an error
    // field: the header's name field as terminated text (at most 16 characters).
    bool fix_member_name(const char* field, int32_t uid, AR_MEMBER* member);
    bool read_name_table(AR_MEMBER* member);
    bool read_symbol_table(AR_MEMBER* member);
    int32_t skip_contents(AR_MEMBER* member);
    bool is_symbol_table(const char* name) const;
    bool is_name_table(const char* name);
    static bool is_long_name(const char* name);
    AR_MEMBER* find_member(const char* name) const;

    // Model.
    const char* name() const { return name_; }
    AR_ABI format() const { return format_; }
    AR_MEMBER* first_member() const { return first_member_; }
    AR_MEMBER* last_member() const { return last_member_; }
    AR_SYMBOL* first_symbol() const { return first_symbol_; }
    int32_t symbol_count() const { return symbol_count_; }
    int64_t symbol_table_size() const { return symbol_table_size_; }
    int32_t long_name_table_size() const { return long_name_size_; }
    MZONE* zone() { return &zone_; }
    AR_MEMBER* new_member(const char* name, int32_t date, int32_t size, const char* path);

    // Editing and writing.
    void add_member(AR_MEMBER* member);
    void delete_member(AR_MEMBER* member);
    FHM_FILE* open_member(AR_MEMBER* member);
    void close_member(AR_MEMBER* member, FHM_FILE* handle);
    // Copies the member's contents to `to`, unpadded, from wherever they
    // are; returns 0, or 3 or 4 as copy_file does.
    int copy_member(AR_MEMBER* member, FHM_FILE* to);
    void close_input_ar();
    bool write_archive(AR_ABI abi);
    AR_ABI output_format(AR_ABI abi) const;   // the format a write with abi uses
    bool open_new_ar(AR_ABI abi);
    void calculate_long_name_offsets();
    // field must hold AR_NAME_TEXT_SIZE characters (ar/lib/ar_header.h).
    const char* format_member_name(const AR_MEMBER* member, char* field) const;
    bool write_header(const AR_MEMBER* member);
    bool write_symbol_table();
    bool write_long_name_table();
    bool write_member(AR_MEMBER* member);
    // Undoes a half-done rewrite; safe to call at any moment, repeatedly, and
    // from a signal handler.
    void cleanup();
    void restore_files();   // cleanup's file part, safe in a signal handler
    // The files of this run that could not be removed (the old archive moved
    // aside, the content pool's file) or put back (the old archive, when the
    // rename back failed), for the caller to warn about: the i-th, or null.
    const char* left_behind(int i) const;

    // Symbol index.
    // Each returns false once the index has grown past the member size limit.
    bool build_symbol_table();
    bool find_symbols(AR_MEMBER* member);
    bool scan_symbols(AR_MEMBER* member, OFE::OBJECT_FILE* object_file);
    bool add_symbol_entry(const char* name, AR_MEMBER* member);
    int member_format(AR_MEMBER* member);

    // Errors: formats the message and hands it to the callback.
    void set_error(AR_ERROR_CODE code, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

private:
    // Where a member's contents come from while the archive is rewritten: a
    // stretch of the input archive, of the pool's file or of a member file.
    struct SOURCE {
        FHM_FILE* file = nullptr;
        int64_t offset = 0;
    };

    // The output is written in long sequential runs; a stream's default
    // block-sized buffer would cost a system call every few kilobytes.
    static constexpr size_t OUTPUT_BUFFER_SIZE = 256 * 1024;
    // Member files up to one block are read whole by the index pass, in one
    // read, and kept for the copy; larger ones are read where they are
    // needed.
    static constexpr size_t WHOLE_READ_MAX = AR_BLOCK_READER::BLOCK_SIZE;

    FHM_FILE* input_;
    bool owns_input_;
    char* name_;
    AR_ABI format_;
    int32_t first_member_offset_;
    MZONE zone_;
    AR_MEMBER* first_member_;
    AR_MEMBER* last_member_;
    bool has_name_table_;
    char* name_table_;
    int32_t name_table_size_;
    AR_SYMBOL* first_symbol_;
    AR_SYMBOL* last_symbol_;
    int32_t symbol_count_;
    int64_t symbol_table_size_;           // summed from untrusted names: 64 bits
    unsigned char* symbol_data_;
    int32_t long_name_size_;
    // Rewrite state, read by cleanup() which may run from a signal handler
    // at any instruction: each flag is set before the step it guards.
    volatile sig_atomic_t moved_aside_;   // the old archive may lie under temp_name_
    volatile sig_atomic_t output_live_;   // the file under final_name_ is ours to delete
    volatile sig_atomic_t restore_failed_;  // the old archive stayed under temp_name_
    char* final_name_;
    char* temp_name_;
    FHM_FILE* volatile output_;
    AR_ERROR_CALLBACK callback_;
    char* output_buffer_;
    int errors_;                          // failures reported through set_error
    AR_BLOCK_READER input_blocks_;        // the input archive
    AR_BLOCK_READER file_blocks_;         // the member file being read or copied
    AR_CONTENT_POOL pool_;                // member files' contents kept for the copy
    AR_BLOCK_READER pool_blocks_;
    bool missing_;                        // the archive file did not exist
    int64_t input_size_;                  // the input archive's size; -1 if not a regular file
    static constexpr int LEFT_BEHIND_MAX = 2;   // the old archive and the pool's file
    const char* left_behind_[LEFT_BEHIND_MAX];
    int left_count_;

    void set_input(FHM_FILE* file, bool owned);
    static int64_t regular_file_size(FHM_FILE* file);
    void drop_pool();
    void note_left_behind(const char* name);
    bool seek_input(int64_t offset);
    bool input_holds(int64_t offset, int64_t size);
    bool read_input(int32_t offset, void* data, int64_t size);
    AR_MEMBER* make_member(const char* name, int32_t date, int32_t size, int32_t data_offset);
    bool resolve_long_name(int64_t offset, AR_MEMBER* member);
    void append_symbol(char* name, AR_MEMBER* member, int32_t offset);
    bool contents_available();
    void apply_layout(const AR_LAYOUT& layout, bool with_index);
    bool open_source(AR_MEMBER* member, SOURCE* source);
    bool read_ahead(AR_MEMBER* member, SOURCE* source);
    void close_source(const SOURCE& source);
    int copy_source(const SOURCE& source, int32_t size, FHM_FILE* to);
    int64_t readable_size(const SOURCE& source, const AR_MEMBER* member);
    bool names_storable(AR_ABI format);
    bool move_old_archive_aside();
    bool create_new_archive();
    bool write_members();
    bool finish_new_archive();
    void remove_old_archive();
    void set_stream_buffer(FHM_FILE* file, char** buffer, size_t size);
    int64_t write_bytes(const void* data, size_t size);
};

// Copies size bytes in chunks of 4096; with pad, an odd size is followed by
// "\n". Returns 0, 3 on a read failure, 4 on a write failure.
int copy_file(FHM_FILE* from, FHM_FILE* to, int32_t size, bool pad);

#endif

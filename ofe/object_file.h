#ifndef ARWREN_OFE_OBJECT_FILE_H
#define ARWREN_OFE_OBJECT_FILE_H

#include <cstdint>

#include "ofe/of_file_handle.h"
#include "ofe/of_state_machine.h"
#include "ofe/of_types.h"

class DATA_MAP;
class FHM_FILE;

namespace OFE {

class OBJECT_FILE;
class OF_MACHINE_DB;
class OF_SECTION_TABLE;
class OF_SYMBOL_TABLE;

typedef void (*OF_ERROR_CALLBACK)(OBJECT_FILE* file, OF_ERROR_CODE code, const char* message);

// One object file of any format, seen through a format-independent model of
// sections, string tables and symbols that load lazily. The factory sniffs
// the first bytes and builds the matching back end.
class OBJECT_FILE : public OF_STATE_MACHINE {
public:
    // Sniffs the file described by handle and builds its back end; null for
    // bytes that are no object file it knows (silently).
    static OBJECT_FILE* new_OBJECT_FILE(OF_FILE_HANDLE handle, OF_ERROR_CALLBACK callback);
    // An object that begins at the stream's current position, typically an
    // archive member; a member that is not at the head of its file needs its size.
    static OBJECT_FILE* new_OBJECT_FILE(FHM_FILE* file, unsigned long size, const char* name,
                                        OF_ERROR_CALLBACK callback);
    // An object at a known place in its file, typically an archive member
    // read in place: the stream's position is neither asked nor moved. A
    // size of 0 gives no object.
    static OBJECT_FILE* new_OBJECT_FILE(FHM_FILE* file, unsigned long offset, unsigned long size,
                                        const char* name, OF_ERROR_CALLBACK callback);
    // Opens path itself and closes it again when the object is deleted.
    static OBJECT_FILE* new_OBJECT_FILE(const char* path, OF_ERROR_CALLBACK callback);

    static void determine_file_properties(OF_FILE_HANDLE& handle);

    ~OBJECT_FILE() override;

    virtual OF_FORMAT_VER format_version() = 0;
    virtual OF_FILE_TYPE file_type() = 0;
    virtual OF_MACHINE machine() = 0;
    virtual OF_ENDIAN machine_endian() = 0;
    virtual OF_ENDIAN control_endian() = 0;   // the byte order records are read in
    virtual OF_SECTION_TABLE* section_table() = 0;
    virtual OF_SYMBOL_TABLE* symbol_table() = 0;
    virtual int load(OF_FILE_HANDLE handle) = 0;

    OF_FORMAT format() const { return handle_.format; }
    const OF_FILE_HANDLE& handle() const { return handle_; }
    const char* name() const { return handle_.name; }
    bool has_file() const { return handle_.file != nullptr; }
    OF_ENDIAN host_endian() const { return host_endian_; }
    // True when records must be byte-swapped: the file's order is not the host's.
    bool needs_swap() { return control_endian() != host_endian_; }
    OF_MACHINE_DB* machine_db() const { return machine_db_; }
    unsigned long serial_number() const { return serial_; }

    OF_ERROR_CODE error_code() const { return error_code_; }
    const char* error_message() const { return error_message_; }
    OF_ERROR_CALLBACK callback() const { return callback_; }
    void set_error(OF_ERROR_CODE code, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    // Binds map to size bytes at offset, counted from the object's first byte.
    int get_file_data(DATA_MAP& map, unsigned long offset, unsigned long size);

    static const char* format_name(int format);
    static const char* format_version_name(int version);
    static const char* machine_name(int machine);
    static const char* simple_machine_name(int machine);
    static const char* file_type_name(int type);
    static const char* error_code_name(int code);

    static OF_MACHINE OF_MACHINE_from_ELF(unsigned short e_machine);
    static unsigned short OF_MACHINE_to_ELF(OF_MACHINE machine);
    static OF_MACHINE OF_MACHINE_from_NUCOFF(unsigned short target_id);
    static unsigned short OF_MACHINE_to_NUCOFF(OF_MACHINE machine);
    static unsigned long OF_FORMAT_VER_to_ELF(OF_FORMAT_VER version);

protected:
    explicit OBJECT_FILE(const OF_FILE_HANDLE& handle);

    // The factory's steps after the back end is built: install the callback,
    // repeat an error raised during construction, load, number the file.
    static OBJECT_FILE* open_built(OBJECT_FILE* file, OF_ERROR_CALLBACK callback);
    void set_handle(const OF_FILE_HANDLE& handle) { handle_ = handle; }

private:
    static OBJECT_FILE* alloc_back_end(const OF_FILE_HANDLE& handle);
    bool replaces_pending_error(OF_ERROR_CODE code) const;

    OF_FILE_HANDLE handle_;
    OF_ENDIAN host_endian_;
    OF_ERROR_CODE error_code_;
    const char* error_message_;
    OF_ERROR_CALLBACK callback_;
    OF_MACHINE_DB* machine_db_;
    unsigned long serial_;

    static unsigned long next_serial_;
};

}  // namespace OFE

#endif

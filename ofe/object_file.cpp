#include "ofe/object_file.h"

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "ofe/coff/nucoff_file.h"
#include "ofe/elf/elf_file.h"
#include "ofe/mach/machine_table.h"
#include "ofe/of_machine_db.h"
#include "support/data_map.h"
#include "support/fhm_file.h"
#include "support/pfile.h"
#include "support/user_msg.h"

namespace OFE {

namespace {

// One message buffer shared by every file: a recorded message lives until the
// next error of any file is recorded, so callers copy what they keep.
char error_buffer[4096];

const unsigned kSniffLength = 24;           // enough for the ELF and COFF header fields used
const uint16_t kCoffV2Magic = 0x00C2;
const uint16_t kCoffV1Magic = 0x00C1;
const uint16_t kFirstTargetId = 0x0090;     // every COFF version-0 target ID lies in this range
const uint16_t kLastTargetId = 0x00A3;
const unsigned kElfDataOffset = 5;          // EI_DATA
const unsigned kElfMachineOffset = 18;      // e_machine
const unsigned kElfVersionOffset = 20;      // e_version
const unsigned kCoffTargetOffset = 20;      // target ID of a version 1 or 2 file header

const char kMemberSizeMessage[] =
    "a file size must be specified when reading an archive member; OBJECT_FILE not created";

bool in_target_range(uint16_t id) { return id >= kFirstTargetId && id <= kLastTargetId; }

uint16_t half_word(const unsigned char* bytes, OF_ENDIAN endian) {
    uint16_t value = 0;
    DATA_MAP::UINT16_read(bytes, &value, endian == OF_ENDIAN_BIG ? DATA_MAP::BIG : DATA_MAP::LITTLE);
    return value;
}

uint32_t word(const unsigned char* bytes, OF_ENDIAN endian) {
    uint32_t value = 0;
    DATA_MAP::UINT32_read(bytes, &value, endian == OF_ENDIAN_BIG ? DATA_MAP::BIG : DATA_MAP::LITTLE);
    return value;
}

// Reads the object's first bytes; what lies beyond a short object reads as zeros.
void read_head(const OF_FILE_HANDLE& handle, unsigned char (&head)[kSniffLength]) {
    memset(head, 0, sizeof head);
    unsigned long length = kSniffLength;
    if (handle.size != 0 && handle.size < length)
        length = handle.size;
    DATA_MAP map;
    map.set_data(handle.file, handle.offset, length);
    map.read(head, length);
}

// The current position becomes the offset; an unknown size runs to the end of
// the file. Stream failures are reported by the wrappers and are not fatal.
void take_position_and_size(OF_FILE_HANDLE& handle) {
    FILE* stream = handle.file->fp();
    long position = pftell(stream);
    handle.offset = static_cast<uint32_t>(position);
    if (handle.size != 0)
        return;
    pfseek(stream, 0, SEEK_END);
    handle.size = static_cast<uint32_t>(pftell(stream));
    pfseek(stream, static_cast<long>(handle.offset), SEEK_SET);
}

bool sniff_elf(const unsigned char* head, OF_FILE_HANDLE& handle) {
    if (head[0] != 0x7F || head[1] != 'E' || head[2] != 'L' || head[3] != 'F')
        return false;
    // Every EI_DATA value but 1 reads big-endian, 0 and invalid ones included;
    // EI_CLASS is not looked at.
    handle.format = OF_FORMAT_ELF;
    handle.endian = head[kElfDataOffset] == 1 ? OF_ENDIAN_LITTLE : OF_ENDIAN_BIG;
    handle.format_version = word(head + kElfVersionOffset, handle.endian) == 1
                                ? OF_FORMAT_VER_ELF1 : OF_FORMAT_VER_UNKNOWN;
    handle.machine = OBJECT_FILE::OF_MACHINE_from_ELF(half_word(head + kElfMachineOffset, handle.endian));
    return true;
}

// The first match wins; the little-endian version-2 test deliberately comes
// before every big-endian one.
bool sniff_coff(const unsigned char* head, OF_FILE_HANDLE& handle) {
    const uint16_t le = half_word(head, OF_ENDIAN_LITTLE);
    const uint16_t be = half_word(head, OF_ENDIAN_BIG);
    OF_FORMAT_VER version = OF_FORMAT_VER_UNKNOWN;
    OF_ENDIAN endian = OF_ENDIAN_UNKNOWN;
    if (le == kCoffV2Magic) { version = OF_FORMAT_VER_COFF2; endian = OF_ENDIAN_LITTLE; }
    else if (be == kCoffV2Magic) { version = OF_FORMAT_VER_COFF2; endian = OF_ENDIAN_BIG; }
    else if (le == kCoffV1Magic) { version = OF_FORMAT_VER_COFF1; endian = OF_ENDIAN_LITTLE; }
    else if (be == kCoffV1Magic) { version = OF_FORMAT_VER_COFF1; endian = OF_ENDIAN_BIG; }
    else if (in_target_range(le)) { version = OF_FORMAT_VER_COFF0; endian = OF_ENDIAN_LITTLE; }
    else if (in_target_range(be)) { version = OF_FORMAT_VER_COFF0; endian = OF_ENDIAN_BIG; }
    else return false;
    handle.format = OF_FORMAT_NUCOFF;
    handle.format_version = version;
    handle.endian = endian;
    // Version 0 has no magic: its first half-word is the target ID itself.
    const uint16_t target = version == OF_FORMAT_VER_COFF0 ? half_word(head, endian)
                                                           : half_word(head + kCoffTargetOffset, endian);
    handle.machine = OBJECT_FILE::OF_MACHINE_from_NUCOFF(target);
    return true;
}

// Format, version, byte order and machine from the object's first bytes.
void sniff(OF_FILE_HANDLE& handle) {
    unsigned char head[kSniffLength];
    read_head(handle, head);
    if (!sniff_elf(head, handle))
        sniff_coff(head, handle);
}

}  // namespace

unsigned long OBJECT_FILE::next_serial_ = 1;

void OBJECT_FILE::determine_file_properties(OF_FILE_HANDLE& handle) {
    if (!handle.file)
        return;
    take_position_and_size(handle);
    sniff(handle);
    pfseek(handle.file->fp(), static_cast<long>(handle.offset), SEEK_SET);
}

OBJECT_FILE* OBJECT_FILE::alloc_back_end(const OF_FILE_HANDLE& handle) {
    switch (handle.format) {
    case OF_FORMAT_ELF:
        return new ELF_FILE(handle);
    case OF_FORMAT_NUCOFF:
        return new NUCOFF_FILE(handle);
    default:
        return nullptr;
    }
}

OBJECT_FILE* OBJECT_FILE::open_built(OBJECT_FILE* file, OF_ERROR_CALLBACK callback) {
    file->callback_ = callback;
    // An error raised while the back end was built had no callback to go to.
    if (file->error_code_ != OF_NO_ERROR && callback)
        callback(file, file->error_code_, file->error_message_);
    if (file->handle_.file)
        file->load(file->handle_);
    file->serial_ = next_serial_++;
    return file;
}

OBJECT_FILE* OBJECT_FILE::new_OBJECT_FILE(OF_FILE_HANDLE handle, OF_ERROR_CALLBACK callback) {
    if (handle.file)
        determine_file_properties(handle);
    OBJECT_FILE* file = alloc_back_end(handle);
    if (!file)
        return nullptr;
    return open_built(file, callback);
}

OBJECT_FILE* OBJECT_FILE::new_OBJECT_FILE(FHM_FILE* file, unsigned long size, const char* name,
                                          OF_ERROR_CALLBACK callback) {
    // Sniffing takes an unknown size from the end of the file, which is right
    // only for an object that starts at the head of its file.
    if (size == 0 && pftell(file ? file->fp() : nullptr) != 0) {
        USER_MSG::get_umsg_obj()->error("%s", kMemberSizeMessage);
        return nullptr;
    }
    OF_FILE_HANDLE handle;
    handle.file = file;
    handle.name = name;
    handle.size = static_cast<uint32_t>(size);
    return new_OBJECT_FILE(handle, callback);
}

OBJECT_FILE* OBJECT_FILE::new_OBJECT_FILE(FHM_FILE* file, unsigned long offset, unsigned long size,
                                          const char* name, OF_ERROR_CALLBACK callback) {
    if (!file || size == 0)
        return nullptr;
    OF_FILE_HANDLE handle;
    handle.file = file;
    handle.name = name;
    handle.offset = static_cast<uint32_t>(offset);
    handle.size = static_cast<uint32_t>(size);
    sniff(handle);
    OBJECT_FILE* object = alloc_back_end(handle);
    return object ? open_built(object, callback) : nullptr;
}

OBJECT_FILE* OBJECT_FILE::new_OBJECT_FILE(const char* path, OF_ERROR_CALLBACK callback) {
    OF_FILE_HANDLE handle;
    handle.file = fhm_open(path, "rb");
    handle.name = path;
    handle.owns_file = handle.file != nullptr;
    OBJECT_FILE* object = new_OBJECT_FILE(handle, callback);
    if (!object && handle.file)
        fhm_close(handle.file);
    return object;
}

OBJECT_FILE::OBJECT_FILE(const OF_FILE_HANDLE& handle)
    : OF_STATE_MACHINE(this),
      handle_(handle),
      host_endian_(DATA_MAP::host_endian() == DATA_MAP::BIG ? OF_ENDIAN_BIG : OF_ENDIAN_LITTLE),
      error_code_(OF_NO_ERROR),
      error_message_(""),
      callback_(nullptr),
      machine_db_(nullptr),
      serial_(0) {
    machine_db_ = OF_MACHINE_DB::machine_db(this, handle.machine);
}

OBJECT_FILE::~OBJECT_FILE() {
    error_code_ = OF_NO_ERROR;   // mutants: skip (the object ends here; nothing reads it again)
    error_message_ = "";         // mutants: skip (likewise)
    if (handle_.owns_file && handle_.file)
        fhm_close(handle_.file);
    delete machine_db_;
}

// A severe error (1, 2, 3, 5, 7) sticks; a mild one (4, 6) gives way to
// anything but another mild one; 8 gives way to everything but 8 and the mild.
bool OBJECT_FILE::replaces_pending_error(OF_ERROR_CODE code) const {
    switch (error_code_) {
    case OF_NO_ERROR:
        return true;
    case OF_ERR_FORMAT:
    case OF_ERR_ACCESS:
    case OF_ERR_CORRUPT:
    case OF_ERR_ILLEGAL_OP:
    case OF_ERR_INTERNAL:
        return false;
    case OF_ERR_WARNING:
    case OF_ERR_TRUNCATED:
        return code != OF_ERR_WARNING && code != OF_ERR_TRUNCATED;
    case OF_ERR_DEVELOPMENT:
        return code != OF_ERR_DEVELOPMENT && code != OF_ERR_WARNING && code != OF_ERR_TRUNCATED;
    default:
        return true;
    }
}

void OBJECT_FILE::set_error(OF_ERROR_CODE code, const char* format, ...) {
    // A pending error is repeated to the caller each time a further one is raised.
    if (error_code_ != OF_NO_ERROR && callback_)
        callback_(this, error_code_, error_message_);
    if (!replaces_pending_error(code))
        return;
    va_list args;
    va_start(args, format);
    vsnprintf(error_buffer, sizeof error_buffer, format, args);
    va_end(args);
    error_code_ = code;
    error_message_ = error_buffer;
    if (code != OF_NO_ERROR && callback_)
        callback_(this, code, error_message_);
}

// Offsets are relative to the object's first byte. The stretch is cut to the
// object's extent so that corrupt header values can neither reach into a
// neighbouring archive member nor make a map claim more than the file holds.
int OBJECT_FILE::get_file_data(DATA_MAP& map, unsigned long offset, unsigned long size) {
    if (max_state(OF_STATE_OPEN) != 0)
        return -1;
    const uint64_t extent = handle_.size;
    const uint64_t start = offset;
    uint64_t length = size;
    if (start >= extent)
        length = 0;
    else if (extent - start < length)
        length = extent - start;
    const uint64_t absolute = length ? handle_.offset + start : handle_.offset;
    map.set_data(handle_.file, static_cast<unsigned long>(absolute), static_cast<unsigned long>(length));
    return 0;
}

const char* OBJECT_FILE::format_name(int format) {
    switch (format) {
    case OF_FORMAT_NUCOFF: return "NU-COFF";
    case OF_FORMAT_ELF: return "ELF";
    default: return "UNKNOWN";
    }
}

// The text is the version digit as the format itself numbers it.
const char* OBJECT_FILE::format_version_name(int version) {
    switch (version) {
    case OF_FORMAT_VER_COFF0: return "0";
    case OF_FORMAT_VER_COFF1: return "1";
    case OF_FORMAT_VER_COFF2: return "2";
    case OF_FORMAT_VER_ELF1: return "1";
    default: return "unknown format version";
    }
}

const char* OBJECT_FILE::machine_name(int machine) {
    const MACHINE_FAMILY* family = machine_family(machine);
    return family ? family->long_name : "unknown machine";
}

const char* OBJECT_FILE::simple_machine_name(int machine) {
    assert(machine >= 0 && machine <= OF_MACHINE_LAST);
    const MACHINE_FAMILY* family = machine_family(machine);
    return family ? family->short_name : "unknown";
}

const char* OBJECT_FILE::file_type_name(int type) {
    switch (type) {
    case OF_FILE_TYPE_RELOCATABLE: return "relocatable file";
    case OF_FILE_TYPE_EXECUTABLE: return "executable file";
    case OF_FILE_TYPE_SHARED: return "shared object file";
    case OF_FILE_TYPE_CORE: return "core file";
    default: return "unknown file type";
    }
}

const char* OBJECT_FILE::error_code_name(int code) {
    switch (code) {
    case OF_NO_ERROR: return "no error";
    case OF_ERR_FORMAT: return "invalid object file format";
    case OF_ERR_ACCESS: return "file access error";
    case OF_ERR_CORRUPT: return "corrupted object file";
    case OF_ERR_WARNING: return "warning";
    case OF_ERR_ILLEGAL_OP: return "illegal operation";
    case OF_ERR_TRUNCATED: return "value truncated";
    case OF_ERR_INTERNAL: return "internal error";
    case OF_ERR_DEVELOPMENT: return "development issue";
    default: return "unknown error";
    }
}

OF_MACHINE OBJECT_FILE::OF_MACHINE_from_ELF(unsigned short e_machine) {
    const MACHINE_FAMILY* family = machine_family_by_elf(e_machine);
    return family ? family->machine : OF_MACHINE_UNKNOWN;
}

unsigned short OBJECT_FILE::OF_MACHINE_to_ELF(OF_MACHINE machine) {
    const MACHINE_FAMILY* family = machine_family(machine);
    return family ? family->elf_machine : 0;
}

OF_MACHINE OBJECT_FILE::OF_MACHINE_from_NUCOFF(unsigned short target_id) {
    const MACHINE_FAMILY* family = machine_family_by_nucoff(target_id);
    return family ? family->machine : OF_MACHINE_UNKNOWN;
}

unsigned short OBJECT_FILE::OF_MACHINE_to_NUCOFF(OF_MACHINE machine) {
    const MACHINE_FAMILY* family = machine_family(machine);
    return family ? family->nucoff_target : 0;
}

unsigned long OBJECT_FILE::OF_FORMAT_VER_to_ELF(OF_FORMAT_VER version) {
    return version == OF_FORMAT_VER_ELF1 ? 1 : 0;
}

}  // namespace OFE

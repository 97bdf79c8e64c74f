#include "support/pfile.h"

#include <cerrno>
#include <cstring>

#include "support/user_msg.h"

// Every report is an application error: the object-file reader counts a
// failed tell or seek on a member's stream as an error of the run.

long pftell(FILE* stream)
{
    if (!stream) {
        USER_MSG::get_umsg_obj()->apperror("pftell called with a NULL FILE pointer");
        return -1;
    }
    const long position = std::ftell(stream);
    if (position < 0) {
        USER_MSG::get_umsg_obj()->apperror("call to pftell failed:  %s", std::strerror(errno));
        return -1;
    }
    return position;
}

int pfseek(FILE* stream, long offset, int whence)
{
    if (!stream) {
        USER_MSG::get_umsg_obj()->apperror("pfseek called with a NULL FILE pointer");
        return -1;
    }
    if (whence == SEEK_SET && offset < 0) {
        USER_MSG::get_umsg_obj()->apperror("pfseek called with SEEK_SET, but offset is negative");
        return -1;
    }
    const int result = std::fseek(stream, offset, whence);
    if (result != 0)
        USER_MSG::get_umsg_obj()->apperror("call to pfseek failed:  %s", std::strerror(errno));
    return result;
}

// A short read is not reported: reading past the end of a file is how the
// callers find out that it is short.
size_t pfread(void* buffer, size_t size, size_t count, FILE* stream)
{
    if (!buffer) {
        USER_MSG::get_umsg_obj()->apperror("pfread called with a NULL buffer pointer");
        return 0;
    }
    if (!stream) {
        USER_MSG::get_umsg_obj()->apperror("pfread called with a NULL FILE pointer");
        return 0;
    }
    if (count == 0) {
        USER_MSG::get_umsg_obj()->apperror("pfread called requesting zero elements");
        return 0;
    }
    return std::fread(buffer, size, count, stream);
}

size_t pfwrite(const void* buffer, size_t size, size_t count, FILE* stream)
{
    if (!buffer) {
        USER_MSG::get_umsg_obj()->apperror("pfwrite called with a NULL buffer pointer");
        return 0;
    }
    if (!stream) {
        USER_MSG::get_umsg_obj()->apperror("pfwrite called with a NULL FILE pointer");
        return 0;
    }
    const size_t written = std::fwrite(buffer, size, count, stream);
    if (written < count)
        USER_MSG::get_umsg_obj()->apperror("pfwrite only wrote %lu elements; %lu were requested",
                                           static_cast<unsigned long>(written),
                                           static_cast<unsigned long>(count));
    return written;
}

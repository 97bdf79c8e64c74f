#include "support/file_names.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cstdint>
#include <sys/stat.h>
#include <unistd.h>

#include "support/safe_alloc.h"

namespace {

// Each part of fn_split holds at most 499 characters and its terminator.
const size_t SPLIT_PART = 500;
char split_dir[SPLIT_PART];
char split_base[SPLIT_PART];
char split_ext[SPLIT_PART];

const size_t COPY_CHUNK = 8192;

const char BASE62[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

// The "." that starts the extension, or null when the base name has none.
const char* extension_dot(const char* name) {
    return strrchr(fn_basename(name), '.');
}

void copy_part(char* to, const char* from, size_t length) {
    if (length > SPLIT_PART - 1)
        length = SPLIT_PART - 1;
    memcpy(to, from, length);
    to[length] = '\0';
}

bool copy_stream(FILE* in, FILE* out) {
    static unsigned char chunk[COPY_CHUNK];
    size_t got;
    while ((got = fread(chunk, 1, sizeof chunk, in)) > 0) {
        if (fwrite(chunk, 1, got, out) != got)
            return false;
    }
    return !ferror(in);
}

bool copy_file(const char* from, const char* to) {
    FILE* in = fopen(from, "rb");
    if (in == nullptr)
        return false;
    FILE* out = fopen(to, "wb");
    if (out == nullptr) {
        fclose(in);
        return false;
    }
    bool copied = copy_stream(in, out);
    fclose(in);
    if (fclose(out) != 0)
        copied = false;
    if (!copied)
        remove(to);
    return copied;
}

// "NU" and the process id in three base-62 digits, most significant first.
void temp_prefix(char prefix[6]) {
    unsigned id = static_cast<unsigned>(getpid());
    prefix[0] = 'N';
    prefix[1] = 'U';
    prefix[2] = BASE62[id / 3844 % 62];
    prefix[3] = BASE62[id / 62 % 62];
    prefix[4] = BASE62[id % 62];
    prefix[5] = '\0';
}

}  // namespace

const char* fn_basename(const char* path) {
    if (path == nullptr)
        return nullptr;
    const char* slash = strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

bool fn_hasdir(const char* path) {
    return path != nullptr && strchr(path, '/') != nullptr;
}

// A leading "." of ext is not doubled, whether it replaces an extension or
// is appended to a name that has none.
char* fn_addext(char* name, const char* ext, int replace) {
    if (name == nullptr || ext == nullptr)
        return name;
    char* dot = const_cast<char*>(extension_dot(name));
    if (dot != nullptr) {
        if (replace)
            strcpy(ext[0] == '.' ? dot : dot + 1, ext);
        return name;
    }
    if (ext[0] != '.')
        strcat(name, ".");
    strcat(name, ext);
    return name;
}

char* fn_delext(char* name) {
    if (name == nullptr)
        return nullptr;
    char* dot = const_cast<char*>(extension_dot(name));
    if (dot != nullptr)
        *dot = '\0';
    return name;
}

void fn_split(const char* path, char** dir, char** base, char** ext) {
    if (path == nullptr)
        path = "";
    const char* name = fn_basename(path);
    const char* dot = strrchr(name, '.');
    const char* name_end = dot != nullptr ? dot : name + strlen(name);
    copy_part(split_dir, path, static_cast<size_t>(name - path));
    copy_part(split_base, name, static_cast<size_t>(name_end - name));
    copy_part(split_ext, dot != nullptr ? dot + 1 : "", dot != nullptr ? strlen(dot + 1) : 0);
    if (dir != nullptr)
        *dir = split_dir;
    if (base != nullptr)
        *base = split_base;
    if (ext != nullptr)
        *ext = split_ext;
}

char* fn_realname(const char* name) {
    if (name == nullptr)
        return nullptr;
    size_t size = strlen(name) + 1;
    char* copy = static_cast<char*>(safemalloc(size));
    memcpy(copy, name, size);
    return copy;
}

bool fn_exists(const char* name) {
    struct stat status;
    return name != nullptr && stat(name, &status) == 0;
}

int fn_strcmp(const char* a, const char* b) {
    if (a == nullptr || b == nullptr)
        return (a != nullptr) - (b != nullptr);
    const signed char* p = reinterpret_cast<const signed char*>(a);
    const signed char* q = reinterpret_cast<const signed char*>(b);
    while (*p != 0 && *p == *q) {
        ++p;
        ++q;
    }
    return *p - *q;
}

// Across devices the file is copied and the source deliberately left in
// place: the caller decides when the old file may go.
int fn_rename(const char* from, const char* to) {
    if (from == nullptr || to == nullptr)
        return 0;
    if (rename(from, to) == 0)
        return 1;
    if (errno != EXDEV)
        return 0;
    return copy_file(from, to) ? 1 : 0;
}

// The name comes from the runtime's tempnam, which uses at most five
// characters of the prefix. A name without a directory part lives in the
// current directory. The second argument is accepted for its callers and
// deliberately ignored.
// Makes "dir/" + prefix + six random characters, as the platform's tempnam
// does, but always in the directory given: the archive writer renames the old
// archive to this name and relies on it lying beside the archive (a rename,
// never a copy across devices), so no environment variable may move it.
static char* unique_temp_name(const char* dir, const char* prefix) {
    struct stat st;
    if (stat(dir, &st) != 0 || !S_ISDIR(st.st_mode))
        return nullptr;
    size_t length = strlen(dir);
    bool slash = length > 0 && dir[length - 1] != '/';
    char* name = static_cast<char*>(safemalloc(length + 1 + 5 + 6 + 1));
    unsigned seed = static_cast<unsigned>(getpid()) * 2654435761u ^
                    static_cast<unsigned>(reinterpret_cast<uintptr_t>(&st));
    for (int attempt = 0; attempt < 1000; ++attempt) {
        char tail[7];
        for (int i = 0; i < 6; ++i) {
            seed = seed * 1103515245u + 12345u + static_cast<unsigned>(attempt);   // mutants: skip (any sequence of names will do)
            tail[i] = BASE62[(seed >> 16) % 62];
        }
        tail[6] = '\0';
        sprintf(name, "%s%s%s%s", dir, slash ? "/" : "", prefix, tail);
        if (lstat(name, &st) != 0 && errno == ENOENT)
            return name;
    }
    free(name);
    errno = EEXIST;
    return nullptr;
}

char* fn_tmpnam(char* buffer, const char* /*ignored*/, const char* dir) {
    char prefix[6];
    temp_prefix(prefix);
    if (dir == nullptr || dir[0] == '\0')
        dir = ".";
    errno = 0;
    char* name = unique_temp_name(dir, prefix);
    if (name == nullptr) {
        fprintf(stderr, "ERROR: cannot create temporary file name; %s\n",
                errno == ENOMEM ? "out of memory" : "check directory permissions");
        exit(1);
    }
    if (buffer == nullptr)
        return name;
    strcpy(buffer, name);
    free(name);
    return buffer;
}

int fn_delete(const char* name) {
    return name != nullptr ? remove(name) : -1;
}

bool fn_samefile(const char* a, const char* b) {
    struct stat sa, sb;
    if (a == nullptr || b == nullptr || stat(a, &sa) != 0 || stat(b, &sb) != 0)
        return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

bool fn_matches_ext(const char* name, const char* ext) {
    if (name == nullptr || ext == nullptr)
        return false;
    if (ext[0] == '.')
        ++ext;
    const char* dot = extension_dot(name);
    return strcmp(dot != nullptr ? dot + 1 : "", ext) == 0;
}

char* fn_build(const char* dir, const char* base, const char* ext) {
    dir = dir != nullptr ? dir : "";
    base = base != nullptr ? base : "";
    ext = ext != nullptr ? ext : "";
    size_t dir_length = strlen(dir);
    bool slash = dir_length > 0 && dir[dir_length - 1] != '/';
    bool dot = ext[0] != '\0' && ext[0] != '.';
    size_t size = dir_length + slash + strlen(base) + dot + strlen(ext) + 1;
    char* name = static_cast<char*>(safemalloc(size));
    snprintf(name, size, "%s%s%s%s%s", dir, slash ? "/" : "", base, dot ? "." : "", ext);
    return name;
}

bool fn_has_full_path(const char* name) {
    return name != nullptr && name[0] == '/';
}

bool fn_has_relative_path(const char* name) {
    return fn_hasdir(name) && name[0] != '/';
}

char* fn_get_working_dir() {
    size_t size = 256;
    char* dir = static_cast<char*>(safemalloc(size));
    while (getcwd(dir, size) == nullptr) {
        if (errno != ERANGE) {
            free(dir);
            return nullptr;
        }
        size *= 2;
        dir = static_cast<char*>(saferealloc(dir, size));
    }
    return dir;
}

int fn_change_dir(const char* dir) {
    return dir != nullptr ? chdir(dir) : -1;
}

bool fn_is_empty(const char* name) {
    struct stat status;
    return name != nullptr && stat(name, &status) == 0 && status.st_size == 0;
}

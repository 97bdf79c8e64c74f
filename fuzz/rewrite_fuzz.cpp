// A whole rewrite of any archive: read as the front end reads it, edited as
// a control byte says, and written in the format that byte picks. A write
// that succeeds must read back with the same members, names, sizes and
// bytes, and an index whose every entry points at a member's header; one
// that fails must leave the archive byte for byte as it was, with nothing
// beside it.
//
// Input: one control byte, then the archive. Control bits 0-1: the format
// (0 keep, 1 original, 2 NU long-name, 3 POSIX); bit 2: delete the first
// member; bit 3: add a member with a long name from a file.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "ar/lib/ar_file.h"
#include "fuzz_support.h"

namespace {

const char kAddedName[] = "an_added_member_with_a_long_name.txt";
const char kAddedBytes[] = "added member contents\n";

struct MEMBER_COPY {
    std::string name;
    std::string bytes;
};

int errors = 0;
void count_error(AR_FILE*, AR_ERROR_CODE, const char*) { ++errors; }

// A private directory in memory when the machine has one.
const std::string& scratch_dir() {
    static const std::string dir = [] {
        struct stat info;
        std::string base = stat("/dev/shm", &info) == 0 ? "/dev/shm" : "/tmp";
        std::string path = base + "/arwren-fuzz-" + std::to_string(getpid());
        mkdir(path.c_str(), 0700);
        return path;
    }();
    return dir;
}

void write_file(const std::string& path, const std::string& bytes) {
    FILE* out = fopen(path.c_str(), "wb");
    FUZZ_CHECK(out != nullptr && fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size());
    FUZZ_CHECK(fclose(out) == 0);
}

std::string read_file(const std::string& path) {
    std::string bytes;
    if (FILE* in = fopen(path.c_str(), "rb")) {
        char chunk[65536];
        for (size_t n; (n = fread(chunk, 1, sizeof chunk, in)) > 0;)
            bytes.append(chunk, n);
        fclose(in);
    }
    return bytes;
}

std::set<std::string> entries(const std::string& dir) {
    std::set<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d))
            if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0)
                names.insert(e->d_name);
        closedir(d);
    }
    return names;
}

// A member's contents as far as they can be read; read in pieces, since its
// size may claim far more than the file holds.
std::string contents(AR_FILE& archive, AR_MEMBER* member) {
    std::string bytes;
    FHM_FILE* file = member->size > 0 ? archive.open_member(member) : nullptr;
    char chunk[65536];
    for (size_t left = size_t(member->size), n = 1; file != nullptr && left > 0 && n > 0; left -= n) {
        n = fread(chunk, 1, left < sizeof chunk ? left : sizeof chunk, file->fp());
        bytes.append(chunk, n);
    }
    archive.close_member(member, file);
    return bytes;
}

// Reads the archive as the front end does, edits it, and writes it.
bool rewrite(const std::string& path, unsigned control, std::vector<MEMBER_COPY>& expected) {
    AR_FILE archive(path.c_str(), nullptr, count_error);
    if (!archive.is_archive() || !archive.read_headers(false))
        return false;
    archive.create_toc();
    if (errors != 0)
        return false;
    if ((control & 4) != 0 && archive.first_member() != nullptr)
        archive.delete_member(archive.first_member());
    if ((control & 8) != 0) {
        const std::string added = scratch_dir() + "/" + kAddedName;
        archive.add_member(archive.new_member(kAddedName, 1, int32_t(strlen(kAddedBytes)), added.c_str()));
    }
    for (AR_MEMBER* m = archive.first_member(); m != nullptr; m = m->next)
        expected.push_back({m->name, m->path != nullptr ? kAddedBytes : contents(archive, m)});
    return archive.write_archive(AR_ABI(control & 3));
}

void expect_read_back(const std::string& path, AR_ABI abi, const std::vector<MEMBER_COPY>& expected) {
    errors = 0;
    AR_FILE back(path.c_str(), nullptr, count_error);
    FUZZ_CHECK(back.is_archive() && back.read_headers(true));
    back.create_toc();
    FUZZ_CHECK(errors == 0);
    std::set<int32_t> headers;
    size_t i = 0;
    for (AR_MEMBER* m = back.first_member(); m != nullptr; m = m->next, ++i) {
        FUZZ_CHECK(i < expected.size());
        const std::string& name = expected[i].name;
        FUZZ_CHECK(m->name == (abi == AR_ABI_ORIGINAL ? name.substr(0, 15) : name));
        FUZZ_CHECK(contents(back, m) == expected[i].bytes);
        headers.insert(m->data_offset - 60);
    }
    FUZZ_CHECK(i == expected.size());
    for (AR_SYMBOL* s = back.first_symbol(); s != nullptr; s = s->next)
        FUZZ_CHECK(headers.count(s->offset) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const unsigned control = data[0];
    const std::string input(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::string& dir = scratch_dir();
    const std::string path = dir + "/x.a";
    for (const std::string& name : entries(dir))
        unlink((dir + "/" + name).c_str());
    write_file(path, input);
    write_file(dir + "/" + kAddedName, kAddedBytes);
    const std::set<std::string> before = entries(dir);
    MESSAGE_BUDGET budget;
    errors = 0;
    std::vector<MEMBER_COPY> expected;
    if (rewrite(path, control, expected))
        expect_read_back(path, AR_ABI(control & 3), expected);
    else
        FUZZ_CHECK(read_file(path) == input);
    FUZZ_CHECK(entries(dir) == before);
    return 0;
}

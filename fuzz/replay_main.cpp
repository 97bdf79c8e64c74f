// Runs a fuzz target over inputs kept in files, as an ordinary program:
// each argument is a file or a directory of files (a missing directory is
// skipped). Any finding ends the run the way it ends the fuzzer.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void replay(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path path(argv[i]);
        std::vector<std::filesystem::path> inputs;
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::directory_iterator(path))
                inputs.push_back(entry.path());
        } else if (std::filesystem::exists(path)) {
            inputs.push_back(path);
        }
        std::sort(inputs.begin(), inputs.end());
        for (const auto& input : inputs) {
            replay(input);
            ++count;
        }
    }
    printf("%zu inputs replayed\n", count);
    return 0;
}

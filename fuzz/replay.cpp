/* Runs inputs that were kept, a file each, where there is no fuzzer: replay DIRECTORY. */

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int count, char** words) {
    if (count != 2) return 2;
    /* Inputs may write files. */
    if (const char* directory = getenv("TEST_TMPDIR")) std::filesystem::current_path(directory);
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(words[1]))
        paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        printf("%s\n", path.filename().c_str());
        fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    /* Nothing to replay is not a success. */
    return paths.empty() ? 1 : 0;
}

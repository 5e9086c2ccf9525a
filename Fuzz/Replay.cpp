// Runs a harness on the files and folders given, for builds without libFuzzer.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesIn(const fs::path& path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool Run(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
        return false;
    }
    // Before it runs: the last one printed is the one that crashed.
    std::puts(path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> paths(argv + 1, argv + argc);
    LLVMFuzzerInitialize(&argc, &argv);
    std::size_t count = 0;
    for (const std::string& path : paths) {
        for (const fs::path& file : FilesIn(path)) {
            if (!Run(file))
                return 2;
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count == 0 ? 2 : 0;
}

// Runs the fuzz target over every file of the folders given (the seed corpus and every input that
// ever made it fail), without libFuzzer, so any build and its sanitizers replay them as a test. A
// fault ends the run with the file named just before it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int k = 1; k < argc; ++k) {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(argv[k], error))
            if (entry.is_regular_file() && entry.path().filename().string().front() != '.')
                inputs.push_back(entry.path());
        if (error) {
            std::fprintf(stderr, "cannot read %s: %s\n", argv[k], error.message().c_str());
            return 2;
        }
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path& path : inputs) {
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream in(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("fuzz inputs: %zu passed, 0 failed\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}

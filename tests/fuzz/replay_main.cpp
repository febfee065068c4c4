// SPDX-License-Identifier: MIT
// Runs a fuzz target over files and folders of files, for compilers without a fuzzer of their own: committed inputs
// stay tests. A target ends the program where a claim does not hold; the input is named first.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes);

int main(int nArguments, char** pArguments)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> aFiles;
    for (int i = 1; i < nArguments; ++i)
    {
        if (!fs::is_directory(pArguments[i]))
            aFiles.emplace_back(pArguments[i]);
        else
            for (const auto& entry : fs::directory_iterator(pArguments[i]))
                aFiles.push_back(entry.path());
    }
    std::sort(aFiles.begin(), aFiles.end());
    for (const fs::path& file : aFiles)
    {
        std::ifstream stream(file, std::ios::binary);
        if (!stream)
        {
            std::fprintf(stderr, "cannot be read: %s\n", file.c_str());
            return 2;
        }
        const std::vector<char> aBytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
        // A copy of exactly the file's size, so that a checker sees the first read beyond it.
        const std::vector<std::uint8_t> aInput(aBytes.begin(), aBytes.end());
        std::printf("%s\n", file.filename().c_str());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(aInput.data(), aInput.size());
    }
    std::printf("%zu inputs\n", aFiles.size());
    return aFiles.empty() ? 2 : 0;
}

#include "fuzz/fuzz.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

/// Runs a target over the files of its corpus, for compilers without a fuzzer of their own.
int main(int argc, char** argv)
{
    int inputs = 0;
    for (const char* folder : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            std::cout << entry.path().filename().string() << std::endl; // before it can crash
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++inputs;
        }
    }
    std::cout << inputs << " inputs" << std::endl;
    return inputs == 0 ? 1 : 0;
}

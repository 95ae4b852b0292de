// A stand-in for libFuzzer where the compiler has none: feeds every file named on the command
// line, and every regular file directly inside a named directory, to LLVMFuzzerTestOneInput once,
// in name order. Arguments that begin with "-" are libFuzzer options and are ignored, so that both
// kinds of target take the same command line.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// Optional, as with libFuzzer: a target that needs setting up defines it.
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> inputsOf(const std::vector<std::string>& arguments) {
    std::vector<fs::path> inputs;
    for (const std::string& argument : arguments) {
        if (!fs::is_directory(argument)) {
            inputs.emplace_back(argument);
            continue;
        }
        std::vector<fs::path> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(argument))
            if (entry.is_regular_file())
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        inputs.insert(inputs.end(), files.begin(), files.end());
    }
    return inputs;
}

} // namespace

int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i)
        if (argv[i][0] != '-')
            arguments.emplace_back(argv[i]);

    for (const fs::path& input : inputsOf(arguments)) {
        std::ifstream file(input, std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "cannot read %s\n", input.string().c_str());
            return 1;
        }
        std::vector<uint8_t> data((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
        std::cout << "Running: " << input.string() << std::endl;
        // As libFuzzer does, never a null pointer, not even for an empty input.
        static const uint8_t none = 0;
        LLVMFuzzerTestOneInput(data.empty() ? &none : data.data(), data.size());
    }
    return 0;
}

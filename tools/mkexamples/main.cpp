// mkexamples: writes the bundled example rule files into the directory given as its argument.
// The committed files in examples/ are its output; rerun it after changing an example.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "Examples.h"

namespace {

bool writeExample(const std::string& directory, const mkexamples::Example& example) {
    const std::string path = directory + "/" + example.fileName;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (out)
        out.write(reinterpret_cast<const char*>(example.bytes.data()),
                  static_cast<std::streamsize>(example.bytes.size()));
    out.close();
    if (!out) {
        std::cerr << "mkexamples: cannot write '" << path << "': " << std::strerror(errno) << "\n";
        return false;
    }
    std::cout << path << " (" << example.bytes.size() << " bytes)\n";
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const char* const usage =
        "Usage: mkexamples DIRECTORY\n"
        "Writes the example rule files (minimal.tkb, building.tkb) into DIRECTORY.\n";
    if (argc == 2 && (std::strcmp(argv[1], "-h") == 0 || std::strcmp(argv[1], "--help") == 0)) {
        std::cout << usage;
        return 0;
    }
    if (argc != 2) {
        std::cerr << usage;
        return 1;
    }
    bool ok = writeExample(argv[1], mkexamples::minimalExample());
    ok = writeExample(argv[1], mkexamples::buildingExample()) && ok;
    return ok ? 0 : 1;
}

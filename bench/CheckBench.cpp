// kov check on a library of 2000 copies of the building example and a few large generated rule
// files, on one thread and on two: the workers should share the work with little left over.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "classwriter/SampleRuleFiles.h"

namespace {

namespace fs = std::filesystem;

const int COPIES = 2000;
const int LARGE_FILES = 4;
const int LARGE_RULES = 3000;

void writeFile(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// Made once per process, removed at its end.
class Library {
public:
    Library() : mRoot(fs::temp_directory_path() / ("kov-check-bench-" + std::to_string(getpid()))) {
        std::ifstream in(KOVBENCH_EXAMPLES_DIR "/building.tkb", std::ios::binary);
        const std::string building{std::istreambuf_iterator<char>(in),
                                   std::istreambuf_iterator<char>()};
        for (int i = 0; i < COPIES; ++i) {
            const fs::path dir = mRoot / ("part" + std::to_string(i / 100));
            fs::create_directories(dir);
            writeFile(dir / ("building" + std::to_string(i) + ".tkb"), building);
            mBytes += building.size();
        }
        const std::vector<uint8_t> generated = classwriter::generatedRuleFile(LARGE_RULES);
        const std::string large(generated.begin(), generated.end());
        for (int i = 0; i < LARGE_FILES; ++i) {
            writeFile(mRoot / ("large" + std::to_string(i) + ".tkb"), large);
            mBytes += large.size();
        }
    }
    ~Library() { fs::remove_all(mRoot); }

    std::string root() const { return mRoot.string(); }
    int64_t bytes() const { return static_cast<int64_t>(mBytes); }

private:
    fs::path mRoot;
    size_t mBytes = 0;
};

const Library& library() {
    static const Library made;
    return made;
}

void checkLibrary(benchmark::State& state) {
    const Library& files = library();
    const std::string command = std::string("'") + KOVBENCH_KOV + "' check --quiet -j " +
                                std::to_string(state.range(0)) + " '" + files.root() +
                                "' >/dev/null";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("kov check failed");
    }
    state.SetBytesProcessed(state.iterations() * files.bytes());
    state.counters["files"] = COPIES + LARGE_FILES;
}

} // namespace

BENCHMARK(checkLibrary)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

BENCHMARK_MAIN();

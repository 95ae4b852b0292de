// kov_bench [--write-inputs DIR | --profile KIND/INPUT COUNT | benchmark options]
//   --write-inputs: writes the rule files that the benchmarks read, for other readers to compare.
//   --profile: runs FullDecode, ClassModel or Walk on one input COUNT times, for profilers.
#include <cstdlib>
#include <cstring>
#include <string>
#include <iostream>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <benchmark/benchmark.h>

#include "Inputs.h"

namespace kovbench {
void registerDecodeBenchmarks();
void registerPluginBenchmarks();
bool runForProfiler(const std::string& name, int count);
} // namespace kovbench

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--write-inputs") == 0) {
        if (kovbench::writeInputs(argv[2]))
            return 0;
        std::cerr << "kov_bench: cannot write the inputs to " << argv[2] << "\n";
        return 1;
    }
    if (argc == 4 && std::strcmp(argv[1], "--profile") == 0) {
        if (kovbench::runForProfiler(argv[2], std::atoi(argv[3])))
            return 0;
        std::cerr << "kov_bench: no input " << argv[2] << "\n";
        return 1;
    }
#ifdef __GLIBC__
    // Every iteration builds and frees a lot of memory. By default glibc then returns the top of
    // the heap to the system and faults it back in on the next iteration, or not, depending on where
    // the last freed chunks happen to lie; that alone can triple a figure. Fixed thresholds keep
    // the heap in place, so that the figures measure the code and stay comparable between builds.
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
#endif
    kovbench::registerDecodeBenchmarks();
    kovbench::registerPluginBenchmarks();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

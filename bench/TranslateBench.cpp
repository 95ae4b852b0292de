// Reading a rule file into a ClassInfo, and a full translation, for files of 10 to 1000 rules.
#include <sstream>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <benchmark/benchmark.h>

#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/Translator.h"
#include "BenchRuleFiles.h"
#include "kovx/TKB.h"

namespace {

void readClassInfo(benchmark::State& state) {
    const std::string file = benchRuleFile(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::istringstream in(file);
        classfile::ByteStream stream(in);
        classfile::ClassInfo classFile(stream);
        benchmark::DoNotOptimize(classFile.methods_count);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.size()));
}

void translate(benchmark::State& state) {
    const std::string file = benchRuleFile(static_cast<int>(state.range(0)));
    tkb::getBuiltinIndexMap();
    tkb::getEnumValueMap();
    for (auto _ : state) {
        std::istringstream in(file);
        kovx::TKBProgram program;
        tkb::translate(program, in);
        benchmark::DoNotOptimize(program.constants.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.size()));
}

} // namespace

BENCHMARK(readClassInfo)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(translate)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
#ifdef __GLIBC__
    // Every iteration builds and frees a few megabytes of small objects. By default glibc then
    // returns the top of the heap to the system, and faults it back in on the next iteration, or
    // not, depending on where the last freed chunks happen to lie; that alone can triple a figure.
    // Fixed thresholds keep the heap in place, so that the figures measure the reader and stay
    // comparable between builds.
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
#endif
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

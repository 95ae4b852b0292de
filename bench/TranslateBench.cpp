// Reading a rule file into a ClassInfo, and a full translation, for files of 10 to 1000 rules.
#include <sstream>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <benchmark/benchmark.h>

#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "classwriter/RuleFileBuilder.h"
#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/Translator.h"
#include "kovx/TKB.h"

namespace {

using classwriter::RuleAnnotation;
using classwriter::RuleCode;

// Each rule names two parameters, carries two annotations and calls builtins, the next rule, an
// attribute and enumeration members, as compiled rules do.
std::string ruleFile(int rules) {
    classwriter::RuleFileBuilder b("Bench");
    const int attributes = rules / 10 + 1;
    for (int a = 0; a < attributes; ++a)
        b.addAttribute("attr" + std::to_string(a), "()D",
                       {RuleAnnotation("$Range").withFloat(0, "min").withFloat(a, "max"),
                        RuleAnnotation("$Group").withString("G").withFloat(a % 3)},
                       RuleCode().pushDouble(a + 0.5));
    for (int r = 0; r < rules; ++r) {
        RuleCode code;
        code.callRule("attr" + std::to_string(r % attributes), "()D")
            .callBuiltin("extrude", "(D)V")
            .pushString("tex" + std::to_string(r) + ".png")
            .callBuiltin("color", "(Ljava/lang/String;)V")
            .readEnum("AlignAxesSelector", r % 2 ? "x" : "z")
            .callBuiltin("alignScopeToAxes", "(Lcom/velmor/gc/AlignAxesSelector;)V")
            .pushInt(r)
            .pushDouble(r * 0.25);
        if (r + 1 < rules)
            code.callRule("Rule" + std::to_string(r + 1) + "$part", "(DLjava/lang/String;)V");
        b.addRule("Rule" + std::to_string(r) + "$part", "(DLjava/lang/String;)V", {"w", "label"},
                  {RuleAnnotation("$Order").withFloat(r), RuleAnnotation("$Doc").withString("rule")},
                  code);
    }
    const auto bytes = b.bytes();
    return std::string(bytes.begin(), bytes.end());
}

void readClassInfo(benchmark::State& state) {
    const std::string file = ruleFile(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::istringstream in(file);
        classfile::ByteStream stream(in);
        classfile::ClassInfo classFile(stream);
        benchmark::DoNotOptimize(classFile.methods_count);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.size()));
}

void translate(benchmark::State& state) {
    const std::string file = ruleFile(static_cast<int>(state.range(0)));
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

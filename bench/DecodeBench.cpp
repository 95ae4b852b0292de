// Decoding rule files: the full decode, the class model alone, a bare structure walk as yardstick,
// translation, rule file info extraction and its XML, and the builtin and enumeration lookups.
#include <cstring>
#include <istream>
#include <memory>

#include <benchmark/benchmark.h>

#include "HeapCounter.h"
#include "Inputs.h"
#include "StructureWalk.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/MemoryBudget.h"
#include "codecs/tkb/RuleFileInfoExtraction.h"
#include "codecs/tkb/TKBDecoder.h"
#include "codecs/tkb/Translator.h"
#include "kovx/TKB.h"
#include "rulefileinfo/RuleFileInfoImpl.h"

namespace kovbench {

namespace {

void setThroughput(benchmark::State& state, const Input& input) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.bytes.size()));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

// Heap figures of one run of body, as ratios to the file size.
template <typename Body>
void setHeapCounters(benchmark::State& state, const Input& input, const char* prefix, Body body) {
    HeapUse use;
    {
        HeapMeasurement measurement;
        body();
        use = measurement.use();
    }
    const double size = static_cast<double>(input.bytes.size());
    const std::string p(prefix);
    state.counters[p + "peak_heap/size"] = static_cast<double>(use.peakBytes) / size;
    state.counters[p + "allocs"] = static_cast<double>(use.allocations);
}

void decodeOnce(const tkb::TKBDecoder& decoder, const Input& input) {
    MemoryBuffer buffer(input.bytes);
    std::istream in(&buffer);
    kovx::ContentPtrVector results;
    decoder.decode(results, in);
    benchmark::DoNotOptimize(results.data());
}

std::unique_ptr<classfile::ClassInfo> readModel(const Input& input) {
    MemoryBuffer buffer(input.bytes);
    std::istream in(&buffer);
    classfile::ByteStream stream(in);
    return std::make_unique<classfile::ClassInfo>(stream);
}

void fullDecode(benchmark::State& state, const Input& input) {
    tkb::getBuiltinIndexMap();
    tkb::getEnumValueMap();
    const tkb::TKBDecoder decoder;
    if (state.thread_index() == 0) {
        setHeapCounters(state, input, "", [&] { decodeOnce(decoder, input); });
        setHeapCounters(state, input, "model_", [&] { readModel(input); });
        // What the rule program and its rule file info hold once the decode has returned.
        HeapMeasurement measurement;
        MemoryBuffer buffer(input.bytes);
        std::istream in(&buffer);
        kovx::ContentPtrVector results;
        decoder.decode(results, in);
        state.counters["result_heap/size"] = static_cast<double>(measurement.use().liveBytes) /
                                             static_cast<double>(input.bytes.size());
    }
    for (auto _ : state)
        decodeOnce(decoder, input);
    setThroughput(state, input);
}

// The allocator's share of a full decode: the decode's own heap calls (the rule program, the rule
// file info and the class model, then their release), made again with malloc and free alone.
void allocatorFloor(benchmark::State& state, const Input& input) {
    tkb::getBuiltinIndexMap();
    tkb::getEnumValueMap();
    const tkb::TKBDecoder decoder;
    std::vector<HeapCall> calls;
    {
        HeapTrace trace;
        decodeOnce(decoder, input);
        calls = trace.calls();
    }
    HeapReplay replay(std::move(calls));
    for (auto _ : state)
        replay.run();
    state.counters["heap_calls"] = static_cast<double>(replay.calls());
    setThroughput(state, input);
}

void classModel(benchmark::State& state, const Input& input) {
    setHeapCounters(state, input, "", [&] { readModel(input); });
    for (auto _ : state)
        benchmark::DoNotOptimize(readModel(input).get());
    setThroughput(state, input);
}

void structureWalk(benchmark::State& state, const Input& input) {
    const auto* data = reinterpret_cast<const uint8_t*>(input.bytes.data());
    if (walkClassFile(data, input.bytes.size()) == 0)
        state.SkipWithError("the walk does not reach the end of the file");
    for (auto _ : state)
        benchmark::DoNotOptimize(walkClassFile(data, input.bytes.size()));
    setThroughput(state, input);
}

void translate(benchmark::State& state, const Input& input) {
    tkb::getBuiltinIndexMap();
    tkb::getEnumValueMap();
    for (auto _ : state) {
        MemoryBuffer buffer(input.bytes);
        std::istream in(&buffer);
        kovx::TKBProgram program;
        tkb::translate(program, in);
        benchmark::DoNotOptimize(program.constants.data());
    }
    setThroughput(state, input);
}

void ruleFileInfo(benchmark::State& state, const Input& input) {
    const auto model = readModel(input);
    for (auto _ : state) {
        tkb::MemoryBudget budget;
        std::unique_ptr<RuleFileInfoImpl> info(tkb::fillRuleFileInfo(*model, budget));
        benchmark::DoNotOptimize(info.get());
    }
    setThroughput(state, input);
}

void toXml(benchmark::State& state, const Input& input) {
    const auto model = readModel(input);
    tkb::MemoryBudget budget;
    const std::unique_ptr<RuleFileInfoImpl> info(tkb::fillRuleFileInfo(*model, budget));
    std::vector<char> text;
    for (auto _ : state) {
        size_t size = 0;
        info->toXML(nullptr, &size);
        text.resize(size);
        info->toXML(text.data(), &size);
        benchmark::DoNotOptimize(text.data());
    }
    setThroughput(state, input);
}

void builtinLookup(benchmark::State& state) {
    const tkb::BuiltinIndexMap& map = *tkb::getBuiltinIndexMap();
    std::vector<std::string> keys;
    for (size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; i += 7)
        keys.push_back(std::string(tkb::BUILTIN_FUNCTIONS[i].name) +
                       tkb::BUILTIN_FUNCTIONS[i].descriptor);
    keys.push_back("noSuchBuiltin(D)V");
    for (auto _ : state)
        for (const std::string& key : keys)
            benchmark::DoNotOptimize(map.find(key));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * keys.size()));
}

void enumLookup(benchmark::State& state) {
    const tkb::EnumValueMap& map = *tkb::getEnumValueMap();
    std::vector<std::pair<std::string, std::string>> keys;
    for (size_t i = 0; i < tkb::ENUM_TABLE_COUNT; i += 5)
        keys.emplace_back(tkb::ENUM_TABLE[i].type, tkb::ENUM_TABLE[i].member);
    keys.emplace_back("AlignAxesSelector", "noSuchMember");
    for (auto _ : state)
        for (const auto& [type, member] : keys) {
            auto members = map.find(type);
            benchmark::DoNotOptimize(members->second.find(member));
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * keys.size()));
}

} // namespace

// Runs one kind of work on one input count times, outside the benchmark library, for profilers:
// callgrind --toggle-collect='kovbench::profiledRuns*' counts exactly these runs.
__attribute__((noinline)) void profiledRuns(const std::string& kind, const Input& input, int count) {
    const tkb::TKBDecoder decoder;
    for (int i = 0; i < count; ++i) {
        if (kind == "FullDecode")
            decodeOnce(decoder, input);
        else if (kind == "ClassModel")
            benchmark::DoNotOptimize(readModel(input).get());
        else
            benchmark::DoNotOptimize(walkClassFile(
                reinterpret_cast<const uint8_t*>(input.bytes.data()), input.bytes.size()));
    }
}

bool runForProfiler(const std::string& name, int count) {
    const size_t slash = name.find('/');
    for (const Input& input : inputs())
        if (slash != std::string::npos && input.name == name.substr(slash + 1)) {
            tkb::getBuiltinIndexMap();
            tkb::getEnumValueMap();
            profiledRuns(name.substr(0, slash), input, count);
            return true;
        }
    return false;
}

void registerDecodeBenchmarks() {
    using Fn = void (*)(benchmark::State&, const Input&);
    const std::pair<const char*, Fn> kinds[] = {
        {"FullDecode", fullDecode}, {"AllocatorFloor", allocatorFloor}, {"ClassModel", classModel},
        {"Walk", structureWalk},    {"Translate", translate},
        {"RuleFileInfo", ruleFileInfo}, {"ToXML", toXml},
    };
    for (const auto& [kind, fn] : kinds)
        for (const Input& input : inputs())
            benchmark::RegisterBenchmark((std::string(kind) + "/" + input.name).c_str(), fn,
                                         std::cref(input))
                ->Unit(benchmark::kMicrosecond);
    for (const Input& input : inputs())
        if (input.name == "rules:1000")
            benchmark::RegisterBenchmark("FullDecodeThreads/rules:1000", fullDecode,
                                         std::cref(input))
                ->Threads(1)
                ->Threads(2)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("BuiltinLookup", builtinLookup);
    benchmark::RegisterBenchmark("EnumLookup", enumLookup);
}

} // namespace kovbench

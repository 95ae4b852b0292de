// libFuzzer entry: the whole decode of a rule file through the decoder, then everything a client
// does with the result: the XML text of every rule file info object fetched with short buffers
// first, a clone of the info, every getter, and a walk of the rule program's constant table.
// Failed decodes are normal outcomes. Leak detection stays on for every input: see the rule
// program factory below for what happens to the program that a failed decode abandons.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <boost/pointer_cast.hpp>

#include "FuzzSupport.h"
#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/TKBDecoder.h"
#include "kovx/TKB.h"
#include "rulefileinfo/RuleFileInfoImpl.h"

namespace {

kovx::TKB* lastProgram = nullptr;

} // namespace

// The core's factory of rule programs, defined once more here, ahead of the core library's, so
// that the target knows the program of each decode. A failed decode abandons its program on
// purpose, and tells the leak checker so; libFuzzer, though, counts allocations against releases
// per input, runs a full leak scan for every input that leaves memory behind and, after a thousand
// such inputs, turns leak detection off for the rest of the run. Releasing the abandoned program
// here keeps it on.
kovx::TKB* kovx::TKB::create() {
    lastProgram = new TKB;
    return lastProgram;
}

namespace {

// Buffer sizes tried before the full one; 0 and 1 are the edge cases of the copy-out rule.
constexpr size_t SHORT_SIZES[] = {0, 1, 2, 17};

// Fetches the XML text by the copy-out rule: the short sizes first, each of which must report the
// same full size and leave a terminated prefix, then a buffer of exactly the reported size.
std::string fetchXML(const kov::Object& object) {
    size_t needed = 0;
    std::vector<std::vector<char>> shortTexts;
    for (const size_t n : SHORT_SIZES) {
        // Exactly n bytes on the heap, so that AddressSanitizer sees any write past them.
        std::unique_ptr<char[]> buffer(n ? new char[n] : nullptr);
        size_t size = n;
        kov::Status status = kov::STATUS_UNSPECIFIED_ERROR;
        object.toXML(buffer.get(), &size, &status);
        FUZZ_EXPECT(status == kov::STATUS_OK);
        FUZZ_EXPECT(size >= 1);
        FUZZ_EXPECT(needed == 0 || size == needed);
        needed = size;
        if (n) {
            FUZZ_EXPECT(buffer[n - 1] == '\0');
            shortTexts.emplace_back(buffer.get(), buffer.get() + n);
        }
    }
    std::unique_ptr<char[]> full(new char[needed]);
    size_t size = needed;
    FUZZ_EXPECT(object.toXML(full.get(), &size) == full.get());
    FUZZ_EXPECT(size == needed && full[needed - 1] == '\0');
    for (const auto& text : shortTexts)
        FUZZ_EXPECT(std::strncmp(text.data(), full.get(), text.size() - 1) == 0);
    return std::string(full.get(), needed - 1);
}

void readText(const wchar_t* text) {
    FUZZ_EXPECT(text != nullptr);
    (void)std::wcslen(text);
}

void exerciseAnnotation(const kov::Annotation& annotation) {
    fetchXML(annotation);
    readText(annotation.getName());
    const size_t n = annotation.getNumArguments();
    for (size_t i = 0; i < n; ++i) {
        const kov::AnnotationArgument* argument = annotation.getArgument(i);
        FUZZ_EXPECT(argument != nullptr);
        fetchXML(*argument);
        (void)argument->getType();
        readText(argument->getKey());
        (void)argument->getBool();
        (void)argument->getFloat();
        readText(argument->getStr());
    }
    FUZZ_EXPECT(annotation.getArgument(n) == nullptr);
}

// The getters of these objects answer null for an index past the end rather than read beyond it.
template <typename Owner> void exerciseAnnotations(const Owner& owner) {
    const size_t n = owner.getNumAnnotations();
    for (size_t i = 0; i < n; ++i) {
        const kov::Annotation* annotation = owner.getAnnotation(i);
        FUZZ_EXPECT(annotation != nullptr);
        exerciseAnnotation(*annotation);
    }
    FUZZ_EXPECT(owner.getAnnotation(n) == nullptr);
}

void exerciseEntry(const kov::RuleFileInfo::Entry& entry) {
    (void)entry.getReturnType();
    readText(entry.getName());
    const size_t n = entry.getNumParameters();
    for (size_t i = 0; i < n; ++i) {
        const kov::RuleFileInfo::Parameter* parameter = entry.getParameter(i);
        FUZZ_EXPECT(parameter != nullptr);
        (void)parameter->getType();
        readText(parameter->getName());
        exerciseAnnotations(*parameter);
    }
    FUZZ_EXPECT(entry.getParameter(n) == nullptr);
    exerciseAnnotations(entry);
}

// Returns the info's XML text.
std::string exerciseInfo(const kov::RuleFileInfo& info) {
    const std::string xml = fetchXML(info);
    for (size_t i = 0; i < info.getNumAttributes(); ++i) {
        FUZZ_EXPECT(info.getAttribute(i) != nullptr);
        exerciseEntry(*info.getAttribute(i));
    }
    for (size_t i = 0; i < info.getNumRules(); ++i) {
        FUZZ_EXPECT(info.getRule(i) != nullptr);
        exerciseEntry(*info.getRule(i));
    }
    FUZZ_EXPECT(info.getAttribute(info.getNumAttributes()) == nullptr);
    FUZZ_EXPECT(info.getRule(info.getNumRules()) == nullptr);
    exerciseAnnotations(info);
    return xml;
}

void walkMethod(const kovx::TKBMethod& method, size_t slot) {
    FUZZ_EXPECT(method.poolIndex == static_cast<int32_t>(slot));
    FUZZ_EXPECT(method.undefined ? method.methodPosition == -1 : method.methodPosition >= 0);
    size_t sum = 0;
    for (const uint8_t byte : method.code)
        sum += byte;
    for (const int32_t type : method.localTypes)
        sum += static_cast<size_t>(type);
    (void)sum;
    (void)method.name.size();
    (void)method.baseName.size();
    (void)method.descriptor.size();
}

void walkProgram(const kovx::TKBProgram& program) {
    using K = kovx::TKBConstant;
    for (size_t slot = 0; slot < program.constants.size(); ++slot) {
        const K* constant = program.constants[slot];
        if (!constant)
            continue;
        FUZZ_EXPECT(constant->kind <= K::ENUM_VALUE);
        FUZZ_EXPECT(constant->kind == K::CREATE_SHAPE ? constant->value == nullptr
                                                     : constant->value != nullptr);
        switch (constant->kind) {
        case K::STRING: {
            const auto& text =
                *static_cast<const boost::shared_ptr<std::wstring>*>(constant->value);
            FUZZ_EXPECT(text);
            readText(text->c_str());
            break;
        }
        case K::DOUBLE: (void)*static_cast<const double*>(constant->value); break;
        case K::INTEGER: (void)*static_cast<const int32_t*>(constant->value); break;
        case K::METHOD:
            walkMethod(*static_cast<const kovx::TKBMethod*>(constant->value), slot);
            break;
        case K::BUILTIN: {
            const int32_t id = *static_cast<const int32_t*>(constant->value);
            FUZZ_EXPECT(id >= 0 && static_cast<size_t>(id) < tkb::BUILTIN_FUNCTIONS_COUNT);
            break;
        }
        case K::CREATE_SHAPE: break;
        case K::ENUM_TYPE: {
            const int32_t index = *static_cast<const int32_t*>(constant->value);
            FUZZ_EXPECT(index >= 0 && static_cast<size_t>(index) < program.enumTypes.size());
            break;
        }
        case K::ENUM_VALUE: {
            const auto& value =
                *static_cast<const boost::shared_ptr<kovx::TKB::Enum>*>(constant->value);
            FUZZ_EXPECT(value && value->value >= -1);
            readText(value->name.c_str());
            break;
        }
        }
    }
    for (const auto& [key, slot] : program.methodIndex) {
        FUZZ_EXPECT(slot >= 0 && static_cast<size_t>(slot) < program.constants.size());
        const K* constant = program.constants[static_cast<size_t>(slot)];
        FUZZ_EXPECT(constant && constant->kind == K::METHOD);
        const auto& method = *static_cast<const kovx::TKBMethod*>(constant->value);
        FUZZ_EXPECT(key == method.name + method.descriptor);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::silenceDiagnostics();
    static const tkb::TKBDecoder decoder;
    kovx::ContentPtrVector results;
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    lastProgram = nullptr;
    if (!fuzz::tolerateErrors([&] { decoder.decode(results, in); })) {
        FUZZ_EXPECT(results.empty());
        delete lastProgram;
        return 0;
    }
    FUZZ_EXPECT(results.size() == 1);
    const auto rules = boost::dynamic_pointer_cast<kovx::TKB>(results.front());
    FUZZ_EXPECT(rules != nullptr);
    const kovx::TKBProgram& program = rules->getProgram();
    walkProgram(program);

    FUZZ_EXPECT(program.ruleFileInfo != nullptr);
    const std::string xml = exerciseInfo(*program.ruleFileInfo);
    if (const auto* impl = dynamic_cast<const RuleFileInfoImpl*>(program.ruleFileInfo)) {
        const std::unique_ptr<RuleFileInfoImpl> copy(impl->clone());
        FUZZ_EXPECT(copy != nullptr);
        // The copy carries the whole description, which is all that the XML shows.
        FUZZ_EXPECT(exerciseInfo(*copy) == xml);
    }
    return 0;
}

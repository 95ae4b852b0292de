#pragma once

#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "codecs/tkb/BuiltinTables.h"
#include "codecs/tkb/Translator.h"
#include "kovx/TKB.h"

namespace tkbtest {

/// The builtin id stored under key (name followed by descriptor), or -1 when there is none.
inline int32_t builtinId(const std::string& key) {
    const tkb::BuiltinIndexMap& map = *tkb::getBuiltinIndexMap();
    auto it = map.find(key);
    return it == map.end() ? -1 : it->second;
}

inline std::string asText(const std::vector<uint8_t>& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

inline void translateBytes(kovx::TKBProgram& program, const std::vector<uint8_t>& bytes,
                           size_t memoryLimit = tkb::MemoryBudget::DEFAULT_LIMIT) {
    std::istringstream in(asText(bytes));
    tkb::translate(program, in, memoryLimit);
}

/// The value of the constant at index when it has the given kind, else null.
template <typename T>
const T* constantOf(const kovx::TKBProgram& program, size_t index, uint32_t kind) {
    if (index >= program.constants.size() || !program.constants[index] ||
        program.constants[index]->kind != kind)
        return nullptr;
    return static_cast<const T*>(program.constants[index]->value);
}

/// The constant at index as text: "int -7", "enum AlignAxesSelector.y=1", "method Lot()V", "none".
inline std::wstring describe(const kovx::TKBProgram& program, size_t index) {
    if (index >= program.constants.size() || !program.constants[index])
        return L"none";
    const kovx::TKBConstant& c = *program.constants[index];
    std::wostringstream out;
    switch (c.kind) {
    case kovx::TKBConstant::STRING:
        out << L"string " << **static_cast<boost::shared_ptr<std::wstring>*>(c.value);
        break;
    case kovx::TKBConstant::DOUBLE: out << L"double " << *static_cast<double*>(c.value); break;
    case kovx::TKBConstant::INTEGER: out << L"int " << *static_cast<int32_t*>(c.value); break;
    case kovx::TKBConstant::METHOD: {
        const auto* method = static_cast<kovx::TKBMethod*>(c.value);
        out << L"method " << method->name << method->descriptor;
        break;
    }
    case kovx::TKBConstant::BUILTIN: out << L"builtin " << *static_cast<int32_t*>(c.value); break;
    case kovx::TKBConstant::CREATE_SHAPE:
        out << (c.value ? L"shape with a value" : L"shape");
        break;
    case kovx::TKBConstant::ENUM_TYPE:
        out << L"enum type " << *static_cast<int32_t*>(c.value);
        break;
    case kovx::TKBConstant::ENUM_VALUE: {
        const auto& value = **static_cast<boost::shared_ptr<kovx::TKB::Enum>*>(c.value);
        out << L"enum " << value.name << L"=" << value.value;
        break;
    }
    default: out << L"kind " << c.kind;
    }
    return out.str();
}

inline const kovx::TKBMethod* methodAt(const kovx::TKBProgram& program, size_t index) {
    return constantOf<kovx::TKBMethod>(program, index, kovx::TKBConstant::METHOD);
}

/// Silences standard error while it lives: the class file reader writes a line for every failure.
class QuietStderr {
  public:
    QuietStderr() : mOld(std::cerr.rdbuf(mSink.rdbuf())) {}
    ~QuietStderr() { std::cerr.rdbuf(mOld); }
    QuietStderr(const QuietStderr&) = delete;
    QuietStderr& operator=(const QuietStderr&) = delete;

  private:
    std::ostringstream mSink;
    std::streambuf* mOld;
};

} // namespace tkbtest

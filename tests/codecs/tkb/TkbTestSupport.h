#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "classwriter/RuleFileBuilder.h"
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

/// The method record at index, or null when the constant there is no method.
inline const kovx::TKBMethod* methodAt(const kovx::TKBProgram& program, size_t index) {
    if (index >= program.constants.size() || !program.constants[index] ||
        program.constants[index]->kind != kovx::TKBConstant::METHOD)
        return nullptr;
    return static_cast<const kovx::TKBMethod*>(program.constants[index]->value);
}

/// A RuntimeVisibleAnnotations attribute with one marker around one annotation made of the given
/// (element name index, value) pairs.
inline classwriter::Attribute
markerAttribute(classwriter::RuleFileBuilder& b,
                const std::vector<std::pair<uint16_t, classwriter::ElementValue>>& pairs) {
    using classwriter::ElementValue;
    const classwriter::Annotation nested{b.utf8("Lx;"), pairs, {}};
    classwriter::Annotation marker;
    marker.typeIndex = b.utf8(classwriter::RuleFileBuilder::MARKER_TYPE);
    marker.pairs.emplace_back(b.utf8("value"),
                              ElementValue::array({ElementValue::annotation(nested)}));
    return classwriter::annotations(b.utf8("RuntimeVisibleAnnotations"), {marker});
}

} // namespace tkbtest

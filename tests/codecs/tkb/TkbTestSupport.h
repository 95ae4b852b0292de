#pragma once

#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ConstantView.h"
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
    using programview::ConstantKind;
    const auto c = programview::ConstantView::at(program, index);
    if (!c)
        return L"none";
    std::wostringstream out;
    switch (c->missingValue() ? ConstantKind::UNKNOWN : c->kind()) {
    case ConstantKind::STRING: out << L"string " << (c->text() ? *c->text() : L"(null)"); break;
    case ConstantKind::DOUBLE: out << L"double " << c->number(); break;
    case ConstantKind::INTEGER: out << L"int " << c->integer(); break;
    case ConstantKind::RULE: out << L"method " << c->rule()->name << c->rule()->descriptor; break;
    case ConstantKind::BUILTIN: out << L"builtin " << c->builtinId(); break;
    case ConstantKind::CREATE_SHAPE:
        out << (c->hasValue() ? L"shape with a value" : L"shape");
        break;
    case ConstantKind::ENUM_TYPE: out << L"enum type " << c->enumTypeIndex(); break;
    case ConstantKind::ENUM_VALUE:
        if (const kovx::TKB::Enum* value = c->enumValue())
            out << L"enum " << value->name << L"=" << value->value;
        else
            out << L"enum (null)";
        break;
    default: out << L"kind " << c->code();
    }
    return out.str();
}

/// The method record at index, or null when the constant there is no method.
inline const kovx::TKBMethod* methodAt(const kovx::TKBProgram& program, size_t index) {
    const auto c = programview::ConstantView::at(program, index);
    return c ? c->rule() : nullptr;
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

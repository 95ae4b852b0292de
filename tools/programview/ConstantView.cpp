#include "ConstantView.h"

namespace programview {

namespace {

ConstantKind kindOf(uint32_t code) {
    using K = kovx::TKBConstant;
    switch (code) {
    case K::STRING: return ConstantKind::STRING;
    case K::DOUBLE: return ConstantKind::DOUBLE;
    case K::INTEGER: return ConstantKind::INTEGER;
    case K::METHOD: return ConstantKind::RULE;
    case K::BUILTIN: return ConstantKind::BUILTIN;
    case K::CREATE_SHAPE: return ConstantKind::CREATE_SHAPE;
    case K::ENUM_TYPE: return ConstantKind::ENUM_TYPE;
    case K::ENUM_VALUE: return ConstantKind::ENUM_VALUE;
    default: return ConstantKind::UNKNOWN;
    }
}

} // namespace

const char* kindWord(ConstantKind kind) {
    switch (kind) {
    case ConstantKind::STRING: return "string";
    case ConstantKind::DOUBLE: return "double";
    case ConstantKind::INTEGER: return "integer";
    case ConstantKind::RULE: return "method";
    case ConstantKind::BUILTIN: return "builtin";
    case ConstantKind::CREATE_SHAPE: return "createShape";
    case ConstantKind::ENUM_TYPE: return "enumType";
    case ConstantKind::ENUM_VALUE: return "enum";
    default: return "unknown";
    }
}

ConstantView::ConstantView(const kovx::TKBConstant& constant)
    : mConstant(&constant), mKind(kindOf(constant.kind)) {}

std::optional<ConstantView> ConstantView::at(const kovx::TKBProgram& program, size_t index) {
    if (index >= program.constants.size() || !program.constants[index])
        return std::nullopt;
    return ConstantView(*program.constants[index]);
}

bool ConstantView::missingValue() const {
    return mKind != ConstantKind::CREATE_SHAPE && !hasValue();
}

const std::wstring* ConstantView::text() const {
    const auto* text = valueAs<boost::shared_ptr<std::wstring>>(ConstantKind::STRING);
    return text ? text->get() : nullptr;
}

double ConstantView::number() const {
    const auto* number = valueAs<double>(ConstantKind::DOUBLE);
    return number ? *number : 0;
}

int32_t ConstantView::integer() const {
    const auto* integer = valueAs<int32_t>(ConstantKind::INTEGER);
    return integer ? *integer : 0;
}

const kovx::TKBMethod* ConstantView::rule() const {
    return valueAs<kovx::TKBMethod>(ConstantKind::RULE);
}

int32_t ConstantView::builtinId() const {
    const auto* id = valueAs<int32_t>(ConstantKind::BUILTIN);
    return id ? *id : -1;
}

int32_t ConstantView::enumTypeIndex() const {
    const auto* index = valueAs<int32_t>(ConstantKind::ENUM_TYPE);
    return index ? *index : -1;
}

const std::string* ConstantView::enumTypeName(const kovx::TKBProgram& program) const {
    const int32_t index = enumTypeIndex();
    if (index < 0 || static_cast<size_t>(index) >= program.enumTypes.size())
        return nullptr;
    return &program.enumTypes[static_cast<size_t>(index)];
}

const kovx::TKB::Enum* ConstantView::enumValue() const {
    const auto* value = valueAs<boost::shared_ptr<kovx::TKB::Enum>>(ConstantKind::ENUM_VALUE);
    return value ? value->get() : nullptr;
}

} // namespace programview

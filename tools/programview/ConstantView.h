#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "kovx/TKB.h"

namespace programview {

/// What one slot of the constant table holds, by the code stored in it.
enum class ConstantKind {
    STRING,
    DOUBLE,
    INTEGER,
    RULE, ///< a rule or function of the file, with its code bytes
    BUILTIN,
    CREATE_SHAPE,
    ENUM_TYPE,
    ENUM_VALUE,
    UNKNOWN ///< a code outside the eight that the translator writes
};

/// The word that kov's outputs use for a kind: "string", "double", "integer", "method",
/// "builtin", "createShape", "enumType", "enum" or "unknown".
const char* kindWord(ConstantKind kind);

/// One translated constant, typed. The program keeps owning the slot, which must outlive the
/// view. Each typed accessor answers for its own kind only and gives its empty value (null, 0 or
/// -1) for any other kind and for a slot that misses its value.
class ConstantView {
public:
    explicit ConstantView(const kovx::TKBConstant& constant);

    /// The view of the slot at index, or nothing for an untranslated or absent slot.
    static std::optional<ConstantView> at(const kovx::TKBProgram& program, size_t index);

    ConstantKind kind() const { return mKind; }
    /// The kind's code as stored, also for an unknown kind.
    uint32_t code() const { return mConstant->kind; }
    /// Every kind but CREATE_SHAPE points to its value; a slot whose pointer is null lacks it.
    bool missingValue() const;
    /// Whether the slot points to anything at all.
    bool hasValue() const { return mConstant->value != nullptr; }

    /// STRING: the text, or null when the slot's shared text is empty.
    const std::wstring* text() const;
    /// DOUBLE.
    double number() const;
    /// INTEGER.
    int32_t integer() const;
    /// RULE: the record of the rule or function, code bytes included.
    const kovx::TKBMethod* rule() const;
    /// BUILTIN: the row of the builtin table, -1 for none.
    int32_t builtinId() const;
    /// ENUM_TYPE: the index into the program's enumeration types, -1 for none.
    int32_t enumTypeIndex() const;
    /// ENUM_TYPE: the type's simple name, or null when the index is outside the program's list.
    const std::string* enumTypeName(const kovx::TKBProgram& program) const;
    /// ENUM_VALUE: the member, or null when the slot's shared member is empty.
    const kovx::TKB::Enum* enumValue() const;

private:
    template <typename T> const T* valueAs(ConstantKind kind) const {
        return mKind == kind ? static_cast<const T*>(mConstant->value) : nullptr;
    }

    const kovx::TKBConstant* mConstant;
    ConstantKind mKind;
};

} // namespace programview

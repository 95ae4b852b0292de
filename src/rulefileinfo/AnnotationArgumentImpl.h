#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "kov/Annotation.h"

/// One argument of an annotation. Only the value field that matches type is meaningful; the
/// getters return the stored field whatever the type.
class AnnotationArgumentImpl : public kov::AnnotationArgument {
public:
    int32_t type = kov::VT_UNKNOWN;
    std::wstring key; ///< Empty when the argument has no key.
    bool boolValue = false;
    double floatValue = 0.0;
    std::wstring strValue;

    const char* toXML(char* result, size_t* resultSize, kov::Status* stat = nullptr) const override;
    kov::ValueType getType() const override { return static_cast<kov::ValueType>(type); }
    const wchar_t* getKey() const override { return key.c_str(); }
    bool getBool() const override { return boolValue; }
    double getFloat() const override { return floatValue; }
    const wchar_t* getStr() const override { return strValue.c_str(); }

    /// Appends the argument element.
    void writeXML(std::ostream& out) const;
    std::string toXMLString() const;
};

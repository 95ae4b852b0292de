#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

#include "kov/RuleFileInfo.h"
#include "rulefileinfo/AnnotationImpl.h"

/// A parameter of a rule. Owns its annotation array; copies are deep.
class ParameterImpl : public kov::RuleFileInfo::Parameter {
public:
    int32_t type = kov::VT_UNKNOWN;
    std::wstring name;
    size_t numAnnotations = 0;
    AnnotationImpl* annotations = nullptr; ///< Array new, numAnnotations elements.

    ParameterImpl() = default;
    ParameterImpl(const ParameterImpl& other);
    ParameterImpl(ParameterImpl&& other) noexcept;
    ParameterImpl& operator=(ParameterImpl other) noexcept;
    ~ParameterImpl() override;
    void swap(ParameterImpl& other) noexcept;

    /// Replaces the annotations with n default ones.
    void setNumAnnotations(size_t n);

    kov::ValueType getType() const override { return static_cast<kov::ValueType>(type); }
    const wchar_t* getName() const override { return name.c_str(); }
    size_t getNumAnnotations() const override { return numAnnotations; }
    /// Null when i is out of range.
    const kov::Annotation* getAnnotation(size_t i) const override;

    /// Appends the parameter element.
    void writeXML(std::ostream& out) const;
    std::string toXMLString() const;
};

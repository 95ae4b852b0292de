#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>

#include "kov/RuleFileInfo.h"
#include "rulefileinfo/AnnotationImpl.h"
#include "rulefileinfo/ParameterImpl.h"

/// An attribute or a rule of a rule file. Owns its parameter and annotation arrays; copies are
/// deep and include the sort keys.
class EntryImpl : public kov::RuleFileInfo::Entry {
public:
    int32_t returnType = kov::VT_UNKNOWN;
    std::wstring name;
    size_t numParameters = 0;
    ParameterImpl* parameters = nullptr;   ///< Array new, numParameters elements.
    size_t numAnnotations = 0;
    AnnotationImpl* annotations = nullptr; ///< Array new, numAnnotations elements.
    // Presentation sort keys; neither exposed nor written to XML.
    double order = std::numeric_limits<double>::max();
    double groupOrder = std::numeric_limits<double>::max();
    std::wstring group;

    EntryImpl() = default;
    EntryImpl(const EntryImpl& other);
    EntryImpl(EntryImpl&& other) noexcept;
    EntryImpl& operator=(EntryImpl other) noexcept;
    ~EntryImpl() override;
    void swap(EntryImpl& other) noexcept;

    /// Copies what the interface shows (return type, name, parameters, annotations) and leaves
    /// the sort keys as they are.
    void assignDescription(const EntryImpl& other);

    /// Replace the parameters or annotations with n default ones.
    void setNumParameters(size_t n);
    void setNumAnnotations(size_t n);

    kov::ValueType getReturnType() const override { return static_cast<kov::ValueType>(returnType); }
    const wchar_t* getName() const override { return name.c_str(); }
    size_t getNumParameters() const override { return numParameters; }
    /// Null when i is out of range.
    const kov::RuleFileInfo::Parameter* getParameter(size_t i) const override;
    size_t getNumAnnotations() const override { return numAnnotations; }
    /// Null when i is out of range.
    const kov::Annotation* getAnnotation(size_t i) const override;

    /// Appends the entry element.
    void writeXML(std::ostream& out) const;
    std::string toXMLString() const;
};

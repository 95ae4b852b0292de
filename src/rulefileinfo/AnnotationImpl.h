#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "kov/Annotation.h"
#include "rulefileinfo/AnnotationArgumentImpl.h"

/// An annotation with its arguments. Owns the argument array; copies are deep.
class AnnotationImpl : public kov::Annotation {
public:
    std::wstring name;
    size_t numArguments = 0;
    AnnotationArgumentImpl* arguments = nullptr; ///< Array new, numArguments elements.

    AnnotationImpl() = default;
    AnnotationImpl(const AnnotationImpl& other);
    AnnotationImpl(AnnotationImpl&& other) noexcept;
    AnnotationImpl& operator=(AnnotationImpl other) noexcept;
    ~AnnotationImpl() override;
    void swap(AnnotationImpl& other) noexcept;

    /// Replaces the arguments with n default ones.
    void setNumArguments(size_t n);

    const char* toXML(char* result, size_t* resultSize, kov::Status* stat = nullptr) const override;
    const wchar_t* getName() const override { return name.c_str(); }
    size_t getNumArguments() const override { return numArguments; }
    /// Null when i is out of range.
    const kov::AnnotationArgument* getArgument(size_t i) const override;

    /// Appends the annotation element.
    void writeXML(std::ostream& out) const;
    std::string toXMLString() const;

    /// Appends the annotations wrapper with the n annotations at list. The wrapper tags are
    /// followed by a line feed each, wherever they stand.
    static void writeListXML(std::ostream& out, const AnnotationImpl* list, size_t n);
};

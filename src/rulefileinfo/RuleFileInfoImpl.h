#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "kov/RuleFileInfo.h"
#include "rulefileinfo/AnnotationArgumentImpl.h"
#include "rulefileinfo/AnnotationImpl.h"
#include "rulefileinfo/EntryImpl.h"
#include "rulefileinfo/ParameterImpl.h"

/// The description of a compiled rule file: its attributes, rules and file annotations. Filled
/// once by the extraction and read-only afterwards. Owns its three arrays.
class RuleFileInfoImpl : public kov::RuleFileInfo {
public:
    size_t numAttributes = 0;
    EntryImpl* attributes = nullptr;       ///< Array new, numAttributes elements.
    size_t numRules = 0;
    EntryImpl* rules = nullptr;            ///< Array new, numRules elements.
    size_t numAnnotations = 0;
    AnnotationImpl* annotations = nullptr; ///< Array new, numAnnotations elements.

    RuleFileInfoImpl() = default;
    RuleFileInfoImpl(const RuleFileInfoImpl&) = delete;
    RuleFileInfoImpl& operator=(const RuleFileInfoImpl&) = delete;
    ~RuleFileInfoImpl() override;

    /// Replace the attributes, rules or file annotations with n default ones.
    void setNumAttributes(size_t n);
    void setNumRules(size_t n);
    void setNumAnnotations(size_t n);

    const char* toXML(char* result, size_t* resultSize, kov::Status* stat = nullptr) const override;
    size_t getNumAttributes() const override { return numAttributes; }
    /// Null when i is out of range.
    const Entry* getAttribute(size_t i) const override;
    size_t getNumRules() const override { return numRules; }
    /// Null when i is out of range.
    const Entry* getRule(size_t i) const override;
    size_t getNumAnnotations() const override { return numAnnotations; }
    /// Null when i is out of range.
    const kov::Annotation* getAnnotation(size_t i) const override;

    /// A new deep copy, owned by the caller. The entries of the copy carry the description only:
    /// their order, groupOrder and group keep their defaults.
    virtual RuleFileInfoImpl* clone() const;

    /// Appends the whole rulefileinfo element.
    void writeXML(std::ostream& out) const;
    std::string toXMLString() const;
};

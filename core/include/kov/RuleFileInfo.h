#pragma once

#include <cstddef>

#include "kov/Annotation.h"

namespace kov {

/// Read-only description of a compiled rule file: its attributes, rules and annotations.
/// Element getters take an index below the matching count; other indices are the caller's fault.
class KOV_CORE_API RuleFileInfo : public Object {
public:
    class KOV_CORE_API Parameter {
    public:
        virtual ValueType getType() const = 0;
        virtual const wchar_t* getName() const = 0;
        virtual size_t getNumAnnotations() const = 0;
        virtual const Annotation* getAnnotation(size_t i) const = 0;
        virtual ~Parameter();
    };

    class KOV_CORE_API Entry {
    public:
        virtual ValueType getReturnType() const = 0;
        virtual const wchar_t* getName() const = 0;
        virtual size_t getNumParameters() const = 0;
        virtual const Parameter* getParameter(size_t i) const = 0;
        virtual size_t getNumAnnotations() const = 0;
        virtual const Annotation* getAnnotation(size_t i) const = 0;
        virtual ~Entry();
    };

    ~RuleFileInfo() override;
    virtual size_t getNumAttributes() const = 0;
    virtual const Entry* getAttribute(size_t i) const = 0;
    virtual size_t getNumRules() const = 0;
    virtual const Entry* getRule(size_t i) const = 0;
    virtual size_t getNumAnnotations() const = 0;
    virtual const Annotation* getAnnotation(size_t i) const = 0;
};

} // namespace kov

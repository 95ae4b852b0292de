#pragma once

#include <cstddef>

#include "kov/Object.h"

namespace kov {

class KOV_CORE_API AnnotationArgument : public Object {
public:
    ~AnnotationArgument() override;
    virtual ValueType getType() const = 0;
    /// Empty when the argument has no key; never null.
    virtual const wchar_t* getKey() const = 0;
    virtual bool getBool() const = 0;
    virtual double getFloat() const = 0;
    virtual const wchar_t* getStr() const = 0;
};

class KOV_CORE_API Annotation : public Object {
public:
    ~Annotation() override;
    virtual const wchar_t* getName() const = 0;
    virtual size_t getNumArguments() const = 0;
    /// i must be below getNumArguments().
    virtual const AnnotationArgument* getArgument(size_t i) const = 0;
};

} // namespace kov

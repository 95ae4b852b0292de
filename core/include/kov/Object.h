#pragma once

#include <cstddef>

#include "kov/Types.h"

namespace kov {

/// Root of the public objects that can describe themselves as XML.
class KOV_CORE_API Object {
public:
    /// Writes the XML text as UTF-8 into result: at most *resultSize - 1 bytes and a terminating
    /// NUL when *resultSize is not 0; then sets *resultSize to the text's length + 1. Sets *stat
    /// to STATUS_OK when stat is not null. Returns result.
    virtual const char* toXML(char* result, size_t* resultSize, Status* stat = nullptr) const = 0;
    virtual ~Object();
};

} // namespace kov

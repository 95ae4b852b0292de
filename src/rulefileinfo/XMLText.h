#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "kov/Types.h"

// Pieces shared by the XML forms of the rule file info objects.
namespace rulefileinfo {

/// XML name of a value type code: "void", "bool", "float", "str", and "?" for any other code.
const char* valueTypeName(int32_t type);

/// Hands text to a caller's buffer by the copy-out rule and sets *stat to STATUS_OK. A null size
/// pointer, or a null buffer with a size above 0, copies nothing and sets STATUS_ILLEGAL_ARGUMENT.
/// Returns result.
const char* copyOut(const std::string& text, char* result, size_t* resultSize, kov::Status* stat);

} // namespace rulefileinfo

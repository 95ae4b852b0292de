#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kov/Annotation.h"
#include "kov/Types.h"

namespace kovhost {

/// UTF-8 of a wide text of the rule file info or the rule program; null gives "".
std::string utf8(const wchar_t* text);
std::string utf8(const std::wstring& text);

/// "void", "bool", "float", "string", "integer", or "unknown" for any other code.
const char* valueTypeWord(int32_t type);

/// The shortest text that reads back to the same double ("0.1", "1e+20", "inf", "nan").
std::string shortestDouble(double value);

/// text between double quotes, with quotes, backslashes and control characters escaped as in C.
std::string quoted(const std::string& text);

/// Two lower-case hex digits per byte.
std::string hexBytes(const std::vector<uint8_t>& bytes);

/// Number of characters of a UTF-8 text, for aligning columns.
size_t displayWidth(const std::string& text);

/// An annotation argument as "key=value" (without "key=" when it has none); strings quoted.
std::string argumentText(const kov::AnnotationArgument& argument);
/// "name(argument, key=argument)", or the bare name without arguments.
std::string annotationText(const kov::Annotation& annotation);
/// The marks that the compiler puts on every attribute and rule ("_$ATTR", "_$RULE"): the
/// summaries leave them out, as they already say which is which.
bool isCompilerMarker(const kov::Annotation& annotation);

} // namespace kovhost

#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

namespace kov {
class AttributeMap;
}

/// Text form of typed attribute maps: one `attribute` element per key, written as UTF-8 to a
/// narrow stream. Every writer appends to the stream and returns it.
///
/// Keys are identifiers and are written without escaping; string values and string items are
/// escaped. Numbers are formatted in a fresh stream of their own, so the state of the output
/// stream does not change them. A null key or string is written as an empty one.
namespace xml {

/// The text with the five XML special characters replaced by their entities; "" for null.
std::wstring escape(const wchar_t* text);

/// value as a stream in its default state writes it (six significant digits), in the classic
/// locale whatever the process locale is. Shared by every XML form that writes a double.
std::string floatText(double value);

/// The XML declaration followed by a line feed.
std::ostream& writeDeclaration(std::ostream& out);

std::ostream& writeBool(std::ostream& out, const wchar_t* key, bool value);
std::ostream& writeInt(std::ostream& out, const wchar_t* key, int32_t value);
std::ostream& writeInt64(std::ostream& out, const wchar_t* key, int64_t value);
std::ostream& writeFloat(std::ostream& out, const wchar_t* key, double value);
std::ostream& writeStr(std::ostream& out, const wchar_t* key, const wchar_t* value);

// The array writers throw std::invalid_argument when values is null and count is not 0.
std::ostream& writeBoolArray(std::ostream& out, const wchar_t* key, const bool* values, size_t count);
std::ostream& writeIntArray(std::ostream& out, const wchar_t* key, const int32_t* values, size_t count);
std::ostream& writeInt64Array(std::ostream& out, const wchar_t* key, const int64_t* values,
                              size_t count);
std::ostream& writeFloatArray(std::ostream& out, const wchar_t* key, const double* values,
                              size_t count);
std::ostream& writeStrArray(std::ostream& out, const wchar_t* key, const wchar_t* const* values,
                            size_t count);

/// An element named name holding "0x" and the pointer as the stream prints pointers in hex.
/// Leaves the stream in decimal.
std::ostream& writePointer(std::ostream& out, const char* name, const void* pointer);

/// Every entry of map, in ascending key order, with the writer of its type.
std::ostream& writeAttributeMap(std::ostream& out, const kov::AttributeMap& map);

} // namespace xml

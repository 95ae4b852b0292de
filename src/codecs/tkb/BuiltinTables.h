#pragma once

// The fixed tables that give builtin calls and enumeration fields of a compiled rule file their
// numbers, and the process-wide lookup maps built from them.
//
// A builtin id is a row index into BUILTIN_FUNCTIONS; an enumeration value is a member's position
// within its type. Both numbers are baked into every compiled rule program, so the row order of the
// tables is part of the file format and must never change.

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

namespace tkb {

/// One builtin operation: its name and its method descriptor.
struct BuiltinFunction {
    const char* name;
    const char* descriptor;
};

/// One member of an enumeration type. Rows of a type are contiguous and in value order.
struct EnumTableRow {
    const char* type;
    const char* member;
};

constexpr std::size_t BUILTIN_FUNCTIONS_COUNT = 287;
constexpr std::size_t ENUM_TABLE_COUNT = 278;
constexpr std::size_t ENUM_TYPE_COUNT = 46;

/// All builtin operations; the index of a row is its builtin id.
extern const BuiltinFunction BUILTIN_FUNCTIONS[BUILTIN_FUNCTIONS_COUNT];
/// All enumeration members, grouped by type, types in ascending byte order of their names.
extern const EnumTableRow ENUM_TABLE[ENUM_TABLE_COUNT];

/// Builtin name immediately followed by its descriptor -> builtin id.
using BuiltinIndexMap = std::unordered_map<std::string, int32_t>;
/// Member name -> value within one enumeration type.
using EnumMemberMap = std::unordered_map<std::string, int32_t>;
/// Simple type name (no package) -> the type's members.
using EnumValueMap = std::unordered_map<std::string, EnumMemberMap>;

/// Buckets that each map starts with.
constexpr std::size_t INITIAL_BUCKETS = 16;

/// The process-wide builtin index map, built on the first call and never freed. Never null.
/// Any number of threads may call it at once, the first call included.
BuiltinIndexMap* getBuiltinIndexMap();

/// The process-wide enumeration value map, built on the first call and never freed. Never null.
/// Any number of threads may call it at once, the first call included.
EnumValueMap* getEnumValueMap();

/// Adds every row of ENUM_TABLE to map, in table order, each with its position within its type.
void fillEnumValueMap(EnumValueMap& map);

/// Stores value under member in type's member map, creating that map on first use of the type and
/// overwriting an earlier value of the same member.
void addEnumValue(EnumValueMap& map, const std::string& type, const std::string& member,
                  int32_t value);

} // namespace tkb

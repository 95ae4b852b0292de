#include "codecs/tkb/BuiltinTables.h"

#include <cstring>

namespace tkb {

namespace {

// Plain pointers, set on first use and never freed: the maps live as long as the library, and
// leaving out a destructor avoids an exit-time ordering problem with decodes still referring to
// them. The pointer is stored before the map is filled.
BuiltinIndexMap* builtinIndexMap = nullptr;
EnumValueMap* enumValueMap = nullptr;

} // namespace

BuiltinIndexMap* getBuiltinIndexMap() {
    if (builtinIndexMap != nullptr)
        return builtinIndexMap;
    builtinIndexMap = new BuiltinIndexMap(INITIAL_BUCKETS);
    builtinIndexMap->max_load_factor(1.0f);
    for (std::size_t i = 0; i < BUILTIN_FUNCTIONS_COUNT; ++i) {
        const BuiltinFunction& row = BUILTIN_FUNCTIONS[i];
        std::string key(row.name);
        key += row.descriptor;
        (*builtinIndexMap)[key] = static_cast<int32_t>(i);
    }
    return builtinIndexMap;
}

EnumValueMap* getEnumValueMap() {
    if (enumValueMap != nullptr)
        return enumValueMap;
    enumValueMap = new EnumValueMap(INITIAL_BUCKETS);
    enumValueMap->max_load_factor(1.0f);
    fillEnumValueMap(*enumValueMap);
    return enumValueMap;
}

void fillEnumValueMap(EnumValueMap& map) {
    // Values restart at 0 whenever the type changes, since a type's rows are contiguous.
    const char* currentType = nullptr;
    int32_t value = 0;
    for (std::size_t i = 0; i < ENUM_TABLE_COUNT; ++i) {
        const EnumTableRow& row = ENUM_TABLE[i];
        if (currentType == nullptr || std::strcmp(currentType, row.type) != 0) {
            currentType = row.type;
            value = 0;
        }
        addEnumValue(map, row.type, row.member, value++);
    }
}

void addEnumValue(EnumValueMap& map, const std::string& type, const std::string& member,
                  int32_t value) {
    auto it = map.find(type);
    if (it == map.end()) {
        EnumMemberMap members(INITIAL_BUCKETS);
        members.max_load_factor(1.0f);
        it = map.emplace(type, std::move(members)).first;
    }
    it->second[member] = value;
}

} // namespace tkb

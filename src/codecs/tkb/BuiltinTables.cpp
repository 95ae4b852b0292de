#include "codecs/tkb/BuiltinTables.h"

#include <cstring>
#include <memory>

namespace tkb {

namespace {

BuiltinIndexMap* buildBuiltinIndexMap() {
    auto map = std::make_unique<BuiltinIndexMap>(INITIAL_BUCKETS);
    map->max_load_factor(1.0f);
    for (std::size_t i = 0; i < BUILTIN_FUNCTIONS_COUNT; ++i) {
        const BuiltinFunction& row = BUILTIN_FUNCTIONS[i];
        std::string key(row.name);
        key += row.descriptor;
        (*map)[key] = static_cast<int32_t>(i);
    }
    return map.release();
}

EnumValueMap* buildEnumValueMap() {
    auto map = std::make_unique<EnumValueMap>(INITIAL_BUCKETS);
    map->max_load_factor(1.0f);
    fillEnumValueMap(*map);
    return map.release();
}

} // namespace

// Each map is built once, under the initialisation guard of a function-local static, so that the
// first decodes may run on several threads. Never freed: the maps live as long as the library,
// and leaving out a destructor avoids an exit-time ordering problem with decodes still referring
// to them.

BuiltinIndexMap* getBuiltinIndexMap() {
    static BuiltinIndexMap* const map = buildBuiltinIndexMap();
    return map;
}

EnumValueMap* getEnumValueMap() {
    static EnumValueMap* const map = buildEnumValueMap();
    return map;
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

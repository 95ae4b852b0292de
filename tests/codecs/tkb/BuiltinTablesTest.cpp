// The builtin and enumeration tables fix the meaning of every compiled rule file: a builtin id is a
// row number, an enumeration value a position within its type. A changed, moved or inserted row is
// a silent format break, so the tables are pinned whole and their lookup maps checked row by row.
#include <cstring>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TkbTestSupport.h"
#include "codecs/tkb/BuiltinTables.h"

using tkb::BUILTIN_FUNCTIONS;
using tkb::ENUM_TABLE;

namespace {

// FNV-1a over the texts of every row in order, each text ended by a NUL.
template <typename Row, std::size_t N>
uint64_t fingerprint(const Row (&rows)[N], const char* Row::*first, const char* Row::*second) {
    uint64_t hash = 14695981039346656037ull;
    for (const Row& row : rows)
        for (const char* text : {row.*first, row.*second})
            for (const char c : std::string(text) + '\0')
                hash = (hash ^ static_cast<uint8_t>(c)) * 1099511628211ull;
    return hash;
}

int32_t enumValue(const std::string& type, const std::string& member) {
    const tkb::EnumValueMap& map = *tkb::getEnumValueMap();
    auto type_it = map.find(type);
    if (type_it == map.end())
        return -100;
    auto member_it = type_it->second.find(member);
    return member_it == type_it->second.end() ? -1 : member_it->second;
}

} // namespace

TEST(BuiltinTablesTest, AreExactlyTheFormatsTables) {
    // Any edit of the tables changes these; only a new version of the file format may.
    EXPECT_EQ(fingerprint(BUILTIN_FUNCTIONS, &tkb::BuiltinFunction::name,
                          &tkb::BuiltinFunction::descriptor),
              0x3fe29bd7823e3152u);
    EXPECT_EQ(fingerprint(ENUM_TABLE, &tkb::EnumTableRow::type, &tkb::EnumTableRow::member),
              0xca30560a55860d50u);
}

TEST(BuiltinTablesTest, BuiltinRowsAreUniqueAndTakeOnlyTheRuleLanguagesTypes) {
    // double, boolean, int, String, SplitNode or an enumeration type of the enumeration table.
    std::set<std::string> enumTypes;
    for (const tkb::EnumTableRow& row : ENUM_TABLE)
        enumTypes.insert(row.type);
    std::string field = "(?:[DZI]|L(?:java/lang/String|com/velmor/gc/(?:SplitNode";
    for (const std::string& type : enumTypes)
        field += "|" + type;
    field += "));)";
    const std::regex descriptor("\\(" + field + "*\\)(?:V|" + field + ")");

    std::set<std::string> keys;
    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i) {
        const tkb::BuiltinFunction& row = BUILTIN_FUNCTIONS[i];
        EXPECT_TRUE(keys.insert(std::string(row.name) + row.descriptor).second)
            << "duplicate " << row.name << row.descriptor;
        EXPECT_TRUE(std::regex_match(row.descriptor, descriptor)) << row.name << row.descriptor;
        // The compiler's own operations come last.
        EXPECT_EQ(std::strncmp(row.name, "_$", 2) == 0, i >= 251) << i;
    }
}

TEST(BuiltinTablesTest, EnumTypesAreContiguousAndSorted) {
    std::vector<std::string> types;
    for (const tkb::EnumTableRow& row : ENUM_TABLE)
        if (types.empty() || types.back() != row.type)
            types.push_back(row.type);
    // A type split into two runs would show up twice, out of order.
    ASSERT_EQ(types.size(), tkb::ENUM_TYPE_COUNT);
    for (std::size_t i = 1; i < types.size(); ++i)
        EXPECT_LT(std::strcmp(types[i - 1].c_str(), types[i].c_str()), 0) << types[i];
}

TEST(BuiltinTablesTest, MapsGiveEveryRowItsNumberAndNothingElse) {
    ASSERT_EQ(tkb::getBuiltinIndexMap()->size(), tkb::BUILTIN_FUNCTIONS_COUNT);
    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i)
        EXPECT_EQ(tkbtest::builtinId(std::string(BUILTIN_FUNCTIONS[i].name) +
                                     BUILTIN_FUNCTIONS[i].descriptor),
                  static_cast<int32_t>(i));
    for (const std::string miss : {"abs", "abs (D)D", "ABS(D)D", "sqrt(DD)D", "rand(DDD)D", ""})
        EXPECT_EQ(tkbtest::builtinId(miss), -1) << miss;
    EXPECT_EQ(tkbtest::builtinId(std::string("abs(D)D\0", 8)), -1);

    // Equal map sizes mean that no member is listed twice within its type.
    std::size_t members = 0;
    for (const auto& type : *tkb::getEnumValueMap())
        members += type.second.size();
    EXPECT_EQ(members, tkb::ENUM_TABLE_COUNT);
    int32_t position = 0;
    for (std::size_t i = 0; i < tkb::ENUM_TABLE_COUNT; ++i) {
        position = i > 0 && std::strcmp(ENUM_TABLE[i - 1].type, ENUM_TABLE[i].type) == 0
                       ? position + 1
                       : 0;
        EXPECT_EQ(enumValue(ENUM_TABLE[i].type, ENUM_TABLE[i].member), position)
            << ENUM_TABLE[i].type << "." << ENUM_TABLE[i].member;
    }
    // Exact in case and type; only the simple name is a key, and SplitNode is no enumeration.
    EXPECT_EQ(enumValue("Scale", "RATIO"), 3);
    EXPECT_EQ(enumValue("Scale", "ratio"), -1);
    EXPECT_EQ(enumValue("DistributionType1", "uniform"), -1);
    EXPECT_EQ(enumValue("SplitNode", "x"), -100);
    EXPECT_EQ(enumValue("com/velmor/gc/SplitAxis", "x"), -100);
}

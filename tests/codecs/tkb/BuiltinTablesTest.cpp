// The builtin and enumeration tables fix the meaning of every compiled rule file, so a mistyped row
// is a silent format break. These tests re-type the table's shape independently and check it.
#include <cstring>
#include <map>
#include <numeric>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "TkbTestSupport.h"
#include "codecs/tkb/BuiltinTables.h"

using tkb::BUILTIN_FUNCTIONS;
using tkbtest::builtinId;

namespace {

std::string keyOf(std::size_t id) {
    return std::string(BUILTIN_FUNCTIONS[id].name) + BUILTIN_FUNCTIONS[id].descriptor;
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

TEST(BuiltinTableTest, RowsAreUniqueAndTakeOnlyTheRuleLanguagesTypes) {
    // double, boolean, int, String, SplitNode or an enumeration type of the enumeration table.
    std::set<std::string> enumTypes;
    for (const tkb::EnumTableRow& row : tkb::ENUM_TABLE)
        enumTypes.insert(row.type);
    std::string field = "(?:[DZI]|L(?:java/lang/String|com/velmor/gc/(?:SplitNode";
    for (const std::string& type : enumTypes)
        field += "|" + type;
    field += "));)";
    const std::regex descriptor("\\(" + field + "*\\)(?:V|" + field + ")");

    std::set<std::string> names, keys;
    for (const tkb::BuiltinFunction& row : BUILTIN_FUNCTIONS) {
        ASSERT_NE(row.name, nullptr);
        ASSERT_NE(row.descriptor, nullptr);
        names.insert(row.name);
        EXPECT_TRUE(keys.insert(std::string(row.name) + row.descriptor).second)
            << "duplicate " << row.name << row.descriptor;
        EXPECT_TRUE(std::regex_match(row.descriptor, descriptor)) << row.name << row.descriptor;
    }
    EXPECT_EQ(names.size(), 218u);
}

TEST(BuiltinTableTest, OverloadGroupsAreContiguousRunsOfExactlyTheirIds) {
    const std::map<std::string, std::pair<int, int>> groups = { // name -> first id, count
        {"alignScopeToAxes", {2, 2}}, {"alignScopeToGeometry", {4, 6}}, {"bool", {17, 3}},
        {"color", {23, 2}},           {"convexify", {30, 2}},           {"envelope", {35, 8}},
        {"extrude", {45, 2}},         {"geometry$area", {52, 2}},       {"geometry$uMax", {65, 2}},
        {"geometry$uMin", {67, 2}},   {"geometry$vMax", {70, 2}},       {"geometry$vMin", {72, 2}},
        {"inside", {88, 2}},          {"offset", {152, 2}},             {"overlaps", {155, 2}},
        {"print", {165, 3}},          {"r", {169, 2}},                  {"rand", {171, 3}},
        {"report", {175, 3}},         {"roof", {180, 2}},               {"roofGable", {182, 5}},
        {"roofHip", {187, 3}},        {"roofShed", {191, 2}},           {"scatter", {198, 2}},
        {"set", {212, 3}},            {"setupProjection", {216, 4}},    {"setupUV", {220, 2}},
        {"split", {228, 3}},          {"str", {234, 3}},                {"touches", {243, 2}},
        {"_$add", {251, 5}},          {"_$createSplitNode", {258, 8}},  {"_$float", {268, 3}},
        {"_$getHandle", {272, 4}},
    };
    std::map<std::string, std::vector<int>> actual;
    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i)
        actual[BUILTIN_FUNCTIONS[i].name].push_back(static_cast<int>(i));
    for (const auto& [name, ids] : actual) {
        auto group = groups.find(name);
        const auto [first, count] =
            group == groups.end() ? std::make_pair(ids[0], 1) : group->second;
        std::vector<int> expected(count);
        std::iota(expected.begin(), expected.end(), first);
        EXPECT_EQ(ids, expected) << name;
    }
    for (const auto& group : groups)
        EXPECT_EQ(actual.count(group.first), 1u) << group.first;
}

TEST(BuiltinTableTest, IdsOfTheOrderQuirksAndOfExactKeys) {
    // Rows out of alphabetical order, by name.
    const std::pair<int, const char*> quirks[] = {
        {11, "assetsSortRatio"}, {12, "assetsSortSize"}, {13, "assetInfo"}, {76, "imagesSortRatio"},
        {77, "imageInfo"},       {149, "mirrorScope"},   {150, "NIL"},      {151, "normalizeUV"}};
    for (const auto& [id, name] : quirks)
        EXPECT_STREQ(BUILTIN_FUNCTIONS[id].name, name) << id;
    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i)
        EXPECT_EQ(std::strncmp(BUILTIN_FUNCTIONS[i].name, "_$", 2) == 0, i >= 251) << i;

    // Whole keys, through the map; the envelope overloads are not sorted by descriptor.
    const std::pair<int32_t, const char*> keys[] = {
        {0, "abs(D)D"}, {15, "atan2(DD)D"}, {150, "NIL()V"}, {171, "rand()D"}, {172, "rand(D)D"},
        {173, "rand(DD)D"}, {232, "split$total()D"}, {286, "_$setStyleSelector(II)V"},
        {229, "split(Lcom/velmor/gc/SplitAxis;Lcom/velmor/gc/SplitNode;)V"},
        {35, "envelope(Lcom/velmor/gc/Direction;DDDDDDD)V"},
        {36, "envelope(Lcom/velmor/gc/Direction;DDDDDDDDD)V"}, {37, "envelope(DDD)V"},
        {38, "envelope(DDDDD)V"}, {39, "envelope(DDDDDDD)V"}, {40, "envelope(DDDDDDDDD)V"},
        {41, "envelope(Lcom/velmor/gc/Direction;DDD)V"},
        {42, "envelope(Lcom/velmor/gc/Direction;DDDDD)V"}};
    for (const auto& [id, key] : keys) {
        EXPECT_EQ(keyOf(id), key);
        EXPECT_EQ(builtinId(key), id) << key;
    }
    ASSERT_EQ(tkb::getBuiltinIndexMap()->size(), tkb::BUILTIN_FUNCTIONS_COUNT);
    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i)
        EXPECT_EQ(builtinId(keyOf(i)), static_cast<int32_t>(i));
    for (const std::string miss : {"abs", "abs (D)D", "ABS(D)D", "sqrt(DD)D", "rand(DDD)D", ""})
        EXPECT_EQ(builtinId(miss), -1) << miss;
    EXPECT_EQ(builtinId(std::string("abs(D)D\0", 8)), -1);
}

TEST(EnumTableTest, TypesAreContiguousSortedAndSizedAsListed) {
    const std::vector<std::pair<std::string, std::size_t>> sizes = {
        {"AdjustSelector", 2},   {"AlignAxesSelector", 3},       {"AngleSelector", 3},
        {"AreaSelector", 30},    {"AttributeSelector", 6},       {"AttributeSelectorXY", 2},
        {"Auto", 1},             {"AxesSelector", 7},            {"AxisMapSelector", 3},
        {"AxisSelector", 6},     {"AxisSelectorRatio", 4},       {"AxisSelectorSize", 7},
        {"AxisWorld", 6},        {"CenterSelector", 2},          {"Comp", 48},
        {"CompSelector", 3},     {"ComponentSelector", 4},       {"CoordSelector", 3},
        {"CoordSystem", 4},      {"Direction", 2},               {"DistributionType", 2},
        {"DistributionType1", 1}, {"Domain", 3},                 {"EdgeSelector", 2},
        {"FaceSelector", 2},     {"FaceSelectorAny", 3},         {"GeoCoordSelector", 4},
        {"Mode", 2},             {"NormalsMode", 2},             {"OffsetSelector", 3},
        {"OrientationSelector", 28}, {"PrjAxesSelector", 12},    {"RoofType", 3},
        {"RoofTypeGable", 1},    {"Scale", 4},                   {"ScatterMean", 7},
        {"Setback", 31},         {"ShapeLUO", 2},                {"SplitAxis", 3},
        {"SplitDirection", 2},   {"SurfaceParameterization", 2}, {"TargetSelector", 3},
        {"TypeSelector", 2},     {"UpAxisSelector", 2},          {"UvNormalizeMode", 4},
        {"UvNormalizeType", 2},
    };
    ASSERT_EQ(sizes.size(), tkb::ENUM_TYPE_COUNT);

    // Runs of equal type names, in table order; a type split into two runs shows up twice.
    std::vector<std::pair<std::string, std::size_t>> runs;
    for (const tkb::EnumTableRow& row : tkb::ENUM_TABLE) {
        ASSERT_NE(row.type, nullptr);
        ASSERT_NE(row.member, nullptr);
        if (runs.empty() || runs.back().first != row.type)
            runs.emplace_back(row.type, 0);
        ++runs.back().second;
    }
    EXPECT_EQ(runs, sizes);
    for (std::size_t i = 1; i < runs.size(); ++i)
        EXPECT_LT(std::strcmp(runs[i - 1].first.c_str(), runs[i].first.c_str()), 0)
            << runs[i].first;

    const tkb::EnumValueMap* map = tkb::getEnumValueMap();
    EXPECT_EQ(map->size(), tkb::ENUM_TYPE_COUNT);
    // Equal sizes mean no member is listed twice within its type.
    for (const auto& [type, count] : sizes)
        EXPECT_EQ(map->at(type).size(), count) << type;
}

TEST(EnumValueMapTest, GivesEachMemberItsPositionWithinItsType) {
    // Names shared by several types, and lookups that are exact in case and type (-1: no member).
    const std::tuple<const char*, const char*, int32_t> members[] = {
        {"AdjustSelector", "adjust", 0},      {"SplitAxis", "y", 1},
        {"UvNormalizeType", "separatePerFace", 1}, {"AreaSelector", "all", 0},
        {"Comp", "all", 12},                  {"ComponentSelector", "all", 3},
        {"OffsetSelector", "all", 0},         {"Setback", "all", 5},
        {"TargetSelector", "all", 0},         {"AreaSelector", "front", 3},
        {"Comp", "front", 1},                 {"OrientationSelector", "front", 2},
        {"ScatterMean", "front", 3},          {"Setback", "front", 1},
        {"DistributionType1", "gaussian", 0}, {"DistributionType1", "uniform", -1},
        {"DistributionType", "uniform", 1},   {"RoofTypeGable", "gable", 0},
        {"RoofTypeGable", "hip", -1},         {"Scale", "RATIO", 3},
        {"Scale", "ratio", -1},               {"GeoCoordSelector", "X", 0},
        {"GeoCoordSelector", "x", -1},
        // Only the simple name is a key, and SplitNode is not an enumeration.
        {"SplitNode", "x", -100},             {"com/velmor/gc/SplitAxis", "x", -100},
    };
    for (const auto& [type, member, value] : members)
        EXPECT_EQ(enumValue(type, member), value) << type << "." << member;
}

// The builtin and enumeration tables fix the meaning of every compiled rule file, so a mistyped row
// is a silent format break. These tests re-type the table's shape independently and check it.
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TkbTestSupport.h"
#include "codecs/tkb/BuiltinTables.h"

namespace {

std::string keyOf(std::size_t id) {
    return std::string(tkb::BUILTIN_FUNCTIONS[id].name) + tkb::BUILTIN_FUNCTIONS[id].descriptor;
}

int32_t enumValue(const std::string& type, const std::string& member) {
    const tkb::EnumValueMap* map = tkb::getEnumValueMap();
    auto type_it = map->find(type);
    if (type_it == map->end())
        return -100;
    auto member_it = type_it->second.find(member);
    return member_it == type_it->second.end() ? -1 : member_it->second;
}

// Reads one field type of a descriptor at pos; only the types the rule language uses are valid.
bool readFieldType(const std::string& d, std::size_t& pos, const std::set<std::string>& enumTypes) {
    if (pos >= d.size())
        return false;
    char c = d[pos];
    if (c == 'D' || c == 'Z' || c == 'I') {
        ++pos;
        return true;
    }
    if (c != 'L')
        return false;
    std::size_t end = d.find(';', pos);
    if (end == std::string::npos)
        return false;
    std::string cls = d.substr(pos + 1, end - pos - 1);
    pos = end + 1;
    const std::string pkg = "com/velmor/gc/";
    if (cls == "java/lang/String" || cls == pkg + "SplitNode")
        return true;
    return cls.compare(0, pkg.size(), pkg) == 0 && enumTypes.count(cls.substr(pkg.size())) == 1;
}

bool isValidDescriptor(const std::string& d, const std::set<std::string>& enumTypes) {
    if (d.empty() || d[0] != '(')
        return false;
    std::size_t pos = 1;
    while (pos < d.size() && d[pos] != ')')
        if (!readFieldType(d, pos, enumTypes))
            return false;
    if (pos >= d.size())
        return false;
    ++pos;
    if (pos + 1 == d.size() && d[pos] == 'V')
        return true;
    return readFieldType(d, pos, enumTypes) && pos == d.size();
}

std::set<std::string> enumTypeNames() {
    std::set<std::string> types;
    for (const tkb::EnumTableRow& row : tkb::ENUM_TABLE)
        types.insert(row.type);
    return types;
}

} // namespace

TEST(BuiltinTableTest, HasFixedSizeEndsAndWellFormedUniqueRows) {
    std::set<std::string> names, keys;
    const std::set<std::string> enumTypes = enumTypeNames();
    for (const tkb::BuiltinFunction& row : tkb::BUILTIN_FUNCTIONS) {
        ASSERT_NE(row.name, nullptr);
        ASSERT_NE(row.descriptor, nullptr);
        names.insert(row.name);
        EXPECT_TRUE(keys.insert(std::string(row.name) + row.descriptor).second)
            << "duplicate " << row.name << row.descriptor;
        EXPECT_TRUE(isValidDescriptor(row.descriptor, enumTypes))
            << row.name << " " << row.descriptor;
    }
    EXPECT_EQ(names.size(), 218u);
    EXPECT_EQ(keyOf(0), "abs(D)D");
    EXPECT_EQ(keyOf(286), "_$setStyleSelector(II)V");
}

TEST(BuiltinTableTest, OverloadGroupsHoldExactlyTheirIds) {
    const std::map<std::string, std::vector<int>> groups = {
        {"alignScopeToAxes", {2, 3}},
        {"alignScopeToGeometry", {4, 5, 6, 7, 8, 9}},
        {"bool", {17, 18, 19}},
        {"color", {23, 24}},
        {"convexify", {30, 31}},
        {"envelope", {35, 36, 37, 38, 39, 40, 41, 42}},
        {"extrude", {45, 46}},
        {"geometry$area", {52, 53}},
        {"geometry$uMax", {65, 66}},
        {"geometry$uMin", {67, 68}},
        {"geometry$vMax", {70, 71}},
        {"geometry$vMin", {72, 73}},
        {"inside", {88, 89}},
        {"offset", {152, 153}},
        {"overlaps", {155, 156}},
        {"print", {165, 166, 167}},
        {"r", {169, 170}},
        {"rand", {171, 172, 173}},
        {"report", {175, 176, 177}},
        {"roof", {180, 181}},
        {"roofGable", {182, 183, 184, 185, 186}},
        {"roofHip", {187, 188, 189}},
        {"roofShed", {191, 192}},
        {"scatter", {198, 199}},
        {"set", {212, 213, 214}},
        {"setupProjection", {216, 217, 218, 219}},
        {"setupUV", {220, 221}},
        {"split", {228, 229, 230}},
        {"str", {234, 235, 236}},
        {"touches", {243, 244}},
        {"_$add", {251, 252, 253, 254, 255}},
        {"_$createSplitNode", {258, 259, 260, 261, 262, 263, 264, 265}},
        {"_$float", {268, 269, 270}},
        {"_$getHandle", {272, 273, 274, 275}},
    };
    std::map<std::string, std::vector<int>> actual;
    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i)
        actual[tkb::BUILTIN_FUNCTIONS[i].name].push_back(static_cast<int>(i));
    for (const auto& [name, ids] : actual) {
        auto expected = groups.find(name);
        if (expected == groups.end())
            EXPECT_EQ(ids.size(), 1u) << name << " is not overloaded";
        else
            EXPECT_EQ(ids, expected->second) << name;
    }
    for (const auto& group : groups)
        EXPECT_EQ(actual.count(group.first), 1u) << group.first;
}

TEST(BuiltinTableTest, KeepsItsDeliberateOrderQuirks) {
    EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[11].name, "assetsSortRatio");
    EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[12].name, "assetsSortSize");
    EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[13].name, "assetInfo");
    EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[76].name, "imagesSortRatio");
    EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[77].name, "imageInfo");
    EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[149].name, "mirrorScope");
    EXPECT_EQ(keyOf(150), "NIL()V");
    EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[151].name, "normalizeUV");

    const char* envelope[] = {
        "(Lcom/velmor/gc/Direction;DDDDDDD)V",
        "(Lcom/velmor/gc/Direction;DDDDDDDDD)V",
        "(DDD)V",
        "(DDDDD)V",
        "(DDDDDDD)V",
        "(DDDDDDDDD)V",
        "(Lcom/velmor/gc/Direction;DDD)V",
        "(Lcom/velmor/gc/Direction;DDDDD)V",
    };
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(tkb::BUILTIN_FUNCTIONS[35 + i].descriptor, envelope[i]) << 35 + i;

    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i)
        EXPECT_EQ(std::strncmp(tkb::BUILTIN_FUNCTIONS[i].name, "_$", 2) == 0, i >= 251) << i;
}

TEST(BuiltinIndexMapTest, MapsExactKeysToIdsAndMissesEverythingElse) {
    const tkb::BuiltinIndexMap* map = tkb::getBuiltinIndexMap();
    ASSERT_EQ(map->size(), tkb::BUILTIN_FUNCTIONS_COUNT);
    for (std::size_t i = 0; i < tkb::BUILTIN_FUNCTIONS_COUNT; ++i)
        EXPECT_EQ(map->at(keyOf(i)), static_cast<int32_t>(i));

    EXPECT_EQ(tkbtest::builtinId("abs(D)D"), 0);
    EXPECT_EQ(tkbtest::builtinId("_$setStyleSelector(II)V"), 286);
    EXPECT_EQ(tkbtest::builtinId("split$total()D"), 232);
    EXPECT_EQ(tkbtest::builtinId("atan2(DD)D"), 15);
    EXPECT_EQ(tkbtest::builtinId("rand()D"), 171);
    EXPECT_EQ(tkbtest::builtinId("rand(D)D"), 172);
    EXPECT_EQ(tkbtest::builtinId("rand(DD)D"), 173);
    EXPECT_EQ(tkbtest::builtinId("split(Lcom/velmor/gc/SplitAxis;Lcom/velmor/gc/SplitNode;)V"),
              229);

    EXPECT_EQ(tkbtest::builtinId("abs"), -1);
    EXPECT_EQ(tkbtest::builtinId("abs (D)D"), -1);
    EXPECT_EQ(tkbtest::builtinId("ABS(D)D"), -1);
    EXPECT_EQ(tkbtest::builtinId("sqrt(DD)D"), -1);
    EXPECT_EQ(tkbtest::builtinId("rand(DDD)D"), -1);
    EXPECT_EQ(tkbtest::builtinId(std::string("abs(D)D\0", 8)), -1);
    EXPECT_EQ(tkbtest::builtinId(""), -1);
}

TEST(EnumTableTest, TypesAreContiguousSortedAndSizedAsListed) {
    const std::vector<std::pair<std::string, std::size_t>> sizes = {
        {"AdjustSelector", 2},
        {"AlignAxesSelector", 3},
        {"AngleSelector", 3},
        {"AreaSelector", 30},
        {"AttributeSelector", 6},
        {"AttributeSelectorXY", 2},
        {"Auto", 1},
        {"AxesSelector", 7},
        {"AxisMapSelector", 3},
        {"AxisSelector", 6},
        {"AxisSelectorRatio", 4},
        {"AxisSelectorSize", 7},
        {"AxisWorld", 6},
        {"CenterSelector", 2},
        {"Comp", 48},
        {"CompSelector", 3},
        {"ComponentSelector", 4},
        {"CoordSelector", 3},
        {"CoordSystem", 4},
        {"Direction", 2},
        {"DistributionType", 2},
        {"DistributionType1", 1},
        {"Domain", 3},
        {"EdgeSelector", 2},
        {"FaceSelector", 2},
        {"FaceSelectorAny", 3},
        {"GeoCoordSelector", 4},
        {"Mode", 2},
        {"NormalsMode", 2},
        {"OffsetSelector", 3},
        {"OrientationSelector", 28},
        {"PrjAxesSelector", 12},
        {"RoofType", 3},
        {"RoofTypeGable", 1},
        {"Scale", 4},
        {"ScatterMean", 7},
        {"Setback", 31},
        {"ShapeLUO", 2},
        {"SplitAxis", 3},
        {"SplitDirection", 2},
        {"SurfaceParameterization", 2},
        {"TargetSelector", 3},
        {"TypeSelector", 2},
        {"UpAxisSelector", 2},
        {"UvNormalizeMode", 4},
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
    EXPECT_EQ(enumValue("AdjustSelector", "adjust"), 0);
    EXPECT_EQ(enumValue("SplitAxis", "y"), 1);
    EXPECT_EQ(enumValue("UvNormalizeType", "separatePerFace"), 1);

    EXPECT_EQ(enumValue("AreaSelector", "all"), 0);
    EXPECT_EQ(enumValue("Comp", "all"), 12);
    EXPECT_EQ(enumValue("ComponentSelector", "all"), 3);
    EXPECT_EQ(enumValue("OffsetSelector", "all"), 0);
    EXPECT_EQ(enumValue("Setback", "all"), 5);
    EXPECT_EQ(enumValue("TargetSelector", "all"), 0);
    EXPECT_EQ(enumValue("AreaSelector", "front"), 3);
    EXPECT_EQ(enumValue("Comp", "front"), 1);
    EXPECT_EQ(enumValue("OrientationSelector", "front"), 2);
    EXPECT_EQ(enumValue("ScatterMean", "front"), 3);
    EXPECT_EQ(enumValue("Setback", "front"), 1);

    EXPECT_EQ(enumValue("DistributionType1", "gaussian"), 0);
    EXPECT_EQ(enumValue("DistributionType1", "uniform"), -1);
    EXPECT_EQ(enumValue("DistributionType", "uniform"), 1);
    EXPECT_EQ(enumValue("RoofTypeGable", "gable"), 0);
    EXPECT_EQ(enumValue("RoofTypeGable", "hip"), -1);
    EXPECT_EQ(enumValue("Scale", "RATIO"), 3);
    EXPECT_EQ(enumValue("Scale", "ratio"), -1);
    EXPECT_EQ(enumValue("GeoCoordSelector", "X"), 0);
    EXPECT_EQ(enumValue("GeoCoordSelector", "x"), -1);

    // Only the simple name is a key, and SplitNode is not an enumeration.
    EXPECT_EQ(enumValue("SplitNode", "x"), -100);
    EXPECT_EQ(enumValue("com/velmor/gc/SplitAxis", "x"), -100);
}

TEST(LookupMapsTest, AccessorsBuildOnceAndReturnTheSameMap) {
    tkb::BuiltinIndexMap* builtins = tkb::getBuiltinIndexMap();
    tkb::EnumValueMap* enums = tkb::getEnumValueMap();
    EXPECT_EQ(tkb::getBuiltinIndexMap(), builtins);
    EXPECT_EQ(tkb::getEnumValueMap(), enums);
    EXPECT_EQ(builtins->size(), tkb::BUILTIN_FUNCTIONS_COUNT);
    EXPECT_EQ(builtins->max_load_factor(), 1.0f);
    EXPECT_EQ(enums->size(), tkb::ENUM_TYPE_COUNT);
    std::size_t members = 0;
    for (const auto& type : *enums)
        members += type.second.size();
    EXPECT_EQ(members, tkb::ENUM_TABLE_COUNT);
}

TEST(LookupMapsTest, AddEnumValueCreatesTypesAndOverwritesMembers) {
    tkb::EnumValueMap map;
    tkb::addEnumValue(map, "T", "a", 0);
    tkb::addEnumValue(map, "T", "b", 1);
    tkb::addEnumValue(map, "T", "a", 7);
    ASSERT_EQ(map.size(), 1u);
    EXPECT_EQ(map.at("T").size(), 2u);
    EXPECT_EQ(map.at("T").at("a"), 7);
    EXPECT_GE(map.at("T").bucket_count(), tkb::INITIAL_BUCKETS);

    tkb::EnumValueMap filled;
    tkb::fillEnumValueMap(filled);
    EXPECT_EQ(filled, *tkb::getEnumValueMap());
}

// How attributes, rules, parameters and annotations are read from the marker annotations.
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TkbTestSupport.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "classwriter/RuleFileBuilder.h"
#include "codecs/tkb/MemoryBudget.h"
#include "codecs/tkb/RuleFileInfoExtraction.h"
#include "rulefileinfo/RuleFileInfoImpl.h"

using classwriter::ElementValue;
using classwriter::RuleAnnotation;
using classwriter::RuleFileBuilder;

namespace {

std::unique_ptr<RuleFileInfoImpl> extract(const RuleFileBuilder& b) {
    std::istringstream in(tkbtest::asText(b.bytes()));
    classfile::ByteStream stream(in);
    classfile::ClassInfo classFile(stream);
    tkb::MemoryBudget budget;
    return std::unique_ptr<RuleFileInfoImpl>(tkb::fillRuleFileInfo(classFile, budget));
}

std::vector<std::wstring> namesOf(const EntryImpl* entries, size_t n) {
    std::vector<std::wstring> names;
    for (size_t i = 0; i < n; ++i)
        names.push_back(entries[i].name);
    return names;
}

} // namespace

TEST(RuleFileInfoExtractionTest, DescriptorTypesAndEntryNames) {
    struct Case {
        const char* descriptor;
        int32_t count;
        std::vector<int32_t> types; // return type, then the parameters
    };
    const Case cases[] = {
        {"(Ljava/lang/String;D)V", 2, {0, 3, 2}},
        {"(Lcom/velmor/gc/AlignAxesSelector;)Lmy/own/String;", 1, {3, 5}},
        {"(ZI)D", 2, {2, 1, 4}},
        {"(BCFJS)Ljava/lang/Object;", 5, {5, 5, 5, 5, 5, 5}},
        // The array mark counts as a parameter of its own, without a type.
        {"([I[Ljava/lang/String;)[D", 4, {5, 5, 4, 5, 3}},
        {"(Ljava/lang/Str", 1, {5, 5}},
        {"", 0, {5}},
    };
    for (const Case& c : cases) {
        std::vector<int32_t> types;
        EXPECT_EQ(tkb::parseMethodDescriptor(c.descriptor, &types), c.count) << c.descriptor;
        EXPECT_EQ(tkb::parseMethodDescriptor(c.descriptor), c.count) << c.descriptor;
        ASSERT_EQ(types.size(), std::string(c.descriptor).size() + 1);
        types.resize(c.types.size());
        EXPECT_EQ(types, c.types) << c.descriptor;
    }
    EXPECT_EQ(tkb::entryName("a$b$c"), "a$b.c");
    EXPECT_EQ(tkb::entryName("$x$y$z"), "$x.y.z");
    EXPECT_EQ(tkb::entryName("Lot"), "Lot");
}

TEST(RuleFileInfoExtractionTest, EntriesFromMarkedMethodsOnly) {
    RuleFileBuilder b;
    b.addFunction("helper", "(D)D", {"x"});
    b.addAttribute("height", "()D",
                   {RuleAnnotation("$Range").withFloat(3, "min").withBool(true).withUnknown('i')});
    b.addRule("Roof$gable$left", "(Ljava/lang/String;[ID)V", {"label", "counts"});
    b.addRule("Wide", "(DDDDDDDDDDD)V", {});
    // A marker whose "name" says neither attribute nor rule.
    b.addAttribute("odd", "()D");
    b.writer().methods.back().attributes.back() = tkbtest::markerAttribute(
        b, {{b.utf8("name"), ElementValue::constant('s', b.utf8("_$FOO"))}});
    auto info = extract(b);

    ASSERT_EQ(info->numAttributes, 1u);
    ASSERT_EQ(info->numRules, 2u);
    EXPECT_EQ(info->numAnnotations, 0u);
    EXPECT_EQ(info->attributes[0].toXMLString(),
              "<entry returntype=\"float\" name=\"height\"><parameters></parameters><annotations>\n"
              "<annotation name=\"_$ATTR\"><arguments></arguments></annotation>"
              "<annotation name=\"$Range\"><arguments><argument type=\"float\" key=\"min\" "
              "value=\"3\"/><argument type=\"bool\" value=\"true\"/><argument type=\"?\" "
              "value=\"?\"/></arguments></annotation></annotations>\n</entry>");

    // More parameters sort first; the array parameter counts twice and names come by position.
    const EntryImpl& wide = info->rules[0];
    ASSERT_EQ(wide.numParameters, 11u);
    EXPECT_EQ(wide.parameters[0].name, L"param0");
    EXPECT_EQ(wide.parameters[10].name, L"param:");
    const EntryImpl& roof = info->rules[1];
    EXPECT_EQ(roof.name, L"Roof$gable.left");
    EXPECT_EQ(roof.returnType, kov::VT_VOID);
    ASSERT_EQ(roof.numParameters, 4u);
    const std::pair<int32_t, std::wstring> params[] = {{kov::VT_STR, L"label"},
                                                       {kov::VT_UNKNOWN, L"counts"},
                                                       {kov::VT_INT, L"param2"},
                                                       {kov::VT_FLOAT, L"param3"}};
    for (size_t k = 0; k < 4; ++k)
        EXPECT_EQ(std::make_pair(roof.parameters[k].type, roof.parameters[k].name), params[k]) << k;
}

TEST(RuleFileInfoExtractionTest, EveryMarkTakesAnEntryAndTheLastOneIsFilled) {
    RuleFileBuilder b;
    b.addRule("Lot", "(D)V", {"x"});
    const std::pair<uint16_t, ElementValue> rule(b.utf8("name"),
                                                 ElementValue::constant('s', b.utf8("_$RULE")));
    b.writer().methods.back().attributes.back() = tkbtest::markerAttribute(b, {rule, rule});
    auto info = extract(b);

    // The entry taken first stays at its start values and sorts last.
    ASSERT_EQ(info->numRules, 2u);
    EXPECT_EQ(info->rules[0].name, L"Lot");
    EXPECT_EQ(info->rules[0].numParameters, 1u);
    EXPECT_EQ(info->rules[1].toXMLString(),
              "<entry returntype=\"?\" name=\"\"><parameters></parameters><annotations>\n"
              "</annotations>\n</entry>");
    EXPECT_EQ(info->rules[1].order, std::numeric_limits<double>::max());
}

TEST(RuleFileInfoExtractionTest, SortByGroupThenOrderThenName) {
    RuleFileBuilder b;
    auto group = [](const char* a, const char* c, double order) {
        return RuleAnnotation("$Group").withString(a).withString(c).withFloat(order);
    };
    b.addRule("Zeta", "()V", {});
    b.addRule("Alpha", "()V", {});
    b.addRule("Start", "(D)V", {"x"}, {RuleAnnotation("$StartRule")});
    b.addRule("Two", "(DD)V", {"a", "b"});
    b.addRule("Ordered", "()V", {}, {RuleAnnotation("$Order").withFloat(-5)});
    b.addRule("Reordered", "()V", {},
              {RuleAnnotation("$StartRule"), RuleAnnotation("$Order").withFloat(7)});
    b.addRule("GroupB", "()V", {}, {group("A", "B", 2.0)});
    b.addRule("GroupA", "()V", {}, {group("A", "", 2.0)});
    b.addRule("First", "()V", {}, {group("Z", "", 1.0)});
    // A non-float last argument leaves the group alone.
    b.addRule("NotGrouped", "()V", {}, {RuleAnnotation("$Group").withString("A").withString("x")});
    b.addAttribute("b", "()D");
    b.addAttribute("a", "()D");
    auto info = extract(b);

    EXPECT_EQ(
        namesOf(info->rules, info->numRules),
        (std::vector<std::wstring>{L"First", L"GroupA", L"GroupB", L"Ordered", L"Two", L"Alpha",
                                   L"NotGrouped", L"Zeta", L"Reordered", L"Start"}));
    EXPECT_EQ(info->rules[1].group, L"A");
    EXPECT_EQ(info->rules[2].group, L"AB");
    EXPECT_EQ(info->rules[2].groupOrder, 2.0);
    EXPECT_EQ(info->rules[8].order, 7.0);
    EXPECT_EQ(info->rules[9].order, 999999.0);
    EXPECT_EQ(namesOf(info->attributes, info->numAttributes),
              (std::vector<std::wstring>{L"a", L"b"}));
}

TEST(RuleFileInfoExtractionTest, FileAnnotationsAndShortArrays) {
    RuleFileBuilder b;
    b.addFileAnnotation(RuleAnnotation("$Old"));
    // "names" is shorter than "types" and comes again shorter, taking back the second key;
    // "dvals" names an integer constant.
    const auto text = [&](const char* t) { return ElementValue::constant('s', b.utf8(t)); };
    const auto code = [&](char tag, int32_t value) {
        return ElementValue::constant(tag, b.integer(value));
    };
    const auto marker = tkbtest::markerAttribute(
        b, {{b.utf8("types"), ElementValue::array({code('C', 'f'), code('C', 's')})},
            {b.utf8("names"), ElementValue::array({text("x"), text("y")})},
            {b.utf8("names"), ElementValue::array({text("k")})},
            {b.utf8("dvals"), ElementValue::array({code('D', 4)})},
            {b.utf8("name"), text("$New")}});
    // Only the first RuntimeVisibleAnnotations attribute of the class counts.
    b.writer().attributes.insert(b.writer().attributes.begin(), marker);
    auto info = extract(b);

    ASSERT_EQ(info->numAnnotations, 1u);
    EXPECT_EQ(
        info->annotations[0].toXMLString(),
        "<annotation name=\"$New\"><arguments><argument type=\"float\" key=\"k\" value=\"0\"/>"
        "<argument type=\"str\" value=\"\"/></arguments></annotation>");
}

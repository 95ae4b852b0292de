#include "rulefileinfo/RuleFileInfoImpl.h"

#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

const std::string EMPTY_XML = "<rulefileinfo><attributes></attributes><rules></rules>"
                              "<annotations>\n</annotations>\n</rulefileinfo>";

void setArgument(AnnotationArgumentImpl& arg, int32_t type, const wchar_t* key, double f,
                 const wchar_t* s = L"", bool b = false) {
    arg.type = type;
    arg.key = key;
    arg.floatValue = f;
    arg.strValue = s;
    arg.boolValue = b;
}

// One attribute with an annotated value range, one rule with two parameters, one file annotation.
std::unique_ptr<RuleFileInfoImpl> smallInfo() {
    auto info = std::make_unique<RuleFileInfoImpl>();
    info->setNumAttributes(1);
    EntryImpl& height = info->attributes[0];
    height.returnType = kov::VT_FLOAT;
    height.name = L"height";
    height.setNumAnnotations(1);
    height.annotations[0].name = L"$Range";
    height.annotations[0].setNumArguments(2);
    setArgument(height.annotations[0].arguments[0], kov::VT_FLOAT, L"min", 0.5);
    setArgument(height.annotations[0].arguments[1], kov::VT_FLOAT, L"max", 100);

    info->setNumRules(1);
    EntryImpl& lot = info->rules[0];
    lot.returnType = kov::VT_VOID;
    lot.name = L"Lot";
    lot.setNumParameters(2);
    lot.parameters[0].type = kov::VT_STR;
    lot.parameters[0].name = L"label";
    lot.parameters[1].type = kov::VT_INT;
    lot.parameters[1].name = L"n";
    lot.setNumAnnotations(1);
    lot.annotations[0].name = L"_$RULE";

    info->setNumAnnotations(1);
    info->annotations[0].name = L"$Info";
    info->annotations[0].setNumArguments(2);
    setArgument(info->annotations[0].arguments[0], kov::VT_STR, L"k&\"", 0, L"a<b&\"'>");
    setArgument(info->annotations[0].arguments[1], kov::VT_BOOL, L"", 0, L"", true);
    return info;
}

const std::string SMALL_XML =
    "<rulefileinfo><attributes>"
    "<entry returntype=\"float\" name=\"height\"><parameters></parameters><annotations>\n"
    "<annotation name=\"$Range\"><arguments>"
    "<argument type=\"float\" key=\"min\" value=\"0.5\"/>"
    "<argument type=\"float\" key=\"max\" value=\"100\"/>"
    "</arguments></annotation></annotations>\n</entry>"
    "</attributes><rules>"
    "<entry returntype=\"void\" name=\"Lot\"><parameters>"
    "<parameter type=\"str\" name=\"label\"><annotations>\n</annotations>\n</parameter>"
    "<parameter type=\"?\" name=\"n\"><annotations>\n</annotations>\n</parameter>"
    "</parameters><annotations>\n"
    "<annotation name=\"_$RULE\"><arguments></arguments></annotation></annotations>\n</entry>"
    "</rules><annotations>\n"
    "<annotation name=\"$Info\"><arguments>"
    "<argument type=\"str\" key=\"k&\"\" value=\"a&lt;b&amp;&quot;&apos;&gt;\"/>"
    "<argument type=\"bool\" value=\"true\"/>"
    "</arguments></annotation></annotations>\n</rulefileinfo>";

std::string argumentXML(int32_t type, double f) {
    AnnotationArgumentImpl arg;
    setArgument(arg, type, L"", f);
    return arg.toXMLString();
}

} // namespace

TEST(RuleFileInfoTest, SmallInfoMatchesItsTextAndLooksUpOnlyInRange) {
    auto info = smallInfo();
    EXPECT_EQ(info->toXMLString(), SMALL_XML);
    EXPECT_EQ(info->getAttribute(1), nullptr);
    EXPECT_EQ(info->getRule(1), nullptr);
    EXPECT_EQ(info->getAnnotation(1), nullptr);
    EXPECT_EQ(info->rules[0].getParameter(2), nullptr);
    EXPECT_EQ(info->rules[0].getAnnotation(1), nullptr);
    EXPECT_EQ(info->annotations[0].getArgument(2), nullptr);
    EXPECT_EQ(RuleFileInfoImpl().getRule(0), nullptr);
}

TEST(RuleFileInfoTest, ArgumentTypeNamesAndValueForms) {
    EXPECT_EQ(argumentXML(kov::VT_VOID, 1), "<argument type=\"void\" value=\"?\"/>");
    EXPECT_EQ(argumentXML(kov::VT_INT, 1), "<argument type=\"?\" value=\"?\"/>");
    EXPECT_EQ(argumentXML(kov::VT_UNKNOWN, 1), "<argument type=\"?\" value=\"?\"/>");
    EXPECT_EQ(argumentXML(-3, 1), "<argument type=\"?\" value=\"?\"/>");
    // Floats take the attribute map's number form (AttributeMapXMLTest).
    EXPECT_EQ(argumentXML(kov::VT_FLOAT, 1e-7), "<argument type=\"float\" value=\"1e-07\"/>");
}

TEST(RuleFileInfoTest, NonAsciiTextIsWrittenAsUtf8) {
    AnnotationImpl annotation;
    annotation.name = L"\u00c4rger";
    annotation.setNumArguments(1);
    setArgument(annotation.arguments[0], kov::VT_STR, L"\u20ac", 0, L"\U0001F600");
    EXPECT_EQ(annotation.toXMLString(),
              "<annotation name=\"\xc3\x84rger\"><arguments>"
              "<argument type=\"str\" key=\"\xe2\x82\xac\" value=\"\xf0\x9f\x98\x80\"/>"
              "</arguments></annotation>");
}

TEST(RuleFileInfoTest, ToXMLCopiesOutByTheSizeProtocol) {
    RuleFileInfoImpl info;
    const size_t needed = EMPTY_XML.size() + 1;
    char buf[128];
    std::memset(buf, 'x', sizeof buf);
    size_t size = 0;
    kov::Status stat = kov::STATUS_UNSPECIFIED_ERROR;
    EXPECT_EQ(info.toXML(buf, &size, &stat), buf);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(stat, kov::STATUS_OK);
    EXPECT_EQ(buf[0], 'x');

    // Copies as copyStringToCStr does (StringUtilsTest: cut short and terminated).
    size = needed;
    info.toXML(buf, &size);
    EXPECT_EQ(std::string(buf), EMPTY_XML);
    EXPECT_EQ(size, needed);

    EXPECT_EQ(info.toXML(buf, nullptr, &stat), buf);
    EXPECT_EQ(stat, kov::STATUS_ILLEGAL_ARGUMENT);
    size = 4;
    info.toXML(nullptr, &size, &stat);
    EXPECT_EQ(stat, kov::STATUS_ILLEGAL_ARGUMENT);
    EXPECT_EQ(size, needed);
}

TEST(RuleFileInfoTest, CloneIsDeepButDropsTheSortKeys) {
    auto source = smallInfo();
    source->rules[0].order = 5;
    source->rules[0].groupOrder = 2;
    source->rules[0].group = L"AB";
    std::unique_ptr<RuleFileInfoImpl> copy(source->clone());

    EXPECT_EQ(copy->toXMLString(), SMALL_XML);
    EXPECT_EQ(copy->rules[0].order, std::numeric_limits<double>::max());
    EXPECT_EQ(copy->rules[0].groupOrder, std::numeric_limits<double>::max());
    EXPECT_TRUE(copy->rules[0].group.empty());

    copy->rules[0].parameters[0].name = L"changed";
    copy->annotations[0].arguments[0].strValue = L"changed";
    copy->attributes[0].setNumAnnotations(0);
    EXPECT_EQ(source->toXMLString(), SMALL_XML);
    source.reset();
    EXPECT_STREQ(copy->rules[0].parameters[0].getName(), L"changed");
    EXPECT_STREQ(copy->getAnnotation(0)->getArgument(0)->getStr(), L"changed");
}

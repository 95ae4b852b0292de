#include "xml/AttributeMapXML.h"

#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "kov/AttributeMap.h"

namespace {

template <typename F> std::string written(F write) {
    std::ostringstream out;
    write(out);
    return out.str();
}

} // namespace

TEST(AttributeMapXMLTest, EscapesTheFiveSpecialCharactersOnly) {
    EXPECT_EQ(xml::escape(L"<a & \"b\" 'c'>\u00e9"),
              L"&lt;a &amp; &quot;b&quot; &apos;c&apos;&gt;\u00e9");
    EXPECT_EQ(xml::escape(L""), L"");
    EXPECT_EQ(xml::escape(nullptr), L"");
}

TEST(AttributeMapXMLTest, ScalarsAreSelfClosingElementsWithTheirTypeLast) {
    EXPECT_EQ(written([](std::ostream& o) { xml::writeDeclaration(o); }),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n");
    EXPECT_EQ(written([](std::ostream& o) { xml::writeBool(o, L"on", false); }),
              "\n\t<attribute key=\"on\" value=\"false\" type=\"bool\"/>");
    EXPECT_EQ(written([](std::ostream& o) { xml::writeInt(o, L"n", -42); }),
              "\n\t<attribute key=\"n\" value=\"-42\" type=\"int\"/>");
    EXPECT_EQ(written([](std::ostream& o) { xml::writeInt64(o, L"big", 1LL << 40); }),
              "\n\t<attribute key=\"big\" value=\"1099511627776\" type=\"int64\"/>");
    // The stream's own formatting state must not leak into the numbers.
    EXPECT_EQ(written([](std::ostream& o) { xml::writeFloat(o << std::hex << std::fixed, L"f", 3.0); }),
              "\n\t<attribute key=\"f\" value=\"3\" type=\"float\"/>");
    EXPECT_EQ(written([](std::ostream& o) { xml::writeFloat(o, L"f", 1e-7); }),
              "\n\t<attribute key=\"f\" value=\"1e-07\" type=\"float\"/>");
    EXPECT_EQ(written([](std::ostream& o) { xml::writeFloat(o, L"f", 1234567.0); }),
              "\n\t<attribute key=\"f\" value=\"1.23457e+06\" type=\"float\"/>");
}

TEST(AttributeMapXMLTest, StringValuesAreEscapedAndUtf8ButKeysAreNot) {
    EXPECT_EQ(written([](std::ostream& o) { xml::writeStr(o, L"k\"&\u00e9", L"<a&\"\"\u20ac"); }),
              "\n\t<attribute key=\"k\"&\xc3\xa9\" value=\"&lt;a&amp;&quot;&quot;\xe2\x82\xac\" "
              "type=\"str\"/>");
}

TEST(AttributeMapXMLTest, ArraysHoldAdjacentItems) {
    const bool flags[] = {true, false, true};
    EXPECT_EQ(written([&](std::ostream& o) { xml::writeBoolArray(o, L"b", flags, 3); }),
              "\n\t<attribute key=\"b\" type=\"bool_array\">"
              "<item>true</item><item>false</item><item>true</item></attribute>");
    EXPECT_EQ(written([](std::ostream& o) { xml::writeIntArray(o, L"i", nullptr, 0); }),
              "\n\t<attribute key=\"i\" type=\"int_array\"></attribute>");
    const wchar_t* const texts[] = {L"a<b", L""};
    EXPECT_EQ(written([&](std::ostream& o) { xml::writeStrArray(o, L"s", texts, 2); }),
              "\n\t<attribute key=\"s\" type=\"str_array\"><item>a&lt;b</item><item></item></attribute>");
    const double numbers[] = {0.1, 100.0};
    EXPECT_EQ(written([&](std::ostream& o) { xml::writeFloatArray(o, L"d", numbers, 2); }),
              "\n\t<attribute key=\"d\" type=\"float_array\"><item>0.1</item><item>100</item></attribute>");

    std::ostringstream out;
    EXPECT_THROW(xml::writeInt64Array(out, L"x", nullptr, 2), std::invalid_argument);
}

TEST(AttributeMapXMLTest, PointerElementDoublesThePrefixAndRestoresDecimal) {
    int target = 0;
    std::ostringstream expected;
    expected << "\n\t<obj>0x" << static_cast<const void*>(&target) << "</obj>";
    std::ostringstream out;
    xml::writePointer(out, "obj", &target) << 255;
    EXPECT_EQ(out.str(), expected.str() + "255");
    EXPECT_EQ(out.str().rfind("\n\t<obj>0x0x", 0), 0u);
}

TEST(AttributeMapXMLTest, WholeMapIsWrittenInKeyOrder) {
    kov::AttributeMap map;
    map.setString(L"z", L"&");
    map.setBoolArray(L"b", {false});
    map.setInt64Array(L"c", {});
    map.setInt(L"a", 7);
    EXPECT_EQ(written([&](std::ostream& o) { xml::writeAttributeMap(o, map); }),
              "\n\t<attribute key=\"a\" value=\"7\" type=\"int\"/>"
              "\n\t<attribute key=\"b\" type=\"bool_array\"><item>false</item></attribute>"
              "\n\t<attribute key=\"c\" type=\"int64_array\"></attribute>"
              "\n\t<attribute key=\"z\" value=\"&amp;\" type=\"str\"/>");
}

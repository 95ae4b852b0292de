#include <cstring>
#include <memory>

#include <gtest/gtest.h>

#include "util/RuntimeErrorST.h"
#include "util/StringUtils.h"

using util::StringUtils;

TEST(StringUtilsTest, Utf8ConversionRoundTripsAndSkipsWhatCannotBeEncoded) {
    const std::wstring wide = L"a\u00e9\u20ac\U0001F600";
    const std::string utf8 = StringUtils::toUTF8FromUTF32(wide);
    EXPECT_EQ(utf8, "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
    EXPECT_EQ(StringUtils::toUTF32FromUTF8(utf8), wide);

    std::wstring withSurrogate = L"ab";
    withSurrogate.insert(1, 1, static_cast<wchar_t>(0xD800));
    EXPECT_EQ(StringUtils::toUTF8FromUTF32(withSurrogate), "ab");

    EXPECT_EQ(StringUtils::toUTF32FromUTF8("x\xff\xfey"), L"xy");

    std::unique_ptr<wchar_t[]> array(StringUtils::toUTF32FromUTF8Array("\xc3\xa9t\xc3\xa9"));
    EXPECT_EQ(std::wcscmp(array.get(), L"\u00e9t\u00e9"), 0);
}

// The ASCII run is widened in blocks of eight bytes: the first other byte may fall anywhere in or
// after a block, and a damaged sequence may sit right at its edge.
TEST(StringUtilsTest, Utf8ConversionIsTheSameWhereverTheAsciiRunEnds) {
    for (size_t run = 0; run <= 20; ++run) {
        const std::string ascii(run, 'a');
        std::wstring wide(run, L'a');
        EXPECT_EQ(StringUtils::toUTF32FromUTF8(ascii), wide) << run;
        EXPECT_EQ(StringUtils::toUTF32FromUTF8(ascii + "\xc3\xa9z"), wide + L"\u00e9z") << run;
        EXPECT_EQ(StringUtils::toUTF32FromUTF8(ascii + "\xffz"), wide + L"z") << run;
    }
}

TEST(StringUtilsTest, NarrowWideByCodeUnit) {
    EXPECT_EQ(StringUtils::toOSWideFromOSNarrow("a\xe9"), std::wstring(L"a\u00e9"));
    EXPECT_EQ(StringUtils::toOSNarrowFromOSWide(L"a\u0141"), std::string("a\x41"));
}

TEST(StringUtilsTest, CopyToCallerBufferTruncatesTerminatesAndReportsTheNeededSize) {
    char buf[8];
    std::memset(buf, 'x', sizeof buf);
    size_t size = 2;
    StringUtils::copyStringToCStr("abc", buf, &size);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(buf[0], 'a');
    EXPECT_EQ(buf[1], '\0');
    EXPECT_EQ(buf[2], 'x');

    size = 0;
    StringUtils::copyStringToCStr("abc", nullptr, &size);
    EXPECT_EQ(size, 4u);

    size = sizeof buf;
    StringUtils::copyStringToCStr("abc", buf, &size);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(size, 4u);
}

TEST(StringUtilsTest, SmallHelpers) {
    EXPECT_EQ(StringUtils::toHex(10), "0A");
    EXPECT_EQ(StringUtils::toHex(0xF3), "F3");
    EXPECT_EQ(StringUtils::removeChars("0x1fG", StringUtils::HEXCHARS()), "xG");
    EXPECT_EQ(StringUtils::removeChars(std::wstring(L"a-b-c"), std::wstring(L"-")), L"abc");
    EXPECT_EQ(StringUtils::count("a.b.c.", '.'), 3u);
    EXPECT_EQ(StringUtils::parseHex("ff"), 255u);
    EXPECT_EQ(StringUtils::parseHex("DEADBEEF"), 0xDEADBEEFu);
    EXPECT_EQ(StringUtils::parseHex("zz"), 0u);
}

TEST(RuntimeErrorSTTest, IsARuntimeErrorThatRecordsTheStack) {
    try {
        throw util::RuntimeErrorST("not implemented");
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "not implemented");
        const auto* st = dynamic_cast<const util::RuntimeErrorST*>(&e);
        ASSERT_NE(st, nullptr);
        EXPECT_FALSE(st->stackTrace().empty());
    }
}

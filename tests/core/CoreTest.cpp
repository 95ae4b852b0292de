// The stand-in core is small, but the loader's log texts and URI handling rest on it.
#include <stdexcept>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "kov/RuleFileInfo.h"
#include "kovx/ExtensionFactory.h"
#include "kovx/Log.h"
#include "kovx/StatusException.h"
#include "kovx/TKB.h"

TEST(CoreLogTest, FormattersFillPrintfDirectivesAndEmitWhenDestroyed) {
    kovtest::LogCapture log;
    {
        kovx::LogFormatterW f(kov::LOG_INFO, L"    %-10ls (%.1f) %ls");
        f % std::wstring(L"id") % 1.0f % L"desc";
        EXPECT_TRUE(log.messages().empty());
    }
    kovx::LogFormatterW(kov::LOG_WARNING, L"Invalid plugin path: '%s'") % std::string("/x/\xc3\xa9");
    kovx::LogFormatter(kov::LOG_ERROR, "method %s (classIndex %d).") % std::wstring(L"f()V") % 7;
    kovx::LogFormatter(kov::LOG_ERROR, "failed to load library: ", std::runtime_error("boom"));
    kovx::LogFormatter(kov::LOG_ERROR, "failed to unload library", std::runtime_error("bang"));
    kovx::LogFormatter(kov::LOG_ERROR, "too few %s %s") % "one";

    ASSERT_EQ(log.messages().size(), 6u);
    EXPECT_EQ(log.messages()[0].first, kov::LOG_INFO);
    EXPECT_EQ(log.texts()[0], "    id         (1.0) desc");
    EXPECT_EQ(log.texts()[1], "Invalid plugin path: '/x/\xc3\xa9'");
    EXPECT_EQ(log.texts()[2], "method f()V (classIndex 7).");
    EXPECT_EQ(log.texts()[3], "failed to load library: boom");
    EXPECT_EQ(log.texts()[4], "failed to unload library: bang");
    EXPECT_EQ(log.texts()[5].rfind("too few one", 0), 0u);
}

TEST(CoreURITest, TextPathAndExtension) {
    kovx::URI fileUri("file:/a/b.tkb");
    EXPECT_EQ(fileUri.str(), "file:/a/b.tkb");
    EXPECT_EQ(fileUri.getScheme(), "file");
    EXPECT_EQ(fileUri.getPath(), "/a/b.tkb");
    EXPECT_EQ(fileUri.getFileExtension(), L".tkb");

    kovx::URI authority("file://localhost/tmp/my%20rules.CLASS");
    EXPECT_EQ(authority.getPath(), "/tmp/my rules.CLASS");
    EXPECT_EQ(authority.getFileExtension(), L".CLASS");

    kovx::URI plain(std::wstring(L"rules/x.y/noext"));
    EXPECT_EQ(plain.getScheme(), "");
    EXPECT_EQ(plain.getPath(), "rules/x.y/noext");
    EXPECT_EQ(plain.getFileExtension(), L"");

    EXPECT_EQ(kovx::URI("C:/rules/a.tkb").getScheme(), "");
    EXPECT_EQ(kovx::URI("/x/.hidden").getFileExtension(), L"");
}

namespace {
struct NullDecoderFactory : kovx::DecoderFactory {
    NullDecoderFactory() : DecoderFactory(kov::CT_RULEFILE, L"id", L"name", L"desc", {L".tkb", L".class"}) {}
    kovx::Extension* create() const override { return nullptr; }
};
} // namespace

TEST(CoreFactoryTest, DecoderFactoryAcceptsItsFileExtensions) {
    NullDecoderFactory f;
    EXPECT_TRUE(f.canHandleURI(kovx::URIPtr(new kovx::URI("a.tkb"))));
    EXPECT_TRUE(f.canHandleURI(kovx::URIPtr(new kovx::URI("file:/a.Class"))));
    EXPECT_FALSE(f.canHandleURI(kovx::URIPtr(new kovx::URI("a.tkbx"))));
    EXPECT_FALSE(f.canHandleURI(kovx::URIPtr()));
    auto info = f.createDecoderInfo();
    EXPECT_EQ(info->id, L"id");
    EXPECT_EQ(info->extensionType, kovx::Extension::ET_DECODER);
    EXPECT_EQ(info->fileExtensions.size(), 2u);
}

TEST(CoreStatusTest, StatusExceptionDescribesItsStatus) {
    kovx::StatusException e(kov::STATUS_UNSUPPORTED_RULE_CONTENT);
    EXPECT_EQ(e.getStatus(), 31);
    EXPECT_STREQ(e.what(), kov::getStatusDescription(kov::STATUS_UNSUPPORTED_RULE_CONTENT));
    EXPECT_EQ(kovx::Extension::toString(kov::CT_RULEFILE), L"CT_RULEFILE");
}

namespace {
int gInfoDeleted = 0;
struct CountingInfo : kov::RuleFileInfo {
    ~CountingInfo() override { ++gInfoDeleted; }
    const char* toXML(char* r, size_t*, kov::Status*) const override { return r; }
    size_t getNumAttributes() const override { return 0; }
    const Entry* getAttribute(size_t) const override { return nullptr; }
    size_t getNumRules() const override { return 0; }
    const Entry* getRule(size_t) const override { return nullptr; }
    size_t getNumAnnotations() const override { return 0; }
    const kov::Annotation* getAnnotation(size_t) const override { return nullptr; }
};
} // namespace

TEST(CoreTKBTest, ProgramReleasesEveryKindOfConstantAndTheInfo) {
    // Run under the sanitizer build, a missed or wrong release shows as a leak or a bad delete.
    std::unique_ptr<kovx::TKB> tkb(kovx::TKB::create());
    kovx::TKBProgram& p = *tkb->program;
    auto add = [&p](uint32_t kind, void* value) { p.constants.push_back(new kovx::TKBConstant{kind, value}); };
    add(0, new boost::shared_ptr<std::wstring>(new std::wstring(L"s")));
    add(1, new double(1.5));
    add(2, new int32_t(3));
    add(3, new kovx::TKBMethod);
    add(4, new int32_t(229));
    add(5, nullptr);
    add(6, new int32_t(0));
    add(7, new boost::shared_ptr<kovx::TKB::Enum>(new kovx::TKB::Enum(1, L"SplitAxis.y")));
    p.constants.push_back(nullptr);
    p.ruleFileInfo = new CountingInfo;
    EXPECT_EQ(tkb->getContentType(), kov::CT_RULEFILE);
    tkb.reset();
    EXPECT_EQ(gInfoDeleted, 1);
}

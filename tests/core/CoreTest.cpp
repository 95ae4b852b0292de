// The stand-in core is small, but the loader's log texts and URI handling rest on it.
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "kovx/Log.h"
#include "kovx/URI.h"

TEST(CoreLogTest, FormattersFillPrintfDirectivesAndEmitWhenDestroyed) {
    kovtest::LogCapture log;
    {
        kovx::LogFormatterW f(kov::LOG_INFO, L"    %-10ls (%.1f) %ls");
        f % std::wstring(L"id") % 1.0f % L"desc";
        EXPECT_TRUE(log.messages().empty());
    }
    kovx::LogFormatterW(kov::LOG_WARNING, L"Invalid plugin path: '%s'") %
        std::string("/x/\xc3\xa9");
    kovx::LogFormatter(kov::LOG_ERROR, "method %s (classIndex %d).") % std::wstring(L"f()V") % 7;
    kovx::LogFormatter(kov::LOG_ERROR, "failed to load library: ", std::runtime_error("boom"));
    kovx::LogFormatter(kov::LOG_ERROR, "failed to unload library", std::runtime_error("bang"));
    kovx::LogFormatter(kov::LOG_ERROR, "too few %s %s") % "one";

    ASSERT_EQ(log.messages().size(), 6u);
    EXPECT_EQ(log.messages()[0].first, kov::LOG_INFO);
    std::vector<std::string> texts = log.texts();
    // A missing argument leaves the rest of the format as it is.
    EXPECT_EQ(texts.back().rfind("too few one", 0), 0u);
    texts.pop_back();
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "    id         (1.0) desc", "Invalid plugin path: '/x/\xc3\xa9'",
                         "method f()V (classIndex 7).", "failed to load library: boom",
                         "failed to unload library: bang"}));
}

TEST(CoreURITest, SchemePathAndExtension) {
    // Text, scheme, path, extension.
    const std::tuple<const char*, const char*, const char*, const wchar_t*> uris[] = {
        {"file:/a/b.tkb", "file", "/a/b.tkb", L".tkb"},
        {"file://localhost/tmp/my%20rules.CLASS", "file", "/tmp/my rules.CLASS", L".CLASS"},
        {"rules/x.y/noext", "", "rules/x.y/noext", L""},
        {"C:/rules/a.tkb", "", "C:/rules/a.tkb", L".tkb"},
        {"/x/.hidden", "", "/x/.hidden", L""},
    };
    for (const auto& [text, scheme, path, extension] : uris) {
        const kovx::URI uri(text);
        EXPECT_EQ(uri.str(), text);
        EXPECT_EQ(uri.getScheme(), scheme) << text;
        EXPECT_EQ(uri.getPath(), path);
        EXPECT_EQ(uri.getFileExtension(), extension) << text;
    }
    EXPECT_EQ(kovx::URI(std::wstring(L"a/b.tkb")).getPath(), "a/b.tkb");
}

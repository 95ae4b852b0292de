// Plug-in loading with real shared objects: what the scan logs, and the order of the teardown.
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TestSupport.h"
#include "loader/ExtensionManagerImpl.h"

namespace {

const std::string PLUGIN_DIR = KOVTEST_PLUGIN_DIR;
const std::string FULL_PLUGIN = KOVTEST_FULL_PLUGIN;
const std::string NESTED_PLUGIN = KOVTEST_NESTED_PLUGIN;
const std::string NOREGISTER_PLUGIN = KOVTEST_NOREGISTER_PLUGIN;
const std::string THROWING_PLUGIN = KOVTEST_THROWING_PLUGIN;
const std::string THROWING_OWN_PLUGIN = KOVTEST_THROWING_OWN_PLUGIN;
const std::string THROWING_ON_UNREGISTER_PLUGIN = KOVTEST_THROWING_ON_UNREGISTER_PLUGIN;
const std::string HALF_REGISTERED_PLUGIN = KOVTEST_HALF_REGISTERED_PLUGIN;

std::vector<std::string> events;
void recordEvent(const char* event) {
    events.push_back(event);
}

// A handle of the test's own on a test plug-in, to reach its knobs. While it is open, the
// manager's dlclose does not unload the plug-in.
class PluginProbe {
public:
    explicit PluginProbe(const std::string& path)
        : mHandle(dlopen(path.c_str(), RTLD_NOW), &dlclose) {
        if (!mHandle)
            throw std::runtime_error(dlerror());
        call<void (*)(void (*)(const char*))>("kovtest_setRecorder")(&recordEvent);
    }
    void close() { mHandle.reset(); }
    size_t liveFactories() { return call<size_t (*)()>("kovtest_liveFactories")(); }
    void deleteLiveFactories() { call<void (*)()>("kovtest_deleteLiveFactories")(); }

private:
    template <typename F> F call(const char* name) {
        return reinterpret_cast<F>(dlsym(mHandle.get(), name));
    }
    std::unique_ptr<void, int (*)(void*)> mHandle;
};

// Removes the one message of that level that equals text (or starts with it, for texts that end
// in the dynamic loader's own words); false if there is none.
bool take(std::vector<std::pair<kov::LogLevel, std::string>>& messages, kov::LogLevel level,
          const std::string& text, bool prefixOnly = false) {
    auto it = std::find_if(messages.begin(), messages.end(), [&](const auto& m) {
        return m.first == level && (prefixOnly ? m.second.rfind(text, 0) == 0 : m.second == text);
    });
    if (it == messages.end())
        return false;
    messages.erase(it);
    return true;
}

std::string listed(const std::string& id, const char* meritAndDescription) {
    return "    " + id + std::string(45 - id.size(), ' ') + " " + meritAndDescription;
}

std::wstring wide(const std::string& path) {
    return std::wstring(path.begin(), path.end());
}

bool isLoaded(const std::string& path) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

} // namespace

TEST(PluginScanTest, ScanLoadsTopLevelLibrariesAndLogsEveryOtherFile) {
    kovtest::LogCapture log;
    auto* manager = new loader::ExtensionManagerImpl();
    std::wstring dir(PLUGIN_DIR.begin(), PLUGIN_DIR.end());
    const wchar_t* paths[] = {dir.c_str(), L"/nonexistent/kov-plugins"};
    manager->loadExtensions(paths, 2);

    // The directory order is the file system's: compare the scan's messages as a set.
    auto messages = log.messages();
    const std::string bad = PLUGIN_DIR + "/not-a-library.so";
    const std::string skipped = "failed to load or register an extension from " + PLUGIN_DIR + "/";
    const std::string failed = "failed to load or register extensions from '" + PLUGIN_DIR + "/";
    EXPECT_TRUE(take(messages, kov::LOG_ERROR,
                     "failed to load library: error while loading library '" + bad + "': " + bad,
                     true));
    EXPECT_TRUE(take(messages, kov::LOG_WARNING, "failed to load library not-a-library.so"));
    EXPECT_TRUE(take(messages, kov::LOG_WARNING, skipped + "notes.txt, ignoring."));
    EXPECT_TRUE(take(messages, kov::LOG_WARNING, skipped + "libkovtest_full.so.1, ignoring."));
    EXPECT_TRUE(take(messages, kov::LOG_WARNING,
                     failed + "libkovtest_noregister.so' due to exception: error while loading "
                              "function 'registerExtensionFactories': ",
                     true));
    EXPECT_TRUE(take(messages, kov::LOG_WARNING,
                     failed + "libkovtest_throwing.so' due to exception: registration refused"));
    EXPECT_TRUE(take(messages, kov::LOG_WARNING,
                     failed + "libkovtest_throwing_unknown.so' due to unknown exception."));
    EXPECT_TRUE(
        take(messages, kov::LOG_WARNING, "Invalid plugin path: '/nonexistent/kov-plugins'"));

    // What is left is the listing: the top-level plug-in's factories, not the nested one's.
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front().second, "Available Extensions:");
    for (const auto& message : messages) {
        EXPECT_EQ(message.first, kov::LOG_INFO) << message.second;
        EXPECT_EQ(message.second.find("test.nested."), std::string::npos);
    }
    auto adaptor = std::find(
        messages.begin(), messages.end(),
        std::make_pair(kov::LOG_INFO, listed("test.plugin.Adaptor", "(2.0) test adaptor")));
    ASSERT_GE(messages.end() - adaptor, 3);
    EXPECT_EQ((adaptor + 1)->second, listed("test.plugin.Decoder", "(3.0) test decoder"));
    EXPECT_EQ((adaptor + 2)->second, listed("test.plugin.Encoder", "(1.0) test encoder"));

    // The library that never opened stays in the map, and its unregister lookup fails on purpose.
    const std::string teardown = kovtest::errorOf([&] { delete manager; });
    EXPECT_EQ(teardown.rfind("error while loading function 'unregisterExtensionFactories': ", 0),
              0u)
        << teardown;
}

// The exception classes of these plug-ins live in the plug-ins: their texts can only be read, and
// the exceptions only be destroyed, while the libraries are loaded.
TEST(PluginScanTest, ExceptionsOfThePluginsOwnClassesAreLoggedAndTheScanGoesOn) {
    kovtest::LogCapture log;
    auto* manager = new loader::ExtensionManagerImpl();
    const std::wstring paths[] = {wide(THROWING_OWN_PLUGIN), wide(THROWING_ON_UNREGISTER_PLUGIN),
                                  wide(FULL_PLUGIN)};
    const wchar_t* pointers[] = {paths[0].c_str(), paths[1].c_str(), paths[2].c_str()};
    manager->loadExtensions(pointers, 3);

    auto messages = log.messages();
    EXPECT_TRUE(take(messages, kov::LOG_WARNING,
                     "failed to load or register extensions from '" + THROWING_OWN_PLUGIN +
                         "' due to exception: registration refused by the plug-in's own error"));
    EXPECT_TRUE(
        take(messages, kov::LOG_INFO, listed("test.plugin.Decoder", "(3.0) test decoder")));
    for (const auto& message : messages)
        EXPECT_EQ(message.first, kov::LOG_INFO) << message.second;

    EXPECT_EQ(kovtest::errorOf([&] { delete manager; }),
              "unregistration refused by the plug-in's own error");
}

// The factories that a failed registration added stay registered, so their code must stay loaded:
// the listing calls into them, and the teardown deletes them.
TEST(PluginScanTest, FactoriesOfAFailedRegistrationKeepTheirLibraryLoaded) {
    kovtest::LogCapture log;
    {
        loader::ExtensionManagerImpl manager;
        const std::wstring path = wide(HALF_REGISTERED_PLUGIN);
        const wchar_t* pointers[] = {path.c_str()};
        manager.loadExtensions(pointers, 1);
        EXPECT_TRUE(manager.createDecoder(L"test.half.Decoder"));
    }
    auto messages = log.messages();
    EXPECT_TRUE(take(messages, kov::LOG_WARNING,
                     "failed to load or register extensions from '" + HALF_REGISTERED_PLUGIN +
                         "' due to exception: registration failed half-way"));
    EXPECT_TRUE(take(messages, kov::LOG_INFO, listed("test.half.Decoder", "(3.0) test decoder")));
}

// Nothing of theirs is registered, so nothing needs their code: they close while the manager lives.
TEST(PluginScanTest, FailedRegistrationsThatAddedNothingCloseAtOnceAndNeverUnregister) {
    kovtest::LogCapture log;
    unsetenv("KOVTEST_NOREGISTER_UNREGISTERED");
    ASSERT_FALSE(isLoaded(NOREGISTER_PLUGIN));
    ASSERT_FALSE(isLoaded(THROWING_PLUGIN));
    {
        loader::ExtensionManagerImpl manager;
        manager.loadExtensionLibrary(NOREGISTER_PLUGIN);
        manager.loadExtensionLibrary(THROWING_PLUGIN);
        EXPECT_FALSE(isLoaded(NOREGISTER_PLUGIN));
        EXPECT_FALSE(isLoaded(THROWING_PLUGIN));
        // The library that registered its factories stays.
        manager.loadExtensionLibrary(HALF_REGISTERED_PLUGIN);
        EXPECT_TRUE(isLoaded(HALF_REGISTERED_PLUGIN));
    }
    EXPECT_EQ(std::getenv("KOVTEST_NOREGISTER_UNREGISTERED"), nullptr);
    EXPECT_FALSE(isLoaded(HALF_REGISTERED_PLUGIN));
    EXPECT_EQ(log.messages().size(), 3u);
}

TEST(PluginScanTest, TeardownUnregistersAllThenDeletesFactoriesThenUnloads) {
    events.clear();
    {
        PluginProbe full(FULL_PLUGIN);
        PluginProbe nested(NESTED_PLUGIN);
        loader::ExtensionManagerImpl manager;
        manager.loadExtensionLibrary(NESTED_PLUGIN);
        manager.loadExtensionLibrary(FULL_PLUGIN);
        full.close();
        nested.close();
    }
    // Libraries in path order, factories in id order.
    std::vector<std::string> expected = {
        "register test.nested.",      "register test.plugin.",      "unregister test.plugin.",
        "unregister test.nested.",    "delete test.nested.Adaptor", "delete test.nested.Decoder",
        "delete test.nested.Encoder", "delete test.plugin.Adaptor", "delete test.plugin.Decoder",
        "delete test.plugin.Encoder", "unload test.plugin.",        "unload test.nested.",
    };
    EXPECT_EQ(events, expected);
}

TEST(PluginScanTest, LoadingAPathTwiceRegistersTwiceButKeepsOneLibrary) {
    events.clear();
    PluginProbe probe(FULL_PLUGIN);
    {
        loader::ExtensionManagerImpl manager;
        manager.loadExtensionLibrary(FULL_PLUGIN);
        manager.loadExtensionLibrary(FULL_PLUGIN);
        EXPECT_EQ(probe.liveFactories(), 6u);
    }
    EXPECT_EQ(std::count(events.begin(), events.end(), "register test.plugin."), 2);
    EXPECT_EQ(std::count(events.begin(), events.end(), "unregister test.plugin."), 1);
    // The three factories that the second registration replaced were never deleted.
    EXPECT_EQ(probe.liveFactories(), 3u);
    probe.deleteLiveFactories();
}

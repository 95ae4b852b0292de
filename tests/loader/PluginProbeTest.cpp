// Probing plug-ins in a helper process. The deadly test plug-ins are only ever loaded by the
// helper; kov's test shows them skipped.
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TestSupport.h"
#include "loader/ExtensionManagerImpl.h"
#include "loader/PluginProbe.h"

namespace {

// Sets an environment variable for as long as it lives.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : mName(name) { setenv(name, value, 1); }
    ~ScopedEnv() { unsetenv(mName); }

private:
    const char* mName;
};

std::vector<std::string> warnings(const kovtest::LogCapture& log) {
    std::vector<std::string> texts;
    for (const auto& message : log.messages())
        if (message.first >= kov::LOG_WARNING)
            texts.push_back(message.second);
    return texts;
}

} // namespace

TEST(PluginProbeTest, ProbesThatHangAreKilledAndAQuietExitIsNoSuccess) {
    using std::chrono::milliseconds;
    const loader::ProbeResult hang = loader::probePlugin(KOVTEST_HANGING_PLUGIN, milliseconds(300));
    EXPECT_EQ(hang.outcome, loader::ProbeResult::DIED);
    EXPECT_EQ(hang.detail, "did not finish within 300 ms and was killed");

    const loader::ProbeResult quiet =
        loader::probePlugin(KOVTEST_QUIETLY_EXITING_PLUGIN, milliseconds(5000));
    EXPECT_EQ(quiet.outcome, loader::ProbeResult::DIED);
    EXPECT_EQ(quiet.detail, "exited with status 0 before the library was unloaded");
}

TEST(PluginProbeTest, WithoutProbingOrWithoutTheHelperPluginsLoadInProcess) {
    const ScopedEnv helper("KOV_PROBE_HELPER", "/nonexistent/kov-plugin-probe");
    for (const bool probe : {false, true}) {
        kovtest::LogCapture log;
        {
            const ScopedEnv probing("KOV_PROBE_PLUGINS", probe ? "1" : "0");
            loader::ExtensionManagerImpl manager;
            manager.loadExtensionLibrary(KOVTEST_FULL_PLUGIN);
            EXPECT_EQ(kovtest::decoderIds(manager), L"test.plugin.Decoder;");
        }
        std::vector<std::string> expected;
        if (probe)
            expected.push_back("cannot probe plug-in '" KOVTEST_FULL_PLUGIN
                               "' (cannot start '/nonexistent/kov-plugin-probe': No such file or "
                               "directory), loading it in-process");
        EXPECT_EQ(warnings(log), expected);
    }
}

// Probing plug-ins in a helper process. The deadly test plug-ins are only ever loaded by the
// helper, directly or when kov probes them.
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../tools/ProcessRunner.h"
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

using kovtest::contains;

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

TEST(PluginProbeTest, KovSkipsPluginsThatWouldKillItAndLoadsTheRest) {
    const kovtest::ProcessResult run = kovtest::runProgram(
        KOVTEST_KOV_EXECUTABLE, {"--probe-plugins", "-p", KOVTEST_DEADLY_DIR, "extensions"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(contains(run.out, "    test.probed.Decoder ")) << run.out;
    const std::string skipping =
        "kov: warning: skipping plug-in '" KOVTEST_DEADLY_DIR "/libkovtest_";
    for (const char* line : {"aborts.so': its probe process was killed by signal SIGABRT\n",
                             "exits.so': its probe process exited with status 3\n",
                             "segfaults.so': its probe process was killed by signal SIGSEGV\n",
                             "segfaults_when_listed.so': its probe process was killed by signal "
                             "SIGSEGV\n"})
        EXPECT_TRUE(contains(run.err, skipping + line)) << run.err;
}

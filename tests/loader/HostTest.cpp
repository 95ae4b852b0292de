// The kov command-line host, run as a separate process with the test plug-ins.
#include <unistd.h>

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "../tools/ProcessRunner.h"

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(KovHostTest, ExtensionsListsTheDefaultAndTheGivenPlugins) {
    // A library cut to its first page made the dynamic loader kill kov before it could list
    // anything.
    const std::string cutDir = testing::TempDir() + "kov-host-cut-" + std::to_string(getpid());
    std::filesystem::create_directories(cutDir);
    const std::string nested = kovtest::readFile(KOVTEST_NESTED_PLUGIN);
    kovtest::writeFile(cutDir + "/libcut.so", nested.substr(0, 4096));
    kovtest::writeFile(cutDir + "/libkovtest_nested.so", nested);
    const kovtest::ProcessResult run = kovtest::runProgram(
        KOVTEST_KOV_EXECUTABLE, {"extensions", "-p", KOVTEST_PLUGIN_DIR, "-p", cutDir});
    std::filesystem::remove_all(cutDir);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("Available Extensions:\n", 0), 0u) << run.out;
    EXPECT_TRUE(contains(run.out, "    com.velmor.kov.adaptors.FileSystemAdaptor "));
    EXPECT_TRUE(contains(run.out, "    test.plugin.Decoder "));
    EXPECT_TRUE(contains(run.out, "    test.nested.Decoder "));
    EXPECT_TRUE(contains(run.err, "/libcut.so: segment ")) << run.err;
    // Plug-in problems are warnings on standard error, never part of the listing.
    EXPECT_TRUE(contains(run.err, "kov: warning: failed to load library not-a-library.so\n"))
        << run.err;
    EXPECT_FALSE(contains(run.out, "not-a-library"));
}

TEST(KovHostTest, ProbePluginsSkipsPluginsThatWouldKillKovAndLoadsTheRest) {
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

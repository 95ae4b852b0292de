// The kov command-line host, run as a separate process with the test plug-ins.
#include <string>

#include <gtest/gtest.h>

#include "../tools/ProcessRunner.h"

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(KovHostTest, ExtensionsListsTheDefaultAndTheGivenPlugins) {
    const kovtest::ProcessResult run =
        kovtest::runProgram(KOVTEST_KOV_EXECUTABLE, {"extensions", "-p", KOVTEST_PLUGIN_DIR});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("Available Extensions:\n", 0), 0u) << run.out;
    EXPECT_TRUE(contains(run.out, "    com.velmor.kov.adaptors.FileSystemAdaptor "));
    EXPECT_TRUE(contains(run.out, "    test.plugin.Decoder "));
    // Plug-in problems are warnings on standard error, never part of the listing.
    EXPECT_TRUE(contains(run.err, "kov: warning: failed to load library not-a-library.so\n"))
        << run.err;
    EXPECT_FALSE(contains(run.out, "not-a-library"));
}

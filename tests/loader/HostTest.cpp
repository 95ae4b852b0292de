// The kov command-line host, run as a separate process.
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace {

struct KovRun {
    int status;
    std::string out;
    std::string err;
};

std::string slurp(const std::string& path) {
    std::ifstream in(path);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(path.c_str());
    return text;
}

KovRun kov(const std::string& arguments) {
    const std::string out = testing::TempDir() + "kov-host-test.out";
    const std::string err = testing::TempDir() + "kov-host-test.err";
    std::string command =
        "'" KOVTEST_KOV_EXECUTABLE "' " + arguments + " >'" + out + "' 2>'" + err + "'";
    int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(KovHostTest, ExtensionsListsTheDefaultAndTheGivenPlugins) {
    KovRun run = kov("extensions -p '" KOVTEST_PLUGIN_DIR "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.rfind("Available Extensions:\n", 0), 0u) << run.out;
    EXPECT_TRUE(contains(run.out, "    com.velmor.kov.adaptors.FileSystemAdaptor "));
    EXPECT_TRUE(contains(run.out, "    test.plugin.Decoder "));
    // Plug-in problems are warnings on standard error, never part of the listing.
    EXPECT_TRUE(contains(run.err, "kov: warning: failed to load library not-a-library.so\n"))
        << run.err;
    EXPECT_FALSE(contains(run.out, "not-a-library"));
}

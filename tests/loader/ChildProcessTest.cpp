// The child processes of the plug-in probe and of kov check's helper, run through /bin/sh.
#include <signal.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "util/ChildProcess.h"

namespace {

util::ChildResult runShell(const std::string& script, const util::ChildOptions& options) {
    return util::runChild({"/bin/sh", "-c", script}, options);
}

} // namespace

TEST(ChildProcessTest, EveryEndingIsToldApart) {
    util::ChildOptions options;
    util::ChildResult exited = runShell("exit 3", options);
    EXPECT_EQ(exited.outcome, util::ChildResult::EXITED);
    EXPECT_EQ(exited.status, 3);

    util::ChildResult killed = runShell("kill -SEGV $$", options);
    EXPECT_EQ(killed.outcome, util::ChildResult::SIGNALED);
    EXPECT_EQ(util::signalName(killed.status), "SIGSEGV");

    util::ChildResult missing = util::runChild({"/nonexistent/program"}, options);
    EXPECT_EQ(missing.outcome, util::ChildResult::NOT_STARTED);
    EXPECT_EQ(missing.error, ENOENT);

    options.timeout = std::chrono::milliseconds(200);
    const auto start = std::chrono::steady_clock::now();
    util::ChildResult hung = runShell("exec sleep 10", options);
    EXPECT_EQ(hung.outcome, util::ChildResult::TIMED_OUT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// Neither a full pipe nor a grandchild that keeps it open may hold the parent up.
TEST(ChildProcessTest, CapturedOutputsAreReadWhileTheChildRunsAndAfterItEnds) {
    util::ChildOptions options;
    options.captureOutput = true;
    options.captureError = true;
    util::ChildResult large =
        runShell("head -c 300000 /dev/zero; head -c 200000 /dev/zero >&2", options);
    EXPECT_EQ(large.outcome, util::ChildResult::EXITED);
    EXPECT_EQ(large.out.size(), 300000u);
    EXPECT_EQ(large.err.size(), 200000u);

    // A child that writes without end keeps only the limit, and still runs to its end.
    options.outputLimit = 1000;
    util::ChildResult flood = runShell("head -c 5000000 /dev/zero; echo end >&2", options);
    EXPECT_EQ(flood.outcome, util::ChildResult::EXITED);
    EXPECT_EQ(flood.out.size(), 1000u);
    EXPECT_EQ(flood.err, "end\n");
    options.outputLimit = size_t(1) << 20;

    options.timeout = std::chrono::seconds(20);
    const auto start = std::chrono::steady_clock::now();
    util::ChildResult left = runShell("sleep 3 & echo done", options);
    EXPECT_EQ(left.outcome, util::ChildResult::EXITED);
    EXPECT_EQ(left.out, "done\n");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(ChildProcessTest, SettingsReplaceTheVariablesOfTheSameName) {
    setenv("KOVTEST_CHILD", "parent", 1);
    setenv("KOVTEST_CHILD_KEPT", "kept", 1);
    util::ChildOptions options;
    options.captureOutput = true;
    options.environment = {"KOVTEST_CHILD=child"};
    util::ChildResult run = runShell("env | grep '^KOVTEST_CHILD' | sort", options);
    EXPECT_EQ(run.out, "KOVTEST_CHILD=child\nKOVTEST_CHILD_KEPT=kept\n");
    unsetenv("KOVTEST_CHILD");
    unsetenv("KOVTEST_CHILD_KEPT");
}

// The committed examples are exactly what the generator writes.
#include <unistd.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "ProcessRunner.h"

TEST(ExamplesTest, MkExamplesRegeneratesTheCommittedFilesByteForByte) {
    const std::filesystem::path dir =
        std::filesystem::path(testing::TempDir()) / ("kov-examples-" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);

    const kovtest::ProcessResult run = kovtest::runProgram(KOVTEST_MKEXAMPLES, {dir.string()});
    EXPECT_EQ(run.status, 0) << run.err;
    for (const char* name : {"minimal.tkb", "building.tkb"}) {
        const std::string committed =
            kovtest::readFile(std::string(KOVTEST_EXAMPLES_DIR) + "/" + name);
        ASSERT_FALSE(committed.empty()) << name;
        EXPECT_TRUE(kovtest::readFile((dir / name).string()) == committed)
            << name << " differs from the generator's output: run 'build/bin/mkexamples examples'";
    }
    std::filesystem::remove_all(dir);

    EXPECT_EQ(kovtest::runProgram(KOVTEST_MKEXAMPLES, {}).status, 1);
    EXPECT_EQ(kovtest::runProgram(KOVTEST_MKEXAMPLES, {(dir / "missing").string()}).status, 1);
}

#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ProcessRunner.h"

namespace kovtest {

inline ProcessResult runKov(const std::vector<std::string>& args) {
    return runProgram(KOVTEST_KOV, args);
}

inline std::string example(const char* name) {
    return std::string(KOVTEST_EXAMPLES_DIR) + "/" + name;
}

/// The lines of text, without their line feeds.
inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// A directory of its own for the files one test writes.
class ScratchDir {
public:
    explicit ScratchDir(const std::string& name)
        : mPath(std::filesystem::path(testing::TempDir()) /
                (name + "-" + std::to_string(getpid()))) {
        std::filesystem::create_directories(mPath);
    }
    ~ScratchDir() { std::filesystem::remove_all(mPath); }
    std::string file(const std::string& name) const { return (mPath / name).string(); }

private:
    std::filesystem::path mPath;
};

} // namespace kovtest

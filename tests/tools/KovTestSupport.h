#pragma once

#include <string>
#include <vector>

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

} // namespace kovtest

#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace util {

/// The library's runtime error: it also records the call stack where it was raised.
class RuntimeErrorST : public std::runtime_error {
public:
    explicit RuntimeErrorST(const std::string& message);

    /// One line per frame, innermost first, as the platform symbolises them.
    std::vector<std::string> stackTrace() const;

private:
    static constexpr int MAX_FRAMES = 64;
    void* mFrames[MAX_FRAMES];
    int mFrameCount = 0;
};

} // namespace util

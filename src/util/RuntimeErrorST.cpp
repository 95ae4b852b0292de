#include "util/RuntimeErrorST.h"

#include <cstdlib>
#include <memory>

#include <execinfo.h>

namespace util {

RuntimeErrorST::RuntimeErrorST(const std::string& message) : std::runtime_error(message) {
    mFrameCount = backtrace(mFrames, MAX_FRAMES);
}

std::vector<std::string> RuntimeErrorST::stackTrace() const {
    std::vector<std::string> lines;
    if (mFrameCount <= 0)
        return lines;
    std::unique_ptr<char*, void (*)(void*)> symbols(backtrace_symbols(mFrames, mFrameCount), std::free);
    if (!symbols)
        return lines;
    for (int i = 0; i < mFrameCount; ++i)
        lines.emplace_back(symbols.get()[i]);
    return lines;
}

} // namespace util

#pragma once

#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace kovtest {

/// Collects everything written to std::cerr while it lives: the class file reader writes a line
/// for every failure.
class CerrCapture {
public:
    CerrCapture() : mOld(std::cerr.rdbuf(mBuffer.rdbuf())) {}
    ~CerrCapture() { std::cerr.rdbuf(mOld); }
    CerrCapture(const CerrCapture&) = delete;
    CerrCapture& operator=(const CerrCapture&) = delete;
    std::string text() const { return mBuffer.str(); }

private:
    std::ostringstream mBuffer;
    std::streambuf* mOld;
};

/// The message of the E that body throws, or "" when it throws none.
template <typename E = std::runtime_error, typename F> std::string errorOf(F&& body) {
    try {
        body();
    } catch (const E& e) {
        return e.what();
    }
    return "";
}

} // namespace kovtest

#pragma once

// Pieces shared by the fuzz targets.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <streambuf>

namespace fuzz {

/// What the check pass raises here instead of ending the process (FuzzSupport.cpp holds the fuzz
/// build's definition of classfile::endProcessAfterFailedCheck). Deliberately not a
/// std::exception, so that no handler of the library takes it for one of its own errors.
struct CheckPassFailed {};

/// A stream buffer that drops everything written to it.
class NullBuffer : public std::streambuf {
protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

/// Drops the reader's diagnostic lines on standard error and the library's log messages: they
/// cost time and would bury the fuzzer's own output. Cheap after the first call.
void silenceDiagnostics();

/// Runs body and takes the library's exceptions and the check pass failure as normal outcomes.
/// Returns whether body ran to its end.
template <typename Body> bool tolerateErrors(Body&& body) {
    try {
        body();
        return true;
    } catch (const std::exception&) {
    } catch (const CheckPassFailed&) {
    }
    return false;
}

} // namespace fuzz

/// An invariant of a result that a well-behaved library keeps whatever its input: a violation is
/// a finding, so it aborts and the fuzzer keeps the input.
#define FUZZ_EXPECT(condition)                                                                     \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: expectation failed: %s\n", __FILE__, __LINE__,           \
                         #condition);                                                              \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

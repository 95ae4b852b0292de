#pragma once

// Pieces shared by the fuzz targets.

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace fuzz {

/// What a failed check pass raises under silenceDiagnostics instead of ending the process.
/// Deliberately not a std::exception, so that no handler of the library takes it for one of its
/// own errors.
struct CheckPassFailed {};

/// Drops the reader's diagnostic lines and the library's log messages, which cost time and would
/// bury the fuzzer's own output, and makes a failed check pass raise CheckPassFailed: a fuzzing run
/// must go on. Cheap after the first call.
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

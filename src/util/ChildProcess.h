#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace util {

/// How a child process ended, and what it wrote to the outputs that were captured.
struct ChildResult {
    enum Outcome {
        EXITED,      ///< ended by itself; status is its exit status
        SIGNALED,    ///< killed by a signal; status is the signal's number
        TIMED_OUT,   ///< ran out of time and was killed
        NO_PIPE,     ///< not started: no pipe for its output; error is the errno
        NOT_STARTED, ///< could not be started; error is the errno
        LOST,        ///< started, but could not be waited for; error is the errno
    };
    Outcome outcome = NOT_STARTED;
    int status = 0;
    int error = 0;
    std::string out; ///< its standard output, when captured
    std::string err; ///< its standard error, when captured
};

/// How to run one child process. Its standard input is always /dev/null.
struct ChildOptions {
    /// "NAME=value" entries, set in the child on top of this process's environment.
    std::vector<std::string> environment;
    /// Read the child's standard output (error) into the result; otherwise it is this process's.
    bool captureOutput = false;
    bool captureError = false;
    /// Start the child with no signal blocked and every signal at its default action, so that it
    /// dies of what kills it, whatever this process does with its signals.
    bool defaultSignals = false;
    /// The most kept of each captured output; the rest is read and dropped, so that a child that
    /// writes without end costs no more memory than this.
    size_t outputLimit = size_t(1) << 20;
    /// Killed with SIGKILL after this long; zero waits as long as it takes.
    std::chrono::milliseconds timeout{0};
};

/// Runs arguments[0] with these arguments and waits for it. The captured outputs are read while
/// it runs, so they never fill up; what is left once it has ended is read without waiting, since
/// a process that it started may still hold them open. Safe to call from several threads.
ChildResult runChild(const std::vector<std::string>& arguments, const ChildOptions& options);

/// "SIGSEGV" for SIGSEGV; the number for a signal without a name.
std::string signalName(int signal);

} // namespace util

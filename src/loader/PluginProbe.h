#pragma once

#include <chrono>
#include <string>

namespace loader {

/// How a plug-in fared when a helper process loaded it first.
struct ProbeResult {
    enum Outcome {
        SURVIVED,   ///< the helper loaded, registered, unregistered and unloaded it and lived
        DIED,       ///< the helper died or hung: loading the plug-in would end the host
        NOT_PROBED, ///< the helper could not be run or watched
    };
    Outcome outcome;
    /// For DIED what ended the helper ("was killed by signal SIGSEGV"), for NOT_PROBED why it
    /// could not run.
    std::string detail;
};

/// True when KOV_PROBE_PLUGINS=1: then every plug-in is probed before it is loaded.
bool pluginProbingEnabled();

/// Runs the helper on the library at path and waits at most timeout for it, then kills it. The
/// helper is $KOV_PROBE_HELPER, or else kov-plugin-probe in libexec/kov beside the library
/// directory of the binary that holds this code, which is where the build tree and an
/// installation into a prefix put it. Its standard input is /dev/null, its standard output is
/// read for its reply, and its standard error is the host's, so that what a dying plug-in says
/// is not lost.
ProbeResult probePlugin(const std::string& path, std::chrono::milliseconds timeout);

} // namespace loader

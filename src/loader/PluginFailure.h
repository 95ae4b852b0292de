#pragma once

#include <string>

namespace loader {

/// What can go wrong with a plug-in. None stops the scan of the others; each is reported through
/// reportPluginFailure, the one place that words them.
enum class PluginFailure {
    INVALID_PATH,               ///< a plug-in path that does not exist or cannot be read
    NOT_A_LIBRARY,              ///< a file whose extension is not .so
    OPEN_FAILED,                ///< the dynamic loader refused the library
    REGISTRATION_THREW,         ///< loading or registration threw a standard exception
    REGISTRATION_THREW_UNKNOWN, ///< ... or something that is not one
    PROBE_DIED,                 ///< the library killed the probe's helper process
    PROBE_UNAVAILABLE,          ///< the helper could not be run: the library loads unprobed
    UNLOAD_FAILED,              ///< the dynamic loader refused to close the library
};

/// Logs a failure of the plug-in at path in the words and at the level that the host's users
/// know; reason is the loader's, the exception's or the probe's text.
void reportPluginFailure(PluginFailure failure, const std::string& path,
                         const std::string& reason = std::string());

} // namespace loader

#include "loader/PluginFailure.h"

#include <stdexcept>

#include <boost/filesystem/path.hpp>

#include "kovx/Log.h"

namespace loader {

void reportPluginFailure(PluginFailure failure, const std::string& path,
                         const std::string& reason) {
    switch (failure) {
    case PluginFailure::INVALID_PATH:
        kovx::LogFormatterW(kov::LOG_WARNING, L"Invalid plugin path: '%s'") % path;
        return;
    case PluginFailure::NOT_A_LIBRARY:
        kovx::LogFormatterW(kov::LOG_WARNING,
                            L"failed to load or register an extension from %s, ignoring.") %
            path;
        return;
    case PluginFailure::OPEN_FAILED:
        // Logged twice on purpose: the loader's words as an error, then which plug-in is left out.
        kovx::LogFormatter(kov::LOG_ERROR, "failed to load library: ", std::runtime_error(reason));
        kovx::LogFormatterW(kov::LOG_WARNING, L"failed to load library %s") %
            boost::filesystem::path(path).filename().string();
        return;
    case PluginFailure::REGISTRATION_THREW:
        kovx::LogFormatterW(
            kov::LOG_WARNING,
            L"failed to load or register extensions from '%s' due to exception: %s") %
            path % reason;
        return;
    case PluginFailure::REGISTRATION_THREW_UNKNOWN:
        kovx::LogFormatterW(
            kov::LOG_WARNING,
            L"failed to load or register extensions from '%s' due to unknown exception.") %
            path;
        return;
    case PluginFailure::PROBE_DIED:
        kovx::LogFormatterW(kov::LOG_WARNING, L"skipping plug-in '%s': its probe process %s") %
            path % reason;
        return;
    case PluginFailure::PROBE_UNAVAILABLE:
        kovx::LogFormatterW(kov::LOG_WARNING,
                            L"cannot probe plug-in '%s' (%s), loading it in-process") %
            path % reason;
        return;
    case PluginFailure::UNLOAD_FAILED:
        kovx::LogFormatter(kov::LOG_ERROR, "failed to unload library",
                           std::runtime_error("!!! error while unloading extension library: " +
                                              reason));
        return;
    }
}

} // namespace loader

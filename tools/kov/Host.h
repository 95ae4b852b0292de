#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "kovx/ExtensionManager.h"
#include "kovx/Log.h"

namespace kovhost {

/// Does what the runtime's core does with the loader library: loads it, takes the extension
/// manager from its init entry and lets it load the extensions. While a Host lives, warnings and
/// errors of the log go to standard error and informational messages are kept.
class Host {
public:
    /// Loads the loader library; throws std::runtime_error when it or its entry is missing.
    explicit Host(const std::string& libraryPath);
    /// Destroys the manager, then closes the library (which stays mapped until the process ends,
    /// so that its never-freed tables stay reachable). A failure of the manager's teardown is
    /// reported on standard error as a warning: the command's work is done by then.
    ~Host();

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// The library directory relative to this executable: <its directory>/../lib in the build
    /// tree and in an install.
    static std::string defaultLibraryDir();

    /// Registers the built-in factories and loads the plug-ins found on paths.
    void loadExtensions(const std::vector<std::string>& paths);

    kovx::ExtensionManager& manager() { return *mManager; }
    /// The informational messages logged so far, such as the extension listing.
    const std::vector<std::string>& infoMessages() const { return mInfoMessages; }

private:
    void onLog(kov::LogLevel level, const std::string& message);

    void* mLibrary = nullptr;
    kovx::ExtensionManager* mManager = nullptr;
    kovx::Log::HandlerId mLogHandler;
    // The log calls its handlers on whichever thread logs: 'kov check' decodes on several.
    std::mutex mLogMutex;
    std::vector<std::string> mInfoMessages;
};

} // namespace kovhost

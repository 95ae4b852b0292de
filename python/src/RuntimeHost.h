#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FileChecker.h"
#include "Host.h"

namespace kovpy {

/// One extension as the manager lists it. type is 1 (stream adaptor), 2 (encoder) or
/// 3 (decoder).
struct ExtensionEntry {
    std::string id;
    int type = 0;
    double merit = 0;
    std::string description;
};

/// The loader library with its extensions loaded, as the core holds it. Shared by the Runtime
/// object and every rule file decoded through it, so that the library stays until the last of
/// them is gone.
class RuntimeHost {
public:
    /// Loads the library next to the package and the extensions of its default directory and
    /// of pluginPaths; probePlugins tries each plug-in in a helper process first.
    RuntimeHost(const std::vector<std::string>& pluginPaths, bool probePlugins);

    RuntimeHost(const RuntimeHost&) = delete;
    RuntimeHost& operator=(const RuntimeHost&) = delete;

    /// The library directory relative to the module's own file: the build tree and an install
    /// keep the package the same distance below it.
    static std::string libraryDir();

    const std::vector<ExtensionEntry>& extensions() const { return mExtensions; }

    /// A checker of its own for each call, so that threads may decode at once. Files that would
    /// end the process are tried in kov itself, next to the library.
    std::unique_ptr<kovhost::FileChecker> checker();

    kovhost::Host& host() { return mHost; }

private:
    void readListing(size_t firstMessage);

    kovhost::Host mHost;
    std::vector<std::string> mPluginPaths;
    std::vector<ExtensionEntry> mExtensions;
};

} // namespace kovpy

#pragma once

#include <string>

namespace kovx {
class ExtensionManager;
}

namespace loader {

/// One plug-in library: opened on construction, closed on destruction. Its two entry points are
/// looked up afresh on every call.
class ExtensionLibrary {
public:
    /// Opens the library at path, unless its ELF headers already show that it cannot be one of
    /// this machine's libraries; a failure is logged and leaves the handle null, never thrown.
    explicit ExtensionLibrary(const std::string& path);
    virtual ~ExtensionLibrary();

    ExtensionLibrary(const ExtensionLibrary&) = delete;
    ExtensionLibrary& operator=(const ExtensionLibrary&) = delete;

    /// Calls the library's registerExtensionFactories; throws std::runtime_error when it is
    /// missing.
    void registerFactories(kovx::ExtensionManager* manager);
    /// Calls the library's unregisterExtensionFactories; throws std::runtime_error when it is
    /// missing.
    void unregisterFactories(kovx::ExtensionManager* manager);

    const std::string& getPath() const { return mPath; }
    /// The dynamic loader's handle; null when opening failed.
    void* getHandle() const { return mHandle; }

private:
    void* lookup(const char* name) const;

    std::string mPath;
    void* mHandle = nullptr;
};

} // namespace loader

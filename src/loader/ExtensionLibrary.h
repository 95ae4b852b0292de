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
    /// this machine's libraries; a failure leaves the handle null and its reason in openError,
    /// and is never thrown.
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

    /// The dynamic loader's handle; null when opening failed.
    void* getHandle() const { return mHandle; }
    /// Why the library did not open, in the dynamic loader's words; empty when it did.
    const std::string& openError() const { return mOpenError; }

private:
    void* lookup(const char* name) const;

    std::string mPath;
    void* mHandle = nullptr;
    std::string mOpenError;
};

} // namespace loader

#include "loader/ExtensionLibrary.h"

#include <dlfcn.h>

#include <stdexcept>

#include "kovx/ExtensionManager.h"
#include "loader/ElfCheck.h"
#include "loader/PluginFailure.h"

namespace loader {

namespace {

// dlerror() may have nothing to say; the message then simply ends after the colon.
std::string lastLoaderError() {
    const char* text = dlerror();
    return text ? text : "";
}

} // namespace

ExtensionLibrary::ExtensionLibrary(const std::string& path) : mPath(path) {
    // Said the way the dynamic loader says it, "<path>: <reason>", so that both refusals read
    // alike.
    const std::string problem = elfHeaderProblem(mPath);
    if (!problem.empty()) {
        mOpenError = "error while loading library '" + mPath + "': " + mPath + ": " + problem;
        return;
    }
    mHandle = dlopen(mPath.c_str(), RTLD_NOW);
    if (!mHandle)
        mOpenError = "error while loading library '" + mPath + "': " + lastLoaderError();
}

ExtensionLibrary::~ExtensionLibrary() {
    try {
        if (mHandle && dlclose(mHandle) != 0)
            reportPluginFailure(PluginFailure::UNLOAD_FAILED, mPath, lastLoaderError());
    } catch (...) {
        // Not even a failed log may leave a destructor.
    }
}

void* ExtensionLibrary::lookup(const char* name) const {
    dlerror();
    // A null handle searches the global scope: a library that never opened is still asked to
    // unregister, and normally fails here.
    void* symbol = dlsym(mHandle, name);
    if (!symbol)
        throw std::runtime_error(std::string("error while loading function '") + name +
                                 "': " + lastLoaderError());
    return symbol;
}

void ExtensionLibrary::registerFactories(kovx::ExtensionManager* manager) {
    auto entry =
        reinterpret_cast<KovRegisterExtensionFactories>(lookup("registerExtensionFactories"));
    entry(manager);
}

void ExtensionLibrary::unregisterFactories(kovx::ExtensionManager* manager) {
    auto entry =
        reinterpret_cast<KovUnregisterExtensionFactories>(lookup("unregisterExtensionFactories"));
    entry(manager);
}

} // namespace loader

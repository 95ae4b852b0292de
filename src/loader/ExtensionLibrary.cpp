#include "loader/ExtensionLibrary.h"

#include <dlfcn.h>

#include <stdexcept>

#include "kovx/ExtensionManager.h"
#include "kovx/Log.h"
#include "loader/ElfCheck.h"

namespace loader {

namespace {

// dlerror() may have nothing to say; the message then simply ends after the colon.
std::string lastLoaderError() {
    const char* text = dlerror();
    return text ? text : "";
}

} // namespace

ExtensionLibrary::ExtensionLibrary(const std::string& path) : mPath(path) {
    try {
        // Said the way the dynamic loader says it, "<path>: <reason>", so that both refusals read
        // alike.
        const std::string problem = elfHeaderProblem(mPath);
        if (!problem.empty())
            throw std::runtime_error("error while loading library '" + mPath + "': " + mPath +
                                     ": " + problem);
        mHandle = dlopen(mPath.c_str(), RTLD_NOW);
        if (!mHandle)
            throw std::runtime_error("error while loading library '" + mPath +
                                     "': " + lastLoaderError());
    } catch (const std::exception& e) {
        kovx::LogFormatter(kov::LOG_ERROR, "failed to load library: ", e);
    }
}

ExtensionLibrary::~ExtensionLibrary() {
    try {
        try {
            if (mHandle && dlclose(mHandle) != 0)
                throw std::runtime_error("!!! error while unloading extension library: " +
                                         lastLoaderError());
        } catch (const std::exception& e) {
            kovx::LogFormatter(kov::LOG_ERROR, "failed to unload library", e);
        }
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

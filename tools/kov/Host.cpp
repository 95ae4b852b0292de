#include "Host.h"

#include <dlfcn.h>

#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "util/StringUtils.h"

namespace kovhost {

namespace {
std::string loaderError() {
    const char* text = dlerror();
    return text ? text : "unknown reason";
}
} // namespace

Host::Host(const std::string& libraryPath) {
    // The library keeps process-wide tables that it never frees; staying mapped after dlclose
    // keeps them reachable, as they are in the core's process.
    mLibrary = dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!mLibrary)
        throw std::runtime_error("cannot load the loader library: " + loaderError());
    try {
        auto init = reinterpret_cast<KovLoaderInit>(dlsym(mLibrary, "init"));
        if (!init)
            throw std::runtime_error("the loader library has no init entry: " + loaderError());
        mManager = init(nullptr);
        if (!mManager)
            throw std::runtime_error("the loader library's init returned no extension manager");
    } catch (...) {
        dlclose(mLibrary);
        throw;
    }
    kovx::Log::removeHandler(kovx::Log::DEFAULT_HANDLER);
    mLogHandler = kovx::Log::addHandler(
        [this](kov::LogLevel level, const std::string& message) { onLog(level, message); });
}

Host::~Host() {
    // The manager's teardown runs code of the library: it must finish before the library goes.
    try {
        delete mManager;
    } catch (const std::exception& e) {
        std::cerr << "kov: warning: unloading the extensions failed: " << e.what() << "\n";
    } catch (...) {
        std::cerr << "kov: warning: unloading the extensions failed\n";
    }
    dlclose(mLibrary);
    kovx::Log::removeHandler(mLogHandler);
}

std::string Host::defaultLibraryDir() {
    std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe");
    return (exe.parent_path() / KOV_BINDIR_TO_LIBDIR).lexically_normal().string();
}

void Host::loadExtensions(const std::vector<std::string>& paths) {
    std::vector<std::wstring> widePaths;
    for (const std::string& path : paths)
        widePaths.push_back(util::StringUtils::toUTF32FromUTF8(path));
    std::vector<const wchar_t*> pointers;
    for (const std::wstring& path : widePaths)
        pointers.push_back(path.c_str());
    mManager->loadExtensions(pointers.data(), pointers.size());
}

void Host::onLog(kov::LogLevel level, const std::string& message) {
    const std::lock_guard<std::mutex> lock(mLogMutex);
    if (level >= kov::LOG_WARNING)
        std::cerr << "kov: " << kovx::Log::levelName(level) << ": " << message << "\n";
    else
        mInfoMessages.push_back(message);
}

} // namespace kovhost

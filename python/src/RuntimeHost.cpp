#include "RuntimeHost.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>

#include "TextFormat.h"
#include "kovx/ExtensionManager.h"
#include "loader/ProbeProtocol.h"
#include "util/StringUtils.h"

namespace kovpy {

namespace {

// The module's own file, found through the address of something in it.
std::filesystem::path moduleFile() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<const void*>(&moduleFile), &info) || !info.dli_fname)
        throw std::runtime_error("cannot find the kov module's own file");
    return std::filesystem::absolute(info.dli_fname);
}

std::string loaderPath() {
    return RuntimeHost::libraryDir() + "/libkov_loader.so";
}

// Sets an environment variable for as long as it lives, then puts back what was there.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : mName(name) {
        if (const char* old = std::getenv(name))
            mOld = old;
        setenv(name, value, 1);
    }
    ~ScopedVariable() {
        if (mOld)
            setenv(mName, mOld->c_str(), 1);
        else
            unsetenv(mName);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* mName;
    std::optional<std::string> mOld;
};

std::set<std::string> idList(void (kovx::ExtensionManager::*list)(wchar_t*, size_t*) const,
                             const kovx::ExtensionManager& manager) {
    size_t size = 0;
    (manager.*list)(nullptr, &size);
    std::wstring text(size, L'\0');
    (manager.*list)(text.data(), &size);
    std::set<std::string> ids;
    std::wstringstream in(text.c_str());
    for (std::wstring id; std::getline(in, id, L';');)
        if (!id.empty())
            ids.insert(kovhost::utf8(id));
    return ids;
}

} // namespace

std::string RuntimeHost::libraryDir() {
    return (moduleFile().parent_path() / KOV_PACKAGE_TO_LIBDIR).lexically_normal().string();
}

RuntimeHost::RuntimeHost(const std::vector<std::string>& pluginPaths, bool probePlugins)
    : mHost(loaderPath()), mPluginPaths(pluginPaths) {
    std::vector<std::string> paths{libraryDir() + "/kov-extensions"};
    paths.insert(paths.end(), pluginPaths.begin(), pluginPaths.end());
    // The log is shared by every host in the process: only what this load logs is its listing.
    const size_t firstMessage = mHost.infoMessages().size();
    {
        std::optional<ScopedVariable> probe;
        if (probePlugins)
            probe.emplace(loader::probe::ENABLE_VARIABLE, "1");
        mHost.loadExtensions(paths);
    }
    readListing(firstMessage);
}

// The listing lines read "    ID (MERIT) DESCRIPTION"; the manager's id lists say which are
// decoders and encoders, the rest are stream adaptors.
void RuntimeHost::readListing(size_t firstMessage) {
    const std::set<std::string> decoders =
        idList(&kovx::ExtensionManager::listDecoderIds, mHost.manager());
    const std::set<std::string> encoders =
        idList(&kovx::ExtensionManager::listEncoderIds, mHost.manager());
    const std::vector<std::string>& messages = mHost.infoMessages();
    for (size_t i = firstMessage; i < messages.size(); ++i) {
        const std::string& line = messages[i];
        if (line.compare(0, 4, "    ") != 0)
            continue;
        const size_t idEnd = line.find(' ', 4);
        const size_t open = line.find('(', idEnd);
        const size_t close = line.find(')', open);
        if (idEnd == std::string::npos || open == std::string::npos ||
            close == std::string::npos)
            continue;
        ExtensionEntry entry;
        entry.id = line.substr(4, idEnd - 4);
        entry.merit = std::strtod(line.c_str() + open + 1, nullptr);
        entry.description = close + 2 <= line.size() ? line.substr(close + 2) : std::string();
        entry.type = decoders.count(entry.id) ? 3 : encoders.count(entry.id) ? 2 : 1;
        // The listing rounds the merit to one digit; a decoder's info has it whole.
        if (entry.type == 3)
            if (const kovx::DecoderInfoPtr info = mHost.manager().createDecoderInfo(
                    util::StringUtils::toUTF32FromUTF8(entry.id)))
                entry.merit = info->merit;
        mExtensions.push_back(std::move(entry));
    }
}

std::unique_ptr<kovhost::FileChecker> RuntimeHost::checker() {
    const std::filesystem::path kov =
        std::filesystem::path(libraryDir()) / KOV_LIBDIR_TO_BINDIR / "kov";
    return std::make_unique<kovhost::FileChecker>(mHost, mPluginPaths, true,
                                                  kov.lexically_normal().string());
}

} // namespace kovpy

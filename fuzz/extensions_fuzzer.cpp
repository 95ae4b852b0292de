// libFuzzer entry: the extension manager's plug-in scan over a directory that holds one file,
// x.so, with the input as its content: loadExtensions on that directory, then the manager's
// destruction, as the core does it.
//
// A file that the dynamic loader accepts is a library like any other: dlopen runs its
// constructors and the scan calls its registration entry, so a mutated input may execute
// arbitrary code. That is inherent in loading plug-ins; run this target only where that is
// acceptable.
//
// The manager probes every input in a helper process first (KOV_PROBE_PLUGINS=1), as a careful
// host does: damaged relocations or code kill the dynamic loader or the plug-in itself, which no
// check of the file can foresee, and only the probe keeps the host alive then. Start the target
// with KOV_PROBE_PLUGINS=0 to load every input in-process and fuzz the dynamic loader instead.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "kovx/ExtensionManager.h"
#include "loader/ProbeProtocol.h"
#include "loader/LoaderEntry.h"

namespace {

// The directory that the manager scans, created once per process and removed at exit.
class PluginDirectory {
public:
    PluginDirectory() {
        const char* base = std::getenv("TMPDIR");
        path = std::string(base && *base ? base : "/tmp") + "/kov-fuzz-XXXXXX";
        if (!mkdtemp(path.data()))
            std::abort();
        plugin = path + "/x.so";
    }
    ~PluginDirectory() {
        unlink(plugin.c_str());
        rmdir(path.c_str());
    }
    PluginDirectory(const PluginDirectory&) = delete;
    PluginDirectory& operator=(const PluginDirectory&) = delete;

    std::string path;
    std::string plugin;
};

// Each input goes to a new file rather than over the old one, which a library that stayed loaded
// may still map.
void writePlugin(const std::string& path, const uint8_t* data, size_t size) {
    unlink(path.c_str());
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (fd < 0)
        std::abort();
    while (size > 0) {
        const ssize_t written = write(fd, data, size);
        if (written <= 0)
            std::abort();
        data += written;
        size -= static_cast<size_t>(written);
    }
    close(fd);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv(loader::probe::ENABLE_VARIABLE, "1", 0);
#ifdef KOV_FUZZ_PROBE_HELPER
    setenv(loader::probe::HELPER_VARIABLE, KOV_FUZZ_PROBE_HELPER, 0);
#endif
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::silenceDiagnostics();
    static auto directory = std::make_unique<PluginDirectory>();
    writePlugin(directory->plugin, data, size);

    const std::wstring widePath(directory->path.begin(), directory->path.end());
    const wchar_t* const paths[] = {widePath.c_str()};
    kovx::ExtensionManager* manager = init(nullptr);
    fuzz::tolerateErrors([&] { manager->loadExtensions(paths, 1); });
    // A library that never opened (or lacks unregisterExtensionFactories) makes the destructor
    // throw once the teardown is done; the memory is released all the same.
    fuzz::tolerateErrors([&] { delete manager; });

    // A library that cannot be unloaded (marked so, or holding unique symbols) stays resident, and
    // the dynamic loader would hand it out again for the same path: later inputs get a new one.
    if (void* resident = dlopen(directory->plugin.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
        dlclose(resident);
        directory = std::make_unique<PluginDirectory>();
    }
    return 0;
}

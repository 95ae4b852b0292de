// loadExtensions over a directory of 200 plug-ins against a bare dlopen/dlsym loop over the same
// files: the manager's own work should be lost in the cost of loading.
#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "kovx/Log.h"
#include "loader/ExtensionManagerImpl.h"

namespace kovbench {

namespace {

namespace fs = std::filesystem;

constexpr int PLUGIN_COUNT = 200;

// 200 copies of the tiny plug-in under distinct names, removed at exit.
class PluginDir {
public:
    PluginDir() : mDir(fs::temp_directory_path() / ("kov-bench-plugins-" + std::to_string(getpid()))) {
        fs::create_directories(mDir);
        for (int i = 0; i < PLUGIN_COUNT; ++i) {
            const fs::path file = mDir / ("libplugin" + std::to_string(i) + ".so");
            fs::copy_file(KOV_BENCH_TINY_PLUGIN, file, fs::copy_options::overwrite_existing);
            mFiles.push_back(file.string());
        }
    }
    ~PluginDir() { fs::remove_all(mDir); }
    const fs::path& dir() const { return mDir; }
    const std::vector<std::string>& files() const { return mFiles; }

private:
    fs::path mDir;
    std::vector<std::string> mFiles;
};

const PluginDir& plugins() {
    static const PluginDir dir;
    return dir;
}

void loadExtensions(benchmark::State& state) {
    const std::wstring path = plugins().dir().wstring();
    const wchar_t* paths[] = {path.c_str()};
    // The listing that loadExtensions logs would otherwise go to standard error.
    kovx::Log::removeHandler(kovx::Log::DEFAULT_HANDLER);
    for (auto _ : state) {
        loader::ExtensionManagerImpl manager;
        manager.loadExtensions(paths, 1);
    }
    state.SetItemsProcessed(state.iterations() * PLUGIN_COUNT);
}

void bareDlopen(benchmark::State& state) {
    std::vector<void*> handles;
    for (auto _ : state) {
        for (const std::string& file : plugins().files()) {
            void* handle = dlopen(file.c_str(), RTLD_NOW);
            if (!handle || !dlsym(handle, "registerExtensionFactories") ||
                !dlsym(handle, "unregisterExtensionFactories")) {
                state.SkipWithError("cannot load the plug-in");
                break;
            }
            handles.push_back(handle);
        }
        for (void* handle : handles)
            dlclose(handle);
        handles.clear();
    }
    state.SetItemsProcessed(state.iterations() * PLUGIN_COUNT);
}

} // namespace

void registerPluginBenchmarks() {
    benchmark::RegisterBenchmark("LoadExtensions/200", loadExtensions)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("BareDlopen/200", bareDlopen)->Unit(benchmark::kMillisecond);
}

} // namespace kovbench

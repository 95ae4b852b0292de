#include "loader/PluginProbe.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <cstring>

#include <boost/filesystem.hpp>

#include "loader/ProbeProtocol.h"
#include "util/ChildProcess.h"

namespace loader {

namespace {

std::string durationText(std::chrono::milliseconds duration) {
    if (duration.count() % 1000 == 0)
        return std::to_string(duration.count() / 1000) + " seconds";
    return std::to_string(duration.count()) + " ms";
}

// The directory of the shared library (or the program) that this code was linked into.
boost::filesystem::path ownDirectory() {
    Dl_info info;
    link_map* map = nullptr;
    if (dladdr1(reinterpret_cast<void*>(&ownDirectory), &info, reinterpret_cast<void**>(&map),
                RTLD_DL_LINKMAP) &&
        map && map->l_name && *map->l_name)
        return boost::filesystem::path(map->l_name).parent_path();
    // The main program has no name in its link map.
    boost::system::error_code ec;
    return boost::filesystem::read_symlink("/proc/self/exe", ec).parent_path();
}

// The build passes the helper's place for its install layout; this is the default layout's.
#ifndef KOV_LIBDIR_TO_PROBE_HELPER
#define KOV_LIBDIR_TO_PROBE_HELPER "../libexec/kov/kov-plugin-probe"
#endif

// $KOV_PROBE_HELPER, or else kov-plugin-probe in libexec/kov beside the library directory of the
// binary that holds this code, which is where the build tree and an installation put it.
std::string helperPath() {
    const char* helper = std::getenv(probe::HELPER_VARIABLE);
    if (helper && *helper)
        return helper;
    return (ownDirectory() / KOV_LIBDIR_TO_PROBE_HELPER).string();
}

} // namespace

bool pluginProbingEnabled() {
    const char* value = std::getenv(probe::ENABLE_VARIABLE);
    return value && std::strcmp(value, "1") == 0;
}

ProbeResult probePlugin(const std::string& path, std::chrono::milliseconds timeout) {
    const std::string helper = helperPath();
    util::ChildOptions options;
    options.captureOutput = true;
    options.defaultSignals = true;
    options.timeout = timeout;
    const util::ChildResult run = util::runChild({helper, path}, options);
    switch (run.outcome) {
    case util::ChildResult::NO_PIPE:
        return {ProbeResult::NOT_PROBED, "cannot make a pipe: " + std::string(strerror(run.error))};
    case util::ChildResult::NOT_STARTED:
        return {ProbeResult::NOT_PROBED,
                "cannot start '" + helper + "': " + std::string(strerror(run.error))};
    case util::ChildResult::LOST:
        return {ProbeResult::NOT_PROBED,
                "cannot wait for '" + helper + "': " + std::string(strerror(run.error))};
    case util::ChildResult::TIMED_OUT:
        return {ProbeResult::DIED,
                "did not finish within " + durationText(timeout) + " and was killed"};
    case util::ChildResult::SIGNALED:
        return {ProbeResult::DIED, "was killed by signal " + util::signalName(run.status)};
    case util::ChildResult::EXITED:
        break;
    }
    if (run.status != 0)
        return {ProbeResult::DIED, "exited with status " + std::to_string(run.status)};
    if (run.out != probe::SURVIVED_REPLY)
        return {ProbeResult::DIED, "exited with status 0 before the library was unloaded"};
    return {ProbeResult::SURVIVED, std::string()};
}

} // namespace loader

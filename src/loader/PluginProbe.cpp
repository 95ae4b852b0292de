#include "loader/PluginProbe.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include <boost/filesystem.hpp>

extern char** environ;

namespace loader {

namespace {

// What the helper prints once the library is unloaded again. A plug-in that calls exit(0) ends
// the helper with status 0 too, but without this.
const char* const SURVIVED_REPORT = "ok\n";

std::string errorText(int error) {
    return std::strerror(error);
}

std::string signalName(int signal) {
    const char* name = sigabbrev_np(signal);
    return name ? std::string("SIG") + name : std::to_string(signal);
}

std::string durationText(std::chrono::milliseconds duration) {
    if (duration.count() % 1000 == 0)
        return std::to_string(duration.count() / 1000) + " seconds";
    return std::to_string(duration.count()) + " ms";
}

// The directory of the shared library (or the program) that this code was linked into.
boost::filesystem::path ownDirectory() {
    Dl_info info;
    link_map* map = nullptr;
    if (dladdr1(reinterpret_cast<void*>(&probeHelperPath), &info, reinterpret_cast<void**>(&map),
                RTLD_DL_LINKMAP) &&
        map && map->l_name && *map->l_name)
        return boost::filesystem::path(map->l_name).parent_path();
    // The main program has no name in its link map.
    boost::system::error_code ec;
    return boost::filesystem::read_symlink("/proc/self/exe", ec).parent_path();
}

// Both ends close on exec; the helper's copy of the write end is its standard output.
class Pipe {
public:
    Pipe() {
        if (pipe2(mFds, O_CLOEXEC) != 0)
            mFds[0] = mFds[1] = -1;
    }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    bool ok() const { return mFds[0] >= 0; }
    int readEnd() const { return mFds[0]; }
    int writeEnd() const { return mFds[1]; }
    void closeEnd(int end) {
        if (mFds[end] >= 0)
            close(mFds[end]);
        mFds[end] = -1;
    }

private:
    int mFds[2];
};

// Whatever the helper reported, read without waiting: a process that it started may still hold
// the pipe open.
std::string readReport(int fd) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    char buffer[16];
    ssize_t n;
    do {
        n = read(fd, buffer, sizeof buffer);
    } while (n < 0 && errno == EINTR);
    return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}

// waitpid, retried when a signal interrupts it.
pid_t waitFor(pid_t pid, int* status, int options) {
    pid_t done;
    do {
        done = waitpid(pid, status, options);
    } while (done < 0 && errno == EINTR);
    return done;
}

} // namespace

// The build passes the helper's place for its install layout; this is the default layout's.
#ifndef KOV_LIBDIR_TO_PROBE_HELPER
#define KOV_LIBDIR_TO_PROBE_HELPER "../libexec/kov/kov-plugin-probe"
#endif

bool pluginProbingEnabled() {
    const char* value = std::getenv("KOV_PROBE_PLUGINS");
    return value && std::strcmp(value, "1") == 0;
}

std::string probeHelperPath() {
    const char* helper = std::getenv("KOV_PROBE_HELPER");
    if (helper && *helper)
        return helper;
    return (ownDirectory() / KOV_LIBDIR_TO_PROBE_HELPER).string();
}

ProbeResult probePlugin(const std::string& path, std::chrono::milliseconds timeout) {
    const std::string helper = probeHelperPath();
    Pipe report;
    if (!report.ok())
        return {ProbeResult::NOT_PROBED, "cannot make a pipe: " + errorText(errno)};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, report.writeEnd(), STDOUT_FILENO);
    // The helper dies of what kills it, whatever the host does with its signals.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::vector<char*> argv{const_cast<char*>(helper.c_str()), const_cast<char*>(path.c_str()),
                            nullptr};
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, helper.c_str(), &actions, &attributes, argv.data(),
                                    environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return {ProbeResult::NOT_PROBED, "cannot start '" + helper + "': " + errorText(spawned)};
    report.closeEnd(1);

    const auto deadline = std::chrono::steady_clock::now() + timeout;
    auto pause = std::chrono::milliseconds(1);
    int status = 0;
    for (;;) {
        const pid_t done = waitFor(pid, &status, WNOHANG);
        if (done == pid)
            break;
        if (done < 0)
            return {ProbeResult::NOT_PROBED, "cannot wait for '" + helper + "': " +
                                                 errorText(errno)};
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline) {
            kill(pid, SIGKILL);
            waitFor(pid, &status, 0);
            return {ProbeResult::DIED,
                    "did not finish within " + durationText(timeout) + " and was killed"};
        }
        std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(pause,
                                                                                 deadline - now));
        pause = std::min(pause * 2, std::chrono::milliseconds(50));
    }

    if (WIFSIGNALED(status))
        return {ProbeResult::DIED, "was killed by signal " + signalName(WTERMSIG(status))};
    const int exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (exitStatus != 0)
        return {ProbeResult::DIED, "exited with status " + std::to_string(exitStatus)};
    if (readReport(report.readEnd()) != SURVIVED_REPORT)
        return {ProbeResult::DIED, "exited with status 0 before the library was unloaded"};
    return {ProbeResult::SURVIVED, std::string()};
}

} // namespace loader

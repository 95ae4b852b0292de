#include "HelperCheck.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <nlohmann/json.hpp>

extern char** environ;

namespace kovhost {

namespace {

const char* const IN_PROCESS_VARIABLE = "KOV_CHECK_IN_PROCESS";

// An anonymous file for one of the helper's outputs: unlike a pipe it never fills up while
// nobody reads it, and it closes on exec in every other process that kov starts meanwhile.
class OutputFile {
public:
    OutputFile() : mFd(memfd_create("kov-check-helper", MFD_CLOEXEC)) {}
    ~OutputFile() {
        if (mFd >= 0)
            close(mFd);
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int fd() const { return mFd; }
    std::string text() const {
        std::string text;
        char buffer[4096];
        off_t at = 0;
        ssize_t n;
        while ((n = pread(mFd, buffer, sizeof buffer, at)) > 0) {
            text.append(buffer, static_cast<size_t>(n));
            at += n;
        }
        return text;
    }

private:
    int mFd;
};

std::string lastLine(const std::string& text) {
    size_t end = text.find_last_not_of("\n");
    if (end == std::string::npos)
        return std::string();
    const size_t start = text.rfind('\n', end);
    return text.substr(start == std::string::npos ? 0 : start + 1,
                       end - (start == std::string::npos ? 0 : start + 1) + 1);
}

std::string signalName(int signal) {
    const char* name = sigabbrev_np(signal);
    return name ? std::string("SIG") + name : std::to_string(signal);
}

// The first line of the helper's output is its record of the file, when it got that far.
bool readRecord(const std::string& out, CheckResult& result) {
    const nlohmann::json record =
        nlohmann::json::parse(out.substr(0, out.find('\n')), nullptr, false);
    if (!record.is_object() || !record.contains("ok"))
        return false;
    result.ok = record.value("ok", false);
    if (record.contains("error") && record["error"].is_string())
        result.error = record["error"].get<std::string>();
    result.attributes = record.value("attributes", size_t{0});
    result.rules = record.value("rules", size_t{0});
    return true;
}

pid_t waitFor(pid_t pid, int* status) {
    pid_t done;
    do {
        done = waitpid(pid, status, 0);
    } while (done < 0 && errno == EINTR);
    return done;
}

} // namespace

bool runningAsCheckHelper() {
    const char* value = std::getenv(IN_PROCESS_VARIABLE);
    return value && std::strcmp(value, "1") == 0;
}

CheckResult checkInHelper(const std::string& path, const std::vector<std::string>& pluginPaths) {
    CheckResult result;
    result.path = path;
    OutputFile out;
    OutputFile err;
    if (out.fd() < 0 || err.fd() < 0) {
        result.error = std::string("cannot start a helper process: ") + std::strerror(errno);
        return result;
    }
    std::error_code ec;
    const std::string self = std::filesystem::read_symlink("/proc/self/exe", ec).string();
    // A path that starts with '-' would read as an option.
    const std::string file = path.compare(0, 1, "-") == 0 ? "./" + path : path;
    std::vector<std::string> args{self};
    for (const std::string& pluginPath : pluginPaths) {
        args.push_back("-p");
        args.push_back(pluginPath);
    }
    for (const char* arg : {"check", "--json", "--quiet", "-j", "1"})
        args.push_back(arg);
    args.push_back(file);
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    std::string mark = std::string(IN_PROCESS_VARIABLE) + "=1";
    std::vector<char*> envp;
    for (char** variable = environ; *variable; ++variable)
        envp.push_back(*variable);
    envp.push_back(mark.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.fd(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.fd(), STDERR_FILENO);
    pid_t pid = 0;
    const int spawned =
        posix_spawn(&pid, self.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        result.error = "cannot start a helper process: " + std::string(std::strerror(spawned));
        return result;
    }
    int status = 0;
    if (waitFor(pid, &status) != pid) {
        result.error = "cannot wait for the helper process: " + std::string(std::strerror(errno));
        return result;
    }
    if (readRecord(out.text(), result))
        return result;
    // Ended before it wrote its record, as the check pass ends it: its last words say why. A
    // sanitizer's report at the exit of an instrumented build comes after them.
    std::string words = err.text();
    const size_t report = words.find("\n=================");
    if (report != std::string::npos)
        words.erase(report + 1);
    result.error = lastLine(words);
    if (result.error.empty())
        result.error = WIFSIGNALED(status)
                           ? "the helper process was killed by signal " +
                                 signalName(WTERMSIG(status))
                           : "the helper process exited with status " +
                                 std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    return result;
}

} // namespace kovhost

#include "util/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>

extern char** environ;

namespace util {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The longest pause between two looks at a child that is still running.
const milliseconds LONGEST_PAUSE(50);

// One captured output. Both ends close on exec, so that no other child that this process starts
// meanwhile holds the write end open; the child's copy is its standard output or error.
class Pipe {
public:
    Pipe() = default;
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    bool open() { return pipe2(mFds, O_CLOEXEC) == 0; }
    bool isReading() const { return mFds[0] >= 0; }
    int readEnd() const { return mFds[0]; }
    int writeEnd() const { return mFds[1]; }
    void closeEnd(int end) {
        if (mFds[end] >= 0)
            close(mFds[end]);
        mFds[end] = -1;
    }

    // Appends what can be read without waiting, up to limit bytes in all; what comes after is
    // read and dropped, so that the child never blocks on a full pipe. Closes the read end at its
    // end or on an error.
    void drain(std::string& text, size_t limit) {
        char buffer[4096];
        while (isReading()) {
            const ssize_t n = read(mFds[0], buffer, sizeof buffer);
            if (n > 0)
                text.append(buffer, std::min(static_cast<size_t>(n),
                                             limit - std::min(limit, text.size())));
            else if (n < 0 && errno == EINTR)
                continue;
            else if (n < 0 && errno == EAGAIN)
                return;
            else
                closeEnd(0);
        }
    }

private:
    int mFds[2] = {-1, -1};
};

pid_t waitFor(pid_t pid, int* status, int options) {
    pid_t done;
    do {
        done = waitpid(pid, status, options);
    } while (done < 0 && errno == EINTR);
    return done;
}

// This process's environment with every entry of settings replacing one of the same name.
std::vector<char*> childEnvironment(const std::vector<std::string>& settings) {
    auto isSet = [&](const char* entry) {
        return std::any_of(settings.begin(), settings.end(), [&](const std::string& setting) {
            const size_t name = setting.find('=');
            return name != std::string::npos &&
                   std::strncmp(entry, setting.c_str(), name + 1) == 0;
        });
    };
    std::vector<char*> envp;
    for (char** entry = environ; *entry; ++entry) {
        if (!isSet(*entry))
            envp.push_back(*entry);
    }
    for (const std::string& setting : settings)
        envp.push_back(const_cast<char*>(setting.c_str()));
    envp.push_back(nullptr);
    return envp;
}

pid_t spawn(const std::vector<std::string>& arguments, const ChildOptions& options, Pipe& out,
            Pipe& err, int* error) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (options.captureOutput)
        posix_spawn_file_actions_adddup2(&actions, out.writeEnd(), STDOUT_FILENO);
    if (options.captureError)
        posix_spawn_file_actions_adddup2(&actions, err.writeEnd(), STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    if (options.defaultSignals) {
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }

    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp = childEnvironment(options.environment);
    pid_t pid = 0;
    *error = posix_spawn(&pid, argv[0], &actions, &attributes, argv.data(), envp.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return *error == 0 ? pid : -1;
}

} // namespace

ChildResult runChild(const std::vector<std::string>& arguments, const ChildOptions& options) {
    ChildResult result;
    if (arguments.empty()) {
        result.error = ENOENT;
        return result;
    }
    Pipe out;
    Pipe err;
    if ((options.captureOutput && !out.open()) || (options.captureError && !err.open())) {
        result.outcome = ChildResult::NO_PIPE;
        result.error = errno;
        return result;
    }
    const pid_t pid = spawn(arguments, options, out, err, &result.error);
    if (pid < 0)
        return result;
    Pipe* pipes[] = {&out, &err};
    std::string* texts[] = {&result.out, &result.err};
    for (Pipe* pipe : pipes) {
        pipe->closeEnd(1);
        if (pipe->isReading())
            fcntl(pipe->readEnd(), F_SETFL, fcntl(pipe->readEnd(), F_GETFL) | O_NONBLOCK);
    }
    auto drainAll = [&] {
        for (int i = 0; i < 2; ++i)
            pipes[i]->drain(*texts[i], options.outputLimit);
    };

    const bool limited = options.timeout.count() > 0;
    const Clock::time_point deadline = Clock::now() + options.timeout;
    milliseconds pause(1);
    int status = 0;
    for (;;) {
        const pid_t done = waitFor(pid, &status, WNOHANG);
        if (done == pid)
            break;
        if (done < 0) {
            result.outcome = ChildResult::LOST;
            result.error = errno;
            return result;
        }
        const Clock::time_point now = Clock::now();
        if (limited && now >= deadline) {
            kill(pid, SIGKILL);
            waitFor(pid, &status, 0);
            drainAll();
            result.outcome = ChildResult::TIMED_OUT;
            return result;
        }
        std::vector<pollfd> watched;
        for (Pipe* pipe : pipes) {
            if (pipe->isReading())
                watched.push_back({pipe->readEnd(), POLLIN, 0});
        }
        if (watched.empty() && !limited) {
            if (waitFor(pid, &status, 0) != pid) {
                result.outcome = ChildResult::LOST;
                result.error = errno;
                return result;
            }
            break;
        }
        milliseconds slice = pause;
        if (limited)
            slice = std::min(slice, std::chrono::ceil<milliseconds>(deadline - now));
        // Wakes at once when the child writes or closes its outputs, which it does as it ends.
        if (watched.empty())
            std::this_thread::sleep_for(slice);
        else if (poll(watched.data(), watched.size(), static_cast<int>(slice.count())) > 0)
            pause = milliseconds(0);
        drainAll();
        pause = std::min(std::max(pause * 2, milliseconds(1)), LONGEST_PAUSE);
    }
    drainAll();
    if (WIFSIGNALED(status)) {
        result.outcome = ChildResult::SIGNALED;
        result.status = WTERMSIG(status);
    } else {
        result.outcome = ChildResult::EXITED;
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return result;
}

std::string signalName(int signal) {
    const char* name = sigabbrev_np(signal);
    return name ? std::string("SIG") + name : std::to_string(signal);
}

} // namespace util

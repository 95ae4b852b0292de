#include "ProcessRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

extern char** environ;

namespace kovtest {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(out.good()) << "cannot write " << path;
}

namespace {

ProcessResult run(const std::string& program, const std::vector<std::string>& args,
                  const std::string* input) {
    const std::string base = testing::TempDir() + "kov-run-" + std::to_string(getpid());
    const std::string inPath = base + ".in";
    const std::string outPath = base + ".out";
    const std::string errPath = base + ".err";
    if (input)
        writeFile(inPath, *input);

    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input)
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, inPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);

    ProcessResult result;
    if (spawned != 0) {
        ADD_FAILURE() << "cannot start " << program;
        std::remove(inPath.c_str());
        return result;
    }
    int status = 0;
    pid_t waited;
    do {
        waited = waitpid(pid, &status, 0);
    } while (waited < 0 && errno == EINTR);
    result.status = waited == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    std::remove(inPath.c_str());
    std::remove(outPath.c_str());
    std::remove(errPath.c_str());
    return result;
}

} // namespace

ProcessResult runProgram(const std::string& program, const std::vector<std::string>& args) {
    return run(program, args, nullptr);
}

ProcessResult runProgramWithInput(const std::string& program, const std::vector<std::string>& args,
                                  const std::string& input) {
    return run(program, args, &input);
}

} // namespace kovtest

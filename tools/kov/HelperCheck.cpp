#include "HelperCheck.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "util/ChildProcess.h"

namespace kovhost {

namespace {

const char* const IN_PROCESS_VARIABLE = "KOV_CHECK_IN_PROCESS";

std::string lastLine(const std::string& text) {
    size_t end = text.find_last_not_of("\n");
    if (end == std::string::npos)
        return std::string();
    const size_t start = text.rfind('\n', end);
    return text.substr(start == std::string::npos ? 0 : start + 1,
                       end - (start == std::string::npos ? 0 : start + 1) + 1);
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

} // namespace

bool runningAsCheckHelper() {
    const char* value = std::getenv(IN_PROCESS_VARIABLE);
    return value && std::strcmp(value, "1") == 0;
}

CheckResult checkInHelper(const std::string& path, const std::vector<std::string>& pluginPaths,
                          const std::string& program) {
    CheckResult result;
    result.path = path;
    std::error_code ec;
    std::vector<std::string> args{
        program.empty() ? std::filesystem::read_symlink("/proc/self/exe", ec).string() : program};
    for (const std::string& pluginPath : pluginPaths) {
        args.push_back("-p");
        args.push_back(pluginPath);
    }
    for (const char* arg : {"check", "--json", "--quiet", "-j", "1"})
        args.push_back(arg);
    // A path that starts with '-' would read as an option.
    args.push_back(path.compare(0, 1, "-") == 0 ? "./" + path : path);

    util::ChildOptions options;
    options.environment.push_back(std::string(IN_PROCESS_VARIABLE) + "=1");
    options.captureOutput = true;
    options.captureError = true;
    const util::ChildResult run = util::runChild(args, options);
    switch (run.outcome) {
    case util::ChildResult::NO_PIPE:
    case util::ChildResult::NOT_STARTED:
        result.error = "cannot start a helper process: " + std::string(std::strerror(run.error));
        return result;
    case util::ChildResult::LOST:
        result.error =
            "cannot wait for the helper process: " + std::string(std::strerror(run.error));
        return result;
    default:
        break;
    }
    if (readRecord(run.out, result))
        return result;
    // Ended before it wrote its record, as the check pass ends it: its last words say why. A
    // sanitizer's report at the exit of an instrumented build comes after them.
    std::string words = run.err;
    const size_t report = words.find("\n=================");
    if (report != std::string::npos)
        words.erase(report + 1);
    result.error = lastLine(words);
    if (result.error.empty())
        result.error = run.outcome == util::ChildResult::SIGNALED
                           ? "the helper process was killed by signal " +
                                 util::signalName(run.status)
                           : "the helper process exited with status " +
                                 std::to_string(run.status);
    return result;
}

} // namespace kovhost

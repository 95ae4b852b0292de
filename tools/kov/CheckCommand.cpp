// "check": decodes whole libraries of rule files on all cores and reports those that fail.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include <nlohmann/json.hpp>

#include "Commands.h"
#include "FileChecker.h"
#include "HelperCheck.h"
#include "ProgressBar.h"
#include "TextTable.h"

namespace kovhost {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

struct Target {
    std::string path;
    uint64_t size;
};

[[noreturn]] void unreadable(const std::string& path, const std::error_code& ec) {
    throw std::runtime_error("cannot read '" + path + "': " + ec.message());
}

// Files as given, directories searched for rule files in the order of their sorted paths.
std::vector<Target> findTargets(const std::vector<std::string>& paths) {
    std::vector<Target> targets;
    for (const std::string& path : paths) {
        std::error_code ec;
        const fs::file_status status = fs::status(path, ec);
        if (ec)
            unreadable(path, ec);
        if (!fs::is_directory(status)) {
            const uintmax_t size = fs::file_size(path, ec);
            targets.push_back({path, ec ? 0 : static_cast<uint64_t>(size)});
            continue;
        }
        for (const std::string& relative : ruleFilesBelow(path)) {
            const fs::path file = fs::path(path) / relative;
            std::error_code sizeError;
            const uintmax_t size = fs::file_size(file, sizeError);
            targets.push_back({file.string(), sizeError ? 0 : static_cast<uint64_t>(size)});
        }
    }
    return targets;
}

size_t jobCount(const Invocation& invocation) {
    const std::string* text = invocation.value("jobs");
    if (!text)
        return std::max(1u, std::thread::hardware_concurrency());
    size_t used = 0;
    long jobs = 0;
    try {
        jobs = std::stol(*text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text->size() || jobs < 1 || jobs > 1024)
        throw UsageError("-j takes a number of threads from 1 to 1024, got '" + *text + "'");
    return static_cast<size_t>(jobs);
}

// The library's own lines on standard error (the reader's diagnostics, logged errors) would
// repeat the reasons and tear the progress bar: they go nowhere while the workers run.
class QuietStandardError {
public:
    QuietStandardError() : mSaved(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (mSaved >= 0 && nowhere >= 0)
            dup2(nowhere, STDERR_FILENO);
        if (nowhere >= 0)
            close(nowhere);
    }
    ~QuietStandardError() {
        if (mSaved >= 0) {
            dup2(mSaved, STDERR_FILENO);
            close(mSaved);
        }
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;

    /// The standard error that was, for the progress bar.
    int saved() const { return mSaved >= 0 ? mSaved : STDERR_FILENO; }

private:
    int mSaved;
};

// The files in order of size, largest first. The first worker takes them from the front, the others
// from the back, one at a time until they meet: one huge file holds up only its own worker, and
// only the first worker's heap grows to the size the largest decodes need (fresh heap costs a page
// fault per page in every worker that touches it).
class WorkQueue {
public:
    explicit WorkQueue(const std::vector<Target>& targets) : mOrder(targets.size()) {
        for (size_t i = 0; i < mOrder.size(); ++i)
            mOrder[i] = i;
        std::stable_sort(mOrder.begin(), mOrder.end(),
                         [&](size_t a, size_t b) { return targets[a].size > targets[b].size; });
        mBack = mOrder.size();
    }

    /// The index of the next target for worker, or false when none is left.
    bool next(size_t worker, size_t& target) {
        std::lock_guard<std::mutex> lock(mMutex);
        if (mFront == mBack)
            return false;
        target = worker == 0 ? mOrder[mFront++] : mOrder[--mBack];
        return true;
    }

private:
    std::vector<size_t> mOrder;
    std::mutex mMutex;
    size_t mFront = 0;
    size_t mBack = 0;
};

std::vector<CheckResult> checkAll(Host& host, const Invocation& invocation,
                                  const std::vector<Target>& targets, size_t jobs,
                                  bool isolate, int progressFd) {
    std::vector<CheckResult> results(targets.size());
    WorkQueue queue(targets);
    std::atomic<size_t> done{0};
    std::atomic<uint64_t> bytesDone{0};
    std::mutex mutex;
    std::condition_variable finished;
    auto work = [&](size_t worker) {
        FileChecker checker(host, invocation.pluginPaths, isolate);
        for (size_t i; queue.next(worker, i);) {
            results[i] = checker.check(targets[i].path);
            bytesDone += results[i].bytes;
            if (++done == targets.size()) {
                std::lock_guard<std::mutex> lock(mutex);
                finished.notify_all();
            }
        }
    };
    std::vector<std::thread> workers;
    for (size_t j = 0; j < std::min(jobs, targets.size()); ++j)
        workers.emplace_back(work, j);
    if (progressFd >= 0) {
        uint64_t totalBytes = 0;
        for (const Target& target : targets)
            totalBytes += target.size;
        ProgressBar bar(progressFd, targets.size(), totalBytes);
        std::unique_lock<std::mutex> lock(mutex);
        while (done < targets.size()) {
            bar.update(done, bytesDone);
            finished.wait_for(lock, std::chrono::milliseconds(200));
        }
        bar.finish();
    }
    for (std::thread& worker : workers)
        worker.join();
    return results;
}

struct Summary {
    size_t failed = 0;
    uint64_t bytes = 0;
    double seconds = 0;
    std::vector<std::pair<std::string, size_t>> reasons; ///< most frequent first
};

Summary summarise(const std::vector<CheckResult>& results, double seconds) {
    Summary summary;
    summary.seconds = seconds;
    std::map<std::string, size_t> reasons;
    for (const CheckResult& result : results) {
        summary.bytes += result.bytes;
        if (!result.ok) {
            ++summary.failed;
            ++reasons[result.error];
        }
    }
    summary.reasons.assign(reasons.begin(), reasons.end());
    std::stable_sort(summary.reasons.begin(), summary.reasons.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    return summary;
}

double perSecond(const Summary& summary) {
    return summary.seconds > 0 ? summary.bytes / summary.seconds : 0.0;
}

void printText(std::ostream& out, const std::vector<CheckResult>& results,
               const Summary& summary) {
    for (const CheckResult& result : results)
        if (!result.ok)
            out << result.path << ": " << result.error << "\n";
    if (summary.failed)
        out << "\n";
    out << "Checked " << results.size() << (results.size() == 1 ? " file: " : " files: ")
        << results.size() - summary.failed << " succeeded, " << summary.failed << " failed\n";
    if (summary.failed) {
        TextTable table({"FILES", "REASON"});
        for (const auto& [reason, count] : summary.reasons)
            table.addRow({std::to_string(count), reason});
        out << "\nFailures by reason (" << summary.reasons.size() << ")\n";
        table.print(out);
        out << "\n";
    }
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.2f", summary.seconds);
    out << "Read " << byteSize(static_cast<double>(summary.bytes)) << " in " << seconds
        << " s: " << byteSize(perSecond(summary)) << "/s\n";
}

void printJson(std::ostream& out, const std::vector<CheckResult>& results,
               const Summary& summary) {
    auto line = [&out](const Json& json) {
        out << json.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n";
    };
    for (const CheckResult& result : results)
        line({{"path", result.path},
              {"ok", result.ok},
              {"bytes", result.bytes},
              {"milliseconds", result.milliseconds},
              {"error", result.ok ? Json(nullptr) : Json(result.error)},
              {"attributes", result.attributes},
              {"rules", result.rules}});
    Json reasons = Json::array();
    for (const auto& [reason, count] : summary.reasons)
        reasons.push_back({{"reason", reason}, {"count", count}});
    line({{"summary",
           {{"checked", results.size()},
            {"succeeded", results.size() - summary.failed},
            {"failed", summary.failed},
            {"failures", std::move(reasons)},
            {"bytes", summary.bytes},
            {"seconds", summary.seconds},
            {"bytesPerSecond", perSecond(summary)}}}});
}

int checkRuleFiles(Host& host, const Invocation& invocation, std::ostream& out) {
    const size_t jobs = jobCount(invocation);
    // Each decode frees what the one before built. Keep that memory for the next decode instead of
    // handing it back to the kernel and faulting it in again, which the workers would do at once.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    const std::vector<Target> targets = findTargets(invocation.args);
    // A helper decodes its file here, reader's exit and all; its standard error is the report.
    const bool helper = runningAsCheckHelper();
    const auto start = std::chrono::steady_clock::now();
    std::vector<CheckResult> results;
    {
        std::unique_ptr<QuietStandardError> quiet;
        if (!helper)
            quiet = std::make_unique<QuietStandardError>();
        const int progressFd = quiet && !invocation.has("quiet") && isatty(quiet->saved())
                                   ? quiet->saved()
                                   : -1;
        results = checkAll(host, invocation, targets, helper ? 1 : jobs, !helper, progressFd);
    }
    const Summary summary = summarise(
        results,
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    if (invocation.has("json"))
        printJson(out, results, summary);
    else
        printText(out, results, summary);
    return summary.failed ? 1 : 0;
}

} // namespace

extern const Command CHECK_COMMAND = {
    "check", "[-j N] [--quiet] [--json] PATH...",
    "decode every rule file under the paths and report those that fail",
    "Decodes every rule file under the paths (files, or directories searched recursively for\n"
    ".tkb and .class files) as the runtime does, through the stream adaptor and the decoder that\n"
    "the extension manager picks, on several threads. Prints \"PATH: reason\" for each file that\n"
    "fails, then a summary: files checked, succeeded and failed, the failures grouped by reason,\n"
    "the bytes read and the throughput. On a terminal a progress bar runs on standard error.\n"
    "A file that would end the process in the class file reader's check is decoded in a helper\n"
    "process and reported with the reader's message.\n"
    "With --json: one object per file {\"path\", \"ok\", \"bytes\", \"milliseconds\", \"error\",\n"
    "\"attributes\", \"rules\"}, one a line, then {\"summary\": {...}}.\n"
    "Exit status: 0 when every file decoded, 1 when any failed, 2 on a usage error or a path\n"
    "that cannot be read.",
    {{"jobs", "decode on N threads (default: one per core)", "N", 'j'},
     {"quiet", "no progress bar"},
     {"json", "one JSON object per file, then a summary object"}},
    1, ANY, false, &checkRuleFiles, 2};

} // namespace kovhost

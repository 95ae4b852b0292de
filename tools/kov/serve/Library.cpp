#include "Library.h"

#include <chrono>
#include <stdexcept>

#include "FileChecker.h"

namespace kovhost {
namespace serve {

namespace fs = std::filesystem;

namespace {

// Whether file, with every symbolic link followed, is still below root.
bool staysBelow(const fs::path& root, const fs::path& file) {
    std::error_code ec;
    const fs::path realRoot = fs::canonical(root, ec);
    if (ec)
        return false;
    const fs::path realFile = fs::canonical(file, ec);
    if (ec)
        return false;
    const fs::path relative = realFile.lexically_relative(realRoot);
    return !relative.empty() && *relative.begin() != ".." && relative != ".";
}

} // namespace

Library::Library(Host& host, const std::vector<std::string>& pluginPaths,
                 const std::vector<std::string>& roots, size_t jobs)
    : mHost(host), mPluginPaths(pluginPaths), mRoots(roots) {
    for (const std::string& root : mRoots) {
        std::error_code ec;
        const fs::file_status status = fs::status(root, ec);
        if (ec || !fs::exists(status))
            throw std::runtime_error("cannot read '" + root + "': " +
                                     (ec ? ec.message() : "No such file or directory"));
    }
    rescan();
    for (size_t j = 0; j < jobs; ++j)
        mWorkers.emplace_back(&Library::work, this);
    mPoller = std::thread(&Library::poll, this);
}

Library::~Library() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
    }
    mWake.notify_all();
    mStop.notify_all();
    for (std::thread& worker : mWorkers)
        worker.join();
    mPoller.join();
}

std::map<std::string, std::pair<std::string, Library::Stamp>> Library::scan() const {
    std::map<std::string, std::pair<std::string, Stamp>> found;
    auto add = [&found](const std::string& id, const fs::path& path) {
        std::error_code ec;
        Stamp stamp;
        stamp.modified = fs::last_write_time(path, ec);
        if (!ec)
            stamp.size = fs::file_size(path, ec);
        if (!ec)
            found[id] = {path.string(), stamp};
    };
    for (size_t i = 0; i < mRoots.size(); ++i) {
        const std::string prefix = std::to_string(i) + "/";
        std::error_code ec;
        if (!fs::is_directory(mRoots[i], ec)) {
            // A file named on the command line is served as it is, whatever its name.
            if (fs::is_regular_file(mRoots[i], ec))
                add(prefix + fs::path(mRoots[i]).filename().string(), mRoots[i]);
            continue;
        }
        std::set<std::string> below;
        try {
            below = ruleFilesBelow(mRoots[i]);
        } catch (const std::exception&) {
            // A root that went away serves nothing until it is back.
            continue;
        }
        for (const std::string& relative : below) {
            const fs::path path = fs::path(mRoots[i]) / relative;
            if (staysBelow(mRoots[i], path))
                add(prefix + relative, path);
        }
    }
    return found;
}

void Library::rescan() {
    auto found = scan();
    std::lock_guard<std::mutex> lock(mMutex);
    bool changed = false;
    for (auto it = mEntries.begin(); it != mEntries.end();) {
        if (found.count(it->first)) {
            ++it;
            continue;
        }
        it = mEntries.erase(it);
        changed = true;
    }
    for (auto& [id, place] : found) {
        auto [it, added] = mEntries.try_emplace(id);
        Entry& entry = it->second;
        if (!added && entry.stamp == place.second)
            continue;
        entry.file.id = id;
        entry.file.path = place.first;
        entry.file.status = LibraryFile::Status::PENDING;
        entry.file.error.clear();
        entry.stamp = place.second;
        enqueue(entry);
        changed = true;
    }
    if (changed)
        ++mGeneration;
}

void Library::enqueue(Entry& entry) {
    if (entry.queued)
        return;
    entry.queued = true;
    mQueue.push_back(entry.file.id);
    mWake.notify_one();
}

void Library::work() {
    FileChecker checker(mHost, mPluginPaths, true);
    std::unique_lock<std::mutex> lock(mMutex);
    for (;;) {
        mWake.wait(lock, [this] { return mStopping || !mQueue.empty(); });
        if (mStopping)
            return;
        const std::string id = mQueue.front();
        mQueue.pop_front();
        auto it = mEntries.find(id);
        if (it == mEntries.end())
            continue;
        it->second.queued = false;
        const std::string path = it->second.file.path;
        const Stamp stamp = it->second.stamp;
        lock.unlock();
        const CheckResult result = checker.check(path);
        lock.lock();
        it = mEntries.find(id);
        // A file that changed meanwhile is queued again; this result is of an older version.
        if (it == mEntries.end() || !(it->second.stamp == stamp))
            continue;
        LibraryFile& file = it->second.file;
        file.status = result.ok ? LibraryFile::Status::OK : LibraryFile::Status::FAILED;
        file.error = result.error;
        file.bytes = result.bytes;
        file.attributes = result.attributes;
        file.rules = result.rules;
        ++mGeneration;
    }
}

void Library::poll() {
    std::unique_lock<std::mutex> lock(mMutex);
    while (!mStop.wait_for(lock, std::chrono::seconds(1), [this] { return mStopping; })) {
        lock.unlock();
        rescan();
        lock.lock();
    }
}

Library::Snapshot Library::snapshot() const {
    std::lock_guard<std::mutex> lock(mMutex);
    Snapshot snapshot;
    snapshot.generation = mGeneration;
    snapshot.total = mEntries.size();
    for (const auto& [id, entry] : mEntries) {
        if (entry.file.status != LibraryFile::Status::PENDING)
            ++snapshot.done;
        snapshot.files.push_back(entry.file);
    }
    return snapshot;
}

std::string Library::resolve(const std::string& id) const {
    std::string path;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        const auto it = mEntries.find(id);
        if (it == mEntries.end())
            return "";
        path = it->second.file.path;
    }
    // The link may have been replaced since the last scan.
    const size_t slash = id.find('/');
    const std::string& root = mRoots[std::stoul(id.substr(0, slash))];
    std::error_code ec;
    if (fs::is_directory(root, ec) && !staysBelow(root, path))
        return "";
    return path;
}

} // namespace serve
} // namespace kovhost

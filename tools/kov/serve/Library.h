#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kovhost {

class Host;

namespace serve {

/// One rule file of the library as a page lists it.
struct LibraryFile {
    enum class Status { PENDING, OK, FAILED };

    std::string id;   ///< "ROOT/relative/path": the root's index, then the path below it
    std::string path; ///< where it is on disk
    Status status = Status::PENDING;
    std::string error;
    uint64_t bytes = 0;
    size_t attributes = 0;
    size_t rules = 0;
};

/// The rule files under the served roots, found as 'kov check' finds them and checked on worker
/// threads in the background. The roots are scanned again every second; a file that appears,
/// goes or changes (size or modification time) is checked again, and every change of what the
/// library shows raises its generation, so that a page can poll for news.
class Library {
public:
    struct Snapshot {
        uint64_t generation = 0;
        size_t done = 0;
        size_t total = 0;
        std::vector<LibraryFile> files; ///< in the order of their ids
    };

    /// Throws std::runtime_error when a root cannot be read.
    Library(Host& host, const std::vector<std::string>& pluginPaths,
            const std::vector<std::string>& roots, size_t jobs);
    ~Library();

    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    Snapshot snapshot() const;

    /// The file on disk that id names, or "" when id is not a rule file of the library; a file
    /// reached through a symbolic link that leads outside its root is not one.
    std::string resolve(const std::string& id) const;

    /// Scans the roots again now; the poller does this every second.
    void rescan();

private:
    struct Stamp {
        std::filesystem::file_time_type modified;
        uintmax_t size = 0;
        bool operator==(const Stamp& other) const {
            return modified == other.modified && size == other.size;
        }
    };
    struct Entry {
        LibraryFile file;
        Stamp stamp;
        bool queued = false;
    };

    /// id -> path on disk and its stamp, of every rule file under the roots now.
    std::map<std::string, std::pair<std::string, Stamp>> scan() const;
    void enqueue(Entry& entry);
    void work();
    void poll();

    Host& mHost;
    const std::vector<std::string> mPluginPaths;
    const std::vector<std::string> mRoots;

    mutable std::mutex mMutex;
    std::condition_variable mWake; ///< for the workers
    std::condition_variable mStop; ///< for the poller
    bool mStopping = false;
    uint64_t mGeneration = 0;
    std::map<std::string, Entry> mEntries;
    std::deque<std::string> mQueue;

    std::vector<std::thread> mWorkers;
    std::thread mPoller;
};

} // namespace serve
} // namespace kovhost

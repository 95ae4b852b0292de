#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kovhost {

/// One line on a terminal that says how far a job of many files is: files done of total,
/// bytes per second and the time left, redrawn in place.
class ProgressBar {
public:
    /// Draws on fd; totalBytes estimates the work for the time left.
    ProgressBar(int fd, size_t totalFiles, uint64_t totalBytes);

    void update(size_t filesDone, uint64_t bytesDone);
    /// Clears the line, so that nothing of the bar stays on the screen.
    void finish();

    /// The line for a state, without the carriage return; width counts the bar's cells.
    static std::string line(size_t filesDone, size_t totalFiles, uint64_t bytesDone,
                            uint64_t totalBytes, double seconds, size_t width = 30);

private:
    void write(const std::string& text);

    int mFd;
    size_t mTotalFiles;
    uint64_t mTotalBytes;
    std::chrono::steady_clock::time_point mStart;
    size_t mLastWidth = 0;
};

/// "512 B", "3.4 KiB", "12.0 MiB", "1.5 GiB".
std::string byteSize(double bytes);

} // namespace kovhost

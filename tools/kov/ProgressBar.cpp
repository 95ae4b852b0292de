#include "ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace kovhost {

std::string byteSize(double bytes) {
    static const char* const UNITS[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    size_t unit = 0;
    while (bytes >= 1024 && unit + 1 < sizeof UNITS / sizeof *UNITS) {
        bytes /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, UNITS[unit]);
    return text;
}

ProgressBar::ProgressBar(int fd, size_t totalFiles, uint64_t totalBytes)
    : mFd(fd), mTotalFiles(totalFiles), mTotalBytes(totalBytes),
      mStart(std::chrono::steady_clock::now()) {}

std::string ProgressBar::line(size_t filesDone, size_t totalFiles, uint64_t bytesDone,
                              uint64_t totalBytes, double seconds, size_t width) {
    const double share = totalFiles ? static_cast<double>(filesDone) / totalFiles : 1.0;
    const size_t filled = std::min(width, static_cast<size_t>(share * width));
    std::string text = "[" + std::string(filled, '#') + std::string(width - filled, ' ') + "] " +
                       std::to_string(filesDone) + "/" + std::to_string(totalFiles) + " files";
    if (seconds <= 0 || bytesDone == 0)
        return text;
    const double rate = bytesDone / seconds;
    text += ", " + byteSize(rate) + "/s";
    // Bytes predict the rest better than files: one huge file takes as long as many small ones.
    const double left = totalBytes > bytesDone ? (totalBytes - bytesDone) / rate : 0.0;
    const auto whole = static_cast<long long>(left + 0.5);
    char eta[48];
    std::snprintf(eta, sizeof eta, ", %lld:%02lld left", whole / 60, whole % 60);
    return text + eta;
}

void ProgressBar::update(size_t filesDone, uint64_t bytesDone) {
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    const std::string text = line(filesDone, mTotalFiles, bytesDone, mTotalBytes, seconds);
    // Blanks over what a longer line before left behind.
    const size_t width = text.size();
    write("\r" + text + std::string(mLastWidth > width ? mLastWidth - width : 0, ' '));
    mLastWidth = width;
}

void ProgressBar::finish() {
    write("\r" + std::string(mLastWidth, ' ') + "\r");
    mLastWidth = 0;
}

void ProgressBar::write(const std::string& text) {
    // A terminal that went away is no reason to stop the check.
    if (::write(mFd, text.data(), text.size()) < 0)
        return;
}

} // namespace kovhost

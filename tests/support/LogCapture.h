#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kovx/Log.h"

namespace kovtest {

/// Records every log message while it lives, and keeps them off standard error.
class LogCapture {
public:
    LogCapture() {
        kovx::Log::removeHandler(kovx::Log::DEFAULT_HANDLER);
        mId = kovx::Log::addHandler([this](kov::LogLevel level, const std::string& msg) {
            mMessages.emplace_back(level, msg);
        });
    }
    ~LogCapture() { kovx::Log::removeHandler(mId); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<std::pair<kov::LogLevel, std::string>>& messages() const { return mMessages; }
    /// The texts alone, in order.
    std::vector<std::string> texts() const {
        std::vector<std::string> out;
        for (const auto& m : mMessages)
            out.push_back(m.second);
        return out;
    }

private:
    kovx::Log::HandlerId mId;
    std::vector<std::pair<kov::LogLevel, std::string>> mMessages;
};

} // namespace kovtest

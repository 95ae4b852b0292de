#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace kovpy {

/// A failure that names the file it concerns: the module raises it as kov.DecodeError.
class DecodeFailure : public std::runtime_error {
public:
    DecodeFailure(std::optional<std::string> path, const std::string& message)
        : std::runtime_error(message), mPath(std::move(path)) {}
    const std::optional<std::string>& path() const { return mPath; }

private:
    std::optional<std::string> mPath;
};

} // namespace kovpy

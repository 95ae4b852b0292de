#pragma once

#include <exception>

#include "kov/Types.h"

namespace kovx {

/// Carries one core status code; what() is its description.
class KOV_CORE_API StatusException : public std::exception {
public:
    explicit StatusException(kov::Status status) noexcept : mStatus(status) {}
    ~StatusException() override;
    kov::Status getStatus() const noexcept { return mStatus; }
    const char* what() const noexcept override;

private:
    kov::Status mStatus;
};

} // namespace kovx

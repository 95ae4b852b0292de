#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "kov/Api.h"

namespace kovx {

/// An ordered list of file extensions such as ".tkb".
class KOV_CORE_API FileExtensions {
public:
    FileExtensions() = default;
    FileExtensions(std::initializer_list<std::wstring> extensions) : mExtensions(extensions) {}
    explicit FileExtensions(std::vector<std::wstring> extensions) : mExtensions(std::move(extensions)) {}

    /// True when the list holds ext; letters compare without regard to ASCII case.
    bool contains(const std::wstring& ext) const;
    const std::vector<std::wstring>& list() const { return mExtensions; }

private:
    std::vector<std::wstring> mExtensions;
};

} // namespace kovx

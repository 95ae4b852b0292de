#include "kovx/FileExtensions.h"

namespace kovx {

namespace {
wchar_t asciiLower(wchar_t c) { return (c >= L'A' && c <= L'Z') ? c - L'A' + L'a' : c; }
} // namespace

bool FileExtensions::contains(const std::wstring& ext) const {
    for (const std::wstring& e : mExtensions) {
        if (e.size() != ext.size())
            continue;
        bool same = true;
        for (size_t i = 0; i < e.size() && same; ++i)
            same = asciiLower(e[i]) == asciiLower(ext[i]);
        if (same)
            return true;
    }
    return false;
}

} // namespace kovx

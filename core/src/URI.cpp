#include "kovx/URI.h"

#include <cctype>

#include <boost/locale/encoding_utf.hpp>

namespace kovx {

namespace {

// A scheme needs two characters at least, so that "C:" of a drive letter stays part of a path.
size_t schemeLength(const std::string& s) {
    if (s.empty() || !std::isalpha(static_cast<unsigned char>(s[0])))
        return 0;
    size_t i = 1;
    while (i < s.size() && (std::isalnum(static_cast<unsigned char>(s[i])) || s[i] == '+' ||
                            s[i] == '-' || s[i] == '.'))
        ++i;
    return (i < s.size() && s[i] == ':' && i >= 2) ? i : 0;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string percentDecode(const std::string& s) {
    std::string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        int hi, lo;
        if (s[i] == '%' && i + 2 < s.size() && (hi = hexValue(s[i + 1])) >= 0 &&
            (lo = hexValue(s[i + 2])) >= 0) {
            out += static_cast<char>(hi * 16 + lo);
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

} // namespace

URI::URI(const std::wstring& text)
    : URI(boost::locale::conv::utf_to_utf<char>(text, boost::locale::conv::skip)) {}

URI::URI(const std::string& text) : mText(text) {
    size_t n = schemeLength(text);
    if (n == 0) {
        mPath = text;
        return;
    }
    for (size_t i = 0; i < n; ++i)
        mScheme += static_cast<char>(std::tolower(static_cast<unsigned char>(text[i])));
    std::string rest = text.substr(n + 1);
    if (rest.compare(0, 2, "//") == 0) {
        size_t slash = rest.find('/', 2);
        rest = slash == std::string::npos ? std::string() : rest.substr(slash);
    }
    size_t end = rest.find_first_of("?#");
    if (end != std::string::npos)
        rest.erase(end);
    mPath = percentDecode(rest);
}

URI::~URI() = default;

std::wstring URI::getFileExtension() const {
    size_t slash = mPath.find_last_of('/');
    size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    size_t dot = mPath.find_last_of('.');
    if (dot == std::string::npos || dot < nameStart || dot == nameStart)
        return std::wstring();
    return boost::locale::conv::utf_to_utf<wchar_t>(mPath.substr(dot), boost::locale::conv::skip);
}

} // namespace kovx

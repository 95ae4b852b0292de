#include "util/StringUtils.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <sstream>

#include <boost/locale/encoding_utf.hpp>

namespace util {

using boost::locale::conv::skip;
using boost::locale::conv::utf_to_utf;

const std::string& StringUtils::EMPTY_STRING() { static const std::string s; return s; }
const std::wstring& StringUtils::EMPTY_STRING_W() { static const std::wstring s; return s; }
const std::string& StringUtils::HEXTAB() { static const std::string s = "0123456789ABCDEF"; return s; }
const std::wstring& StringUtils::HEXTAB_W() { static const std::wstring s = L"0123456789ABCDEF"; return s; }
const std::string& StringUtils::DIGITS() { static const std::string s = "0123456789"; return s; }
const std::wstring& StringUtils::DIGITS_W() { static const std::wstring s = L"0123456789"; return s; }
const std::string& StringUtils::ALPHACHARS() {
    static const std::string s = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return s;
}
const std::wstring& StringUtils::ALPHACHARS_W() {
    static const std::wstring s = L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return s;
}
const std::string& StringUtils::HEXCHARS() { static const std::string s = HEXTAB() + "abcdef"; return s; }
const std::wstring& StringUtils::HEXCHARS_W() { static const std::wstring s = HEXTAB_W() + L"abcdef"; return s; }

std::string StringUtils::toUTF8FromUTF32(const std::wstring& s) { return utf_to_utf<char>(s, skip); }

std::wstring StringUtils::toUTF32FromUTF8(std::string_view s) {
    // Rule file texts are nearly all ASCII, which widens byte for byte into a string sized once.
    // The bytes are tested and widened eight at a time; an ASCII byte always ends a character, so
    // whatever follows the ASCII run decodes the same on its own.
    const size_t size = s.size();
    const auto* in = reinterpret_cast<const unsigned char*>(s.data());
    std::wstring out(size, L'\0');
    wchar_t* to = out.data();
    size_t ascii = 0;
    for (; ascii + 8 <= size; ascii += 8) {
        uint64_t word;
        std::memcpy(&word, in + ascii, sizeof word);
        if (word & 0x8080808080808080ull)
            break;
        for (size_t k = 0; k < 8; ++k)
            to[ascii + k] = static_cast<wchar_t>(in[ascii + k]);
    }
    for (; ascii < size && in[ascii] < 0x80; ++ascii)
        to[ascii] = static_cast<wchar_t>(in[ascii]);
    if (ascii < size) {
        out.resize(ascii);
        out += utf_to_utf<wchar_t>(s.data() + ascii, s.data() + size, skip);
    }
    return out;
}

wchar_t* StringUtils::toUTF32FromUTF8Array(const std::string& s) {
    const std::wstring w = toUTF32FromUTF8(s);
    wchar_t* out = new wchar_t[w.size() + 1];
    std::wmemcpy(out, w.c_str(), w.size() + 1);
    return out;
}

std::string StringUtils::toOSNarrowFromOSWide(const std::wstring& s) {
    std::string out(s.size(), '\0');
    for (size_t i = 0; i < s.size(); ++i)
        out[i] = static_cast<char>(s[i] & 0xFF);
    return out;
}

std::wstring StringUtils::toOSWideFromOSNarrow(const std::string& s) {
    std::wstring out(s.size(), L'\0');
    for (size_t i = 0; i < s.size(); ++i)
        out[i] = static_cast<wchar_t>(static_cast<unsigned char>(s[i]));
    return out;
}

size_t StringUtils::count(const std::string& s, char c) {
    size_t n = 0;
    for (size_t i = s.size(); i > 0; --i)
        if (s[i - 1] == c)
            ++n;
    return n;
}

void StringUtils::copyStringToCStr(const std::string& s, char* dest, size_t* destSize) {
    if (*destSize > 0) {
        std::strncpy(dest, s.c_str(), *destSize);
        dest[*destSize - 1] = '\0';
    }
    *destSize = s.length() + 1;
}

std::string StringUtils::removeChars(const std::string& s, const std::string& chars) {
    std::string out;
    out.reserve(s.size());
    for (char c : s)
        if (chars.find(c) == std::string::npos)
            out += c;
    return out;
}

std::wstring StringUtils::removeChars(const std::wstring& s, const std::wstring& chars) {
    std::wstring out;
    out.reserve(s.size());
    for (wchar_t c : s)
        if (chars.find(c) == std::wstring::npos)
            out += c;
    return out;
}

std::string StringUtils::toHex(uint8_t b) {
    const std::string& tab = HEXTAB();
    return std::string{tab[b >> 4], tab[b & 0x0F]};
}

uint32_t StringUtils::parseHex(const std::string& s) {
    std::istringstream in(s);
    uint32_t v = 0;
    in >> std::hex >> v;
    return in.fail() ? 0 : v;
}

} // namespace util

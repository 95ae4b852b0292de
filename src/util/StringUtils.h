#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace util {

/// Character tables and the string helpers shared across the library.
class StringUtils {
public:
    // Character tables, built on first use.
    static const std::string& EMPTY_STRING();
    static const std::wstring& EMPTY_STRING_W();
    static const std::string& HEXTAB();     ///< "0123456789ABCDEF"
    static const std::wstring& HEXTAB_W();
    static const std::string& DIGITS();     ///< "0123456789"
    static const std::wstring& DIGITS_W();
    static const std::string& ALPHACHARS(); ///< a-z then A-Z
    static const std::wstring& ALPHACHARS_W();
    static const std::string& HEXCHARS();   ///< HEXTAB then "abcdef"
    static const std::wstring& HEXCHARS_W();

    /// UTF-8 encoding of a wide string; code points that cannot be encoded are skipped.
    static std::string toUTF8FromUTF32(const std::wstring& s);
    /// Wide string of a UTF-8 text; invalid sequences are skipped.
    static std::wstring toUTF32FromUTF8(std::string_view s);
    /// As above, as a new NUL-terminated array that the caller frees with delete[].
    static wchar_t* toUTF32FromUTF8Array(const std::string& s);

    /// Each wide code unit cast to its low 8 bits; for names known to be ASCII.
    static std::string toOSNarrowFromOSWide(const std::wstring& s);
    /// Each byte, read as unsigned, becomes one wide code unit (Latin-1).
    static std::wstring toOSWideFromOSNarrow(const std::string& s);

    /// Number of occurrences of c in s.
    static size_t count(const std::string& s, char c);

    /// Copies s into dest: at most *destSize bytes with strncpy, then a NUL in the last byte when
    /// *destSize is not 0; sets *destSize to s.length() + 1.
    static void copyStringToCStr(const std::string& s, char* dest, size_t* destSize);

    /// s without every character that occurs in chars, in the order of the rest.
    static std::string removeChars(const std::string& s, const std::string& chars);
    static std::wstring removeChars(const std::wstring& s, const std::wstring& chars);

    /// Two upper-case hex digits of b.
    static std::string toHex(uint8_t b);
    /// An unsigned 32-bit hexadecimal number read from s; 0 on bad input.
    static uint32_t parseHex(const std::string& s);
};

} // namespace util

#include "TextFormat.h"

#include <charconv>

#include "util/StringUtils.h"

namespace kovhost {

std::string utf8(const wchar_t* text) {
    return text ? util::StringUtils::toUTF8FromUTF32(text) : std::string();
}

std::string utf8(const std::wstring& text) {
    return util::StringUtils::toUTF8FromUTF32(text);
}

const char* valueTypeWord(int32_t type) {
    switch (type) {
    case kov::VT_VOID: return "void";
    case kov::VT_BOOL: return "bool";
    case kov::VT_FLOAT: return "float";
    case kov::VT_STR: return "string";
    case kov::VT_INT: return "integer";
    default: return "unknown";
    }
}

std::string shortestDouble(double value) {
    char text[64];
    const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (byte < 0x20 || byte == 0x7F) {
                // Three octal digits: a C hex escape would swallow a hex digit that follows.
                out += '\\';
                out += static_cast<char>('0' + (byte >> 6));
                out += static_cast<char>('0' + ((byte >> 3) & 7));
                out += static_cast<char>('0' + (byte & 7));
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

std::string hexBytes(const std::vector<uint8_t>& bytes) {
    static const char* const HEX = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const uint8_t byte : bytes) {
        out += HEX[byte >> 4];
        out += HEX[byte & 0xF];
    }
    return out;
}

size_t displayWidth(const std::string& text) {
    size_t width = 0;
    for (const char c : text) {
        // Continuation bytes of a UTF-8 sequence do not start a character.
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            ++width;
    }
    return width;
}

std::string argumentText(const kov::AnnotationArgument& argument) {
    std::string text;
    const std::string key = utf8(argument.getKey());
    if (!key.empty())
        text = key + "=";
    switch (argument.getType()) {
    case kov::VT_BOOL: return text + (argument.getBool() ? "true" : "false");
    case kov::VT_FLOAT: return text + shortestDouble(argument.getFloat());
    case kov::VT_STR: return text + quoted(utf8(argument.getStr()));
    default: return text + "?";
    }
}

std::string annotationText(const kov::Annotation& annotation) {
    std::string text = utf8(annotation.getName());
    if (annotation.getNumArguments() == 0)
        return text;
    text += "(";
    for (size_t i = 0; i < annotation.getNumArguments(); ++i)
        text += (i ? ", " : "") + argumentText(*annotation.getArgument(i));
    return text + ")";
}

bool isCompilerMarker(const kov::Annotation& annotation) {
    return utf8(annotation.getName()).compare(0, 2, "_$") == 0;
}

} // namespace kovhost

#include "xml/AttributeMapXML.h"

#include <locale>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "kov/AttributeMap.h"
#include "util/StringUtils.h"

namespace xml {

namespace {

const char* const ELEMENT_START = "\n\t<attribute key=\"";

std::string utf8(const wchar_t* text) {
    return text ? util::StringUtils::toUTF8FromUTF32(text) : std::string();
}

// Numbers must read the same whatever the process locale is, hence the classic one.
template <typename T> std::string numberText(T value) {
    std::ostringstream s;
    s.imbue(std::locale::classic());
    s << value;
    return s.str();
}

std::string itemText(bool value) { return value ? "true" : "false"; }
std::string itemText(int32_t value) { return numberText(value); }
std::string itemText(int64_t value) { return numberText(value); }
std::string itemText(double value) { return floatText(value); }
std::string itemText(const wchar_t* value) { return utf8(escape(value).c_str()); }
std::string itemText(const std::wstring& value) { return itemText(value.c_str()); }

std::ostream& writeScalar(std::ostream& out, const wchar_t* key, const std::string& value,
                          const char* typeName) {
    return out << ELEMENT_START << utf8(key) << "\" value=\"" << value << "\" type=\"" << typeName
               << "\"/>";
}

template <typename It>
std::ostream& writeArray(std::ostream& out, const wchar_t* key, const char* typeName, It begin,
                         It end) {
    out << ELEMENT_START << utf8(key) << "\" type=\"" << typeName << "\">";
    for (It it = begin; it != end; ++it)
        out << "<item>" << itemText(*it) << "</item>";
    return out << "</attribute>";
}

template <typename T>
std::ostream& writePointerArray(std::ostream& out, const wchar_t* key, const char* typeName,
                                const T* values, size_t count) {
    if (!values && count != 0)
        throw std::invalid_argument("attribute array without values");
    return writeArray(out, key, typeName, values, values + count);
}

} // namespace

std::wstring escape(const wchar_t* text) {
    std::wstring out;
    if (!text)
        return out;
    for (const wchar_t* c = text; *c != L'\0'; ++c) {
        switch (*c) {
        case L'"': out += L"&quot;"; break;
        case L'&': out += L"&amp;"; break;
        case L'\'': out += L"&apos;"; break;
        case L'<': out += L"&lt;"; break;
        case L'>': out += L"&gt;"; break;
        default: out += *c; break;
        }
    }
    return out;
}

std::string floatText(double value) { return numberText(value); }

std::ostream& writeDeclaration(std::ostream& out) {
    return out << "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";
}

std::ostream& writeBool(std::ostream& out, const wchar_t* key, bool value) {
    return writeScalar(out, key, itemText(value), "bool");
}

std::ostream& writeInt(std::ostream& out, const wchar_t* key, int32_t value) {
    return writeScalar(out, key, itemText(value), "int");
}

std::ostream& writeInt64(std::ostream& out, const wchar_t* key, int64_t value) {
    return writeScalar(out, key, itemText(value), "int64");
}

std::ostream& writeFloat(std::ostream& out, const wchar_t* key, double value) {
    return writeScalar(out, key, itemText(value), "float");
}

std::ostream& writeStr(std::ostream& out, const wchar_t* key, const wchar_t* value) {
    return writeScalar(out, key, itemText(value), "str");
}

std::ostream& writeBoolArray(std::ostream& out, const wchar_t* key, const bool* values, size_t count) {
    return writePointerArray(out, key, "bool_array", values, count);
}

std::ostream& writeIntArray(std::ostream& out, const wchar_t* key, const int32_t* values, size_t count) {
    return writePointerArray(out, key, "int_array", values, count);
}

std::ostream& writeInt64Array(std::ostream& out, const wchar_t* key, const int64_t* values,
                              size_t count) {
    return writePointerArray(out, key, "int64_array", values, count);
}

std::ostream& writeFloatArray(std::ostream& out, const wchar_t* key, const double* values,
                              size_t count) {
    return writePointerArray(out, key, "float_array", values, count);
}

std::ostream& writeStrArray(std::ostream& out, const wchar_t* key, const wchar_t* const* values,
                            size_t count) {
    return writePointerArray(out, key, "str_array", values, count);
}

std::ostream& writePointer(std::ostream& out, const char* name, const void* pointer) {
    const char* n = name ? name : "";
    out << "\n\t<" << n << ">0x" << std::hex << pointer << std::dec;
    return out << "</" << n << ">";
}

std::ostream& writeAttributeMap(std::ostream& out, const kov::AttributeMap& map) {
    using PT = kov::AttributeMap::PrimitiveType;
    for (const std::wstring& key : map.getKeys()) {
        const wchar_t* k = key.c_str();
        switch (map.getType(key)) {
        case PT::PT_BOOL: writeBool(out, k, map.getBool(key)); break;
        case PT::PT_INT: writeInt(out, k, map.getInt(key)); break;
        case PT::PT_INT64: writeInt64(out, k, map.getInt64(key)); break;
        case PT::PT_FLOAT: writeFloat(out, k, map.getFloat(key)); break;
        case PT::PT_STRING: writeStr(out, k, map.getString(key).c_str()); break;
        case PT::PT_BOOL_ARRAY: {
            const std::vector<bool>& v = map.getBoolArray(key);
            writeArray(out, k, "bool_array", v.begin(), v.end());
            break;
        }
        case PT::PT_INT_ARRAY: {
            const std::vector<int32_t>& v = map.getIntArray(key);
            writeArray(out, k, "int_array", v.begin(), v.end());
            break;
        }
        case PT::PT_INT64_ARRAY: {
            const std::vector<int64_t>& v = map.getInt64Array(key);
            writeArray(out, k, "int64_array", v.begin(), v.end());
            break;
        }
        case PT::PT_FLOAT_ARRAY: {
            const std::vector<double>& v = map.getFloatArray(key);
            writeArray(out, k, "float_array", v.begin(), v.end());
            break;
        }
        case PT::PT_STRING_ARRAY: {
            const std::vector<std::wstring>& v = map.getStringArray(key);
            writeArray(out, k, "str_array", v.begin(), v.end());
            break;
        }
        }
    }
    return out;
}

} // namespace xml

#include "rulefileinfo/XMLText.h"

#include "util/StringUtils.h"

namespace rulefileinfo {

const char* valueTypeName(int32_t type) {
    switch (type) {
    case kov::VT_VOID: return "void";
    case kov::VT_BOOL: return "bool";
    case kov::VT_FLOAT: return "float";
    case kov::VT_STR: return "str";
    default: return "?";
    }
}

const char* copyOut(const std::string& text, char* result, size_t* resultSize, kov::Status* stat) {
    kov::Status status = kov::STATUS_OK;
    if (!resultSize) {
        status = kov::STATUS_ILLEGAL_ARGUMENT;
    } else if (!result && *resultSize != 0) {
        *resultSize = text.length() + 1;
        status = kov::STATUS_ILLEGAL_ARGUMENT;
    } else {
        util::StringUtils::copyStringToCStr(text, result, resultSize);
    }
    if (stat)
        *stat = status;
    return result;
}

} // namespace rulefileinfo

#include "rulefileinfo/AnnotationArgumentImpl.h"

#include <sstream>

#include "rulefileinfo/XMLText.h"
#include "util/StringUtils.h"
#include "xml/AttributeMapXML.h"

using util::StringUtils;

void AnnotationArgumentImpl::writeXML(std::ostream& out) const {
    out << "<argument type=\"" << rulefileinfo::valueTypeName(type) << "\"";
    if (!key.empty())
        out << " key=\"" << StringUtils::toUTF8FromUTF32(key) << "\"";
    out << " value=\"";
    switch (type) {
    case kov::VT_BOOL: out << (boolValue ? "true" : "false"); break;
    case kov::VT_FLOAT: out << xml::floatText(floatValue); break;
    case kov::VT_STR: out << StringUtils::toUTF8FromUTF32(xml::escape(strValue.c_str())); break;
    default: out << "?"; break;
    }
    out << "\"/>";
}

std::string AnnotationArgumentImpl::toXMLString() const {
    std::ostringstream out;
    writeXML(out);
    return out.str();
}

const char* AnnotationArgumentImpl::toXML(char* result, size_t* resultSize, kov::Status* stat) const {
    return rulefileinfo::copyOut(toXMLString(), result, resultSize, stat);
}

#include "rulefileinfo/AnnotationImpl.h"

#include <sstream>
#include <utility>

#include "rulefileinfo/OwnedArray.h"
#include "rulefileinfo/XMLText.h"
#include "util/StringUtils.h"

AnnotationImpl::AnnotationImpl(const AnnotationImpl& other)
    : kov::Annotation(), name(other.name), numArguments(other.numArguments),
      arguments(rulefileinfo::copyArray(other.arguments, other.numArguments)) {}

AnnotationImpl::AnnotationImpl(AnnotationImpl&& other) noexcept : kov::Annotation() {
    swap(other);
}

AnnotationImpl& AnnotationImpl::operator=(AnnotationImpl other) noexcept {
    swap(other);
    return *this;
}

AnnotationImpl::~AnnotationImpl() { delete[] arguments; }

void AnnotationImpl::swap(AnnotationImpl& other) noexcept {
    name.swap(other.name);
    std::swap(numArguments, other.numArguments);
    std::swap(arguments, other.arguments);
}

void AnnotationImpl::setNumArguments(size_t n) {
    AnnotationArgumentImpl* fresh = rulefileinfo::newArray<AnnotationArgumentImpl>(n);
    delete[] arguments;
    arguments = fresh;
    numArguments = n;
}

const kov::AnnotationArgument* AnnotationImpl::getArgument(size_t i) const {
    return rulefileinfo::elementAt(arguments, numArguments, i);
}

void AnnotationImpl::writeXML(std::ostream& out) const {
    out << "<annotation name=\"" << util::StringUtils::toUTF8FromUTF32(name) << "\">";
    out << "<arguments>";
    for (size_t i = 0; i < numArguments; ++i)
        arguments[i].writeXML(out);
    out << "</arguments>";
    out << "</annotation>";
}

void AnnotationImpl::writeListXML(std::ostream& out, const AnnotationImpl* list, size_t n) {
    out << "<annotations>\n";
    for (size_t i = 0; i < n; ++i)
        list[i].writeXML(out);
    out << "</annotations>\n";
}

std::string AnnotationImpl::toXMLString() const {
    std::ostringstream out;
    writeXML(out);
    return out.str();
}

const char* AnnotationImpl::toXML(char* result, size_t* resultSize, kov::Status* stat) const {
    return rulefileinfo::copyOut(toXMLString(), result, resultSize, stat);
}

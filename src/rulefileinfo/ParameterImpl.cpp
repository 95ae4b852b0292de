#include "rulefileinfo/ParameterImpl.h"

#include <sstream>
#include <utility>

#include "rulefileinfo/OwnedArray.h"
#include "rulefileinfo/XMLText.h"
#include "util/StringUtils.h"

ParameterImpl::ParameterImpl(const ParameterImpl& other)
    : kov::RuleFileInfo::Parameter(), type(other.type), name(other.name),
      numAnnotations(other.numAnnotations),
      annotations(rulefileinfo::copyArray(other.annotations, other.numAnnotations)) {}

ParameterImpl::ParameterImpl(ParameterImpl&& other) noexcept : kov::RuleFileInfo::Parameter() {
    swap(other);
}

ParameterImpl& ParameterImpl::operator=(ParameterImpl other) noexcept {
    swap(other);
    return *this;
}

ParameterImpl::~ParameterImpl() { delete[] annotations; }

void ParameterImpl::swap(ParameterImpl& other) noexcept {
    std::swap(type, other.type);
    name.swap(other.name);
    std::swap(numAnnotations, other.numAnnotations);
    std::swap(annotations, other.annotations);
}

void ParameterImpl::setNumAnnotations(size_t n) {
    AnnotationImpl* fresh = rulefileinfo::newArray<AnnotationImpl>(n);
    delete[] annotations;
    annotations = fresh;
    numAnnotations = n;
}

const kov::Annotation* ParameterImpl::getAnnotation(size_t i) const {
    return rulefileinfo::elementAt(annotations, numAnnotations, i);
}

void ParameterImpl::writeXML(std::ostream& out) const {
    out << "<parameter type=\"" << rulefileinfo::valueTypeName(type) << "\" name=\""
        << util::StringUtils::toUTF8FromUTF32(name) << "\">";
    AnnotationImpl::writeListXML(out, annotations, numAnnotations);
    out << "</parameter>";
}

std::string ParameterImpl::toXMLString() const {
    std::ostringstream out;
    writeXML(out);
    return out.str();
}

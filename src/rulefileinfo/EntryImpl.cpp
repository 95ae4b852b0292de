#include "rulefileinfo/EntryImpl.h"

#include <memory>
#include <sstream>
#include <utility>

#include "rulefileinfo/OwnedArray.h"
#include "rulefileinfo/XMLText.h"
#include "util/StringUtils.h"

using rulefileinfo::copyArray;

EntryImpl::EntryImpl(const EntryImpl& other)
    : kov::RuleFileInfo::Entry(), returnType(other.returnType), name(other.name),
      order(other.order), groupOrder(other.groupOrder), group(other.group) {
    std::unique_ptr<ParameterImpl[]> params(copyArray(other.parameters, other.numParameters));
    annotations = copyArray(other.annotations, other.numAnnotations);
    numAnnotations = other.numAnnotations;
    parameters = params.release();
    numParameters = other.numParameters;
}

EntryImpl::EntryImpl(EntryImpl&& other) noexcept : kov::RuleFileInfo::Entry() { swap(other); }

EntryImpl& EntryImpl::operator=(EntryImpl other) noexcept {
    swap(other);
    return *this;
}

EntryImpl::~EntryImpl() {
    delete[] annotations;
    delete[] parameters;
}

void EntryImpl::swap(EntryImpl& other) noexcept {
    std::swap(returnType, other.returnType);
    name.swap(other.name);
    std::swap(numParameters, other.numParameters);
    std::swap(parameters, other.parameters);
    std::swap(numAnnotations, other.numAnnotations);
    std::swap(annotations, other.annotations);
    std::swap(order, other.order);
    std::swap(groupOrder, other.groupOrder);
    group.swap(other.group);
}

void EntryImpl::assignDescription(const EntryImpl& other) {
    EntryImpl copy(other);
    std::swap(returnType, copy.returnType);
    name.swap(copy.name);
    std::swap(numParameters, copy.numParameters);
    std::swap(parameters, copy.parameters);
    std::swap(numAnnotations, copy.numAnnotations);
    std::swap(annotations, copy.annotations);
}

void EntryImpl::setNumParameters(size_t n) {
    ParameterImpl* fresh = rulefileinfo::newArray<ParameterImpl>(n);
    delete[] parameters;
    parameters = fresh;
    numParameters = n;
}

void EntryImpl::setNumAnnotations(size_t n) {
    AnnotationImpl* fresh = rulefileinfo::newArray<AnnotationImpl>(n);
    delete[] annotations;
    annotations = fresh;
    numAnnotations = n;
}

const kov::RuleFileInfo::Parameter* EntryImpl::getParameter(size_t i) const {
    return rulefileinfo::elementAt(parameters, numParameters, i);
}

const kov::Annotation* EntryImpl::getAnnotation(size_t i) const {
    return rulefileinfo::elementAt(annotations, numAnnotations, i);
}

void EntryImpl::writeXML(std::ostream& out) const {
    out << "<entry returntype=\"" << rulefileinfo::valueTypeName(returnType) << "\" name=\""
        << util::StringUtils::toUTF8FromUTF32(name) << "\">";
    out << "<parameters>";
    for (size_t i = 0; i < numParameters; ++i)
        parameters[i].writeXML(out);
    out << "</parameters>";
    AnnotationImpl::writeListXML(out, annotations, numAnnotations);
    out << "</entry>";
}

std::string EntryImpl::toXMLString() const {
    std::ostringstream out;
    writeXML(out);
    return out.str();
}

#include "rulefileinfo/RuleFileInfoImpl.h"

#include <memory>
#include <sstream>

#include "rulefileinfo/OwnedArray.h"
#include "rulefileinfo/XMLText.h"

using rulefileinfo::elementAt;
using rulefileinfo::newArray;

namespace {

// Fresh entries that take only the description of the source entries.
EntryImpl* copyDescriptions(const EntryImpl* src, size_t n) {
    std::unique_ptr<EntryImpl[]> copy(newArray<EntryImpl>(n));
    for (size_t i = 0; i < n; ++i)
        copy[i].assignDescription(src[i]);
    return copy.release();
}

void writeEntries(std::ostream& out, const EntryImpl* entries, size_t n) {
    for (size_t i = 0; i < n; ++i)
        entries[i].writeXML(out);
}

} // namespace

RuleFileInfoImpl::~RuleFileInfoImpl() {
    delete[] annotations;
    delete[] rules;
    delete[] attributes;
}

void RuleFileInfoImpl::setNumAttributes(size_t n) {
    EntryImpl* fresh = newArray<EntryImpl>(n);
    delete[] attributes;
    attributes = fresh;
    numAttributes = n;
}

void RuleFileInfoImpl::setNumRules(size_t n) {
    EntryImpl* fresh = newArray<EntryImpl>(n);
    delete[] rules;
    rules = fresh;
    numRules = n;
}

void RuleFileInfoImpl::setNumAnnotations(size_t n) {
    AnnotationImpl* fresh = newArray<AnnotationImpl>(n);
    delete[] annotations;
    annotations = fresh;
    numAnnotations = n;
}

const kov::RuleFileInfo::Entry* RuleFileInfoImpl::getAttribute(size_t i) const {
    return elementAt(attributes, numAttributes, i);
}

const kov::RuleFileInfo::Entry* RuleFileInfoImpl::getRule(size_t i) const {
    return elementAt(rules, numRules, i);
}

const kov::Annotation* RuleFileInfoImpl::getAnnotation(size_t i) const {
    return elementAt(annotations, numAnnotations, i);
}

RuleFileInfoImpl* RuleFileInfoImpl::clone() const {
    auto copy = std::make_unique<RuleFileInfoImpl>();
    copy->attributes = copyDescriptions(attributes, numAttributes);
    copy->numAttributes = numAttributes;
    copy->rules = copyDescriptions(rules, numRules);
    copy->numRules = numRules;
    copy->annotations = rulefileinfo::copyArray(annotations, numAnnotations);
    copy->numAnnotations = numAnnotations;
    return copy.release();
}

void RuleFileInfoImpl::writeXML(std::ostream& out) const {
    out << "<rulefileinfo>";
    out << "<attributes>";
    writeEntries(out, attributes, numAttributes);
    out << "</attributes>";
    out << "<rules>";
    writeEntries(out, rules, numRules);
    out << "</rules>";
    AnnotationImpl::writeListXML(out, annotations, numAnnotations);
    out << "</rulefileinfo>";
}

std::string RuleFileInfoImpl::toXMLString() const {
    std::ostringstream out;
    writeXML(out);
    return out.str();
}

const char* RuleFileInfoImpl::toXML(char* result, size_t* resultSize, kov::Status* stat) const {
    return rulefileinfo::copyOut(toXMLString(), result, resultSize, stat);
}

#pragma once

#include <ostream>

#include "classfile/AnnotationView.h"
#include "classfile/Attribute.h"

namespace classfile {

class ClassInfo;
class ConstantPool;
class ConstantPoolEntry;
class CPEClass;
class CPEDouble;
class CPEFloat;
class CPEInteger;
class CPELong;
class CPENameAndType;
class CPERef;
class CPEString;
class CPEUnicode;
class CPEUtf8;
class FieldInfo;
class MemberInfo;
class MethodInfo;

/// The text forms of the class model, as `kov dump` writes them. They read the model and nothing
/// else. The print operations of the model classes are defined in ClassDump.cpp and forward here,
/// so that the reader's sources hold no text forms and the whole dump text lives in one place.
class ClassDump {
public:
    explicit ClassDump(std::ostream& os) : mOs(os) {}

    /// The sections read so far: a partly read class still prints.
    void print(const ClassInfo& info);
    void print(const FieldInfo& field);
    void print(const MethodInfo& method);

    /// The pool listing: one line per entry, wide entries counted once.
    void print(const ConstantPool& pool);
    void print(const CPEUtf8& entry);
    void print(const CPEUnicode& entry);
    void print(const CPEInteger& entry);
    void print(const CPEFloat& entry);
    void print(const CPELong& entry);
    void print(const CPEDouble& entry);
    void print(const CPEClass& entry);
    void print(const CPEString& entry);
    /// The field, method and interface method references.
    void print(const CPERef& entry);
    void print(const CPENameAndType& entry);

    /// The base form ("name=...; attribute_length=...") and the keys of the attribute's kind.
    void print(const Attribute& attribute);

    void print(AnnotationView annotation, const ConstantPool& pool);
    void print(ElementValueView value, const ConstantPool& pool);

private:
    /// An entry's text, or "(none)" for an empty or missing slot.
    void entryOrNone(const ConstantPoolEntry* entry);
    /// Fields and methods differ only in their closing text.
    void member(const MemberInfo& member, const char* closing);
    /// One "[index]={...};" per attribute, as class, member and Code attributes list them.
    void attributeList(const AttributeList& attributes);
    /// One "[position]={...};" block per annotation, as the annotation attributes list them.
    void annotationList(const AnnotationView::Range& annotations, const ConstantPool& pool);

    /// The keys that follow the base form of an attribute, one overload per kind that has any.
    struct Keys;

    std::ostream& mOs;
};

} // namespace classfile

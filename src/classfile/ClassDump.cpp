#include "classfile/ClassDump.h"

#include "classfile/AccessFlags.h"
#include "classfile/AnnotationAttributes.h"
#include "classfile/AnnotationInfo.h"
#include "classfile/AttributeCode.h"
#include "classfile/AttributeStackMap.h"
#include "classfile/ClassInfo.h"
#include "classfile/CodeListing.h"
#include "classfile/ConstantPool.h"
#include "classfile/MemberInfo.h"
#include "classfile/SimpleAttributes.h"
#include "classfile/TableAttributes.h"

namespace classfile {

namespace {

void printType(std::ostream& os, const StackMapEntry::Ty& type) {
    static const char* const names[] = {"Bogus", "Integer",    "Float",  "Double",   "Long",
                                        "Null",  "InitObject", "Object", "NewObject"};
    if (type.tag == 7) {
        const auto& object = static_cast<const StackMapEntry::TyObject&>(type);
        os << "Object(#" << object.class_index << " ["
           << object.pool->displayValue(object.class_index) << "])";
    } else if (type.tag == 8) {
        os << "NewObject(@" << static_cast<const StackMapEntry::TyNewObject&>(type).offset << ")";
    } else {
        os << (type.tag < sizeof names / sizeof names[0] ? names[type.tag] : "?");
    }
}

void printTypes(std::ostream& os, const ArenaList<ArenaPtr<StackMapEntry::Ty>>& types) {
    for (size_t i = 0; i < types.size(); ++i) {
        os << (i ? ", " : "");
        printType(os, *types[i]);
    }
}

void printStackMapEntry(std::ostream& os, const StackMapEntry& entry) {
    os << "            offset=" << entry.offset << ";\n            locals={";
    printTypes(os, entry.locals);
    os << "};\n            stack={";
    printTypes(os, entry.stack);
    os << "};\n";
}

const char* refName(ConstantTag tag) {
    switch (tag) {
    case ConstantTag::FieldRef: return "Field";
    case ConstantTag::MethodRef: return "Method";
    default: return "InterfaceMethodRef";
    }
}

} // namespace

// The class and its members

void ClassDump::print(const ClassInfo& info) {
    mOs << "ClassFile {\n  ";
    if (info.headerRead)
        mOs << "magic=" << std::hex << info.magic << std::dec << "\n"
            << "minor_version: " << info.minor_version << "\n"
            << "major_version: " << info.major_version << "\n"
            << "constant_pool_count= " << info.constant_pool_count << "\n"
            << "constant_pool={\n";
    if (info.poolRead) {
        print(*info.constant_pool);
        mOs << "  };\n";
    }
    if (info.interfacesCountRead) {
        mOs << "access_flags=" << accessFlagWords(info.access_flags) << ";\n  this_class=";
        entryOrNone(info.this_class);
        mOs << ";\n  super_class=";
        entryOrNone(info.super_class);
        mOs << ";\n  interfaces_count=" << info.interfaces_count << ";\n  ";
    }
    if (info.fieldsCountRead) {
        mOs << "interfaces={\n";
        for (size_t i = 0; i < info.interfaces.size(); ++i) {
            mOs << "    [" << i << "]=";
            entryOrNone(info.interfaces[i]);
            mOs << ";\n  ";
        }
        mOs << "  };\n  fields_count=" << info.fields_count << ";\n  ";
    }
    if (info.methodsCountRead) {
        mOs << "fields={\n";
        for (const auto& field : info.fields) {
            mOs << "    [" << field->index << "]=";
            print(*field);
            mOs << ";\n  ";
        }
        mOs << "  };\n  methods_count=" << info.methods_count << ";\n  ";
    }
    if (info.attributesCountRead) {
        mOs << "methods={\n";
        for (const auto& method : info.methods) {
            mOs << "    [" << method->index << "]=";
            print(*method);
            mOs << ";\n";
        }
        mOs << "  };\n  attributes_count=" << info.attributes_count << ";\n  ";
    }
    if (info.allRead) {
        mOs << "attributes={";
        attributeList(info.attributes);
        mOs << "\n  };\n};";
    }
}

void ClassDump::print(const FieldInfo& field) {
    // No semicolon after the attributes of a field, unlike a method.
    member(field, "\n      }\n    }");
}

void ClassDump::print(const MethodInfo& method) {
    member(method, "\n      };\n    }");
}

void ClassDump::member(const MemberInfo& member, const char* closing) {
    const ConstantPool& pool = *member.owner->constant_pool;
    mOs << "{\n      access_flags=" << accessFlagWords(member.access_flags)
        << ";\n      name_index=" << member.name_index << " ["
        << pool.displayValue(member.name_index) << "]"
        << ";\n      descriptor_index=" << member.descriptor_index << " ["
        << pool.displayValue(member.descriptor_index) << "]"
        << ";\n      attributes_count=" << member.attributes_count << ";\n      attributes={";
    attributeList(member.attributes);
    mOs << closing;
}

void ClassDump::entryOrNone(const ConstantPoolEntry* entry) {
    if (entry)
        entry->print(mOs);
    else
        mOs << "(none)";
}

// The constant pool

void ClassDump::print(const ConstantPool& pool) {
    for (uint32_t i = 1; i < pool.size();) {
        const ConstantPoolEntry* entry = pool.get(i);
        mOs << "    [" << i << "]=";
        if (entry)
            entry->print(mOs);
        else
            mOs << "(empty)";
        mOs << ";\n";
        i += entry && entry->isWide() ? 2 : 1;
    }
}

void ClassDump::print(const CPEUtf8& entry) {
    mOs << "{tag=Utf8; value=\"" << entry.value << "\"}";
}

void ClassDump::print(const CPEUnicode& entry) {
    mOs << entry.value << "[Unicode]";
}

void ClassDump::print(const CPEInteger& entry) {
    mOs << "{tag=Integer; value=" << entry.value << "}";
}

void ClassDump::print(const CPEFloat& entry) {
    mOs << "{tag=Float; value=" << entry.value << "}";
}

void ClassDump::print(const CPELong& entry) {
    mOs << "{tag=Long; value=" << entry.value << "}";
}

void ClassDump::print(const CPEDouble& entry) {
    mOs << "{tag=Double; value=" << entry.value << "}";
}

void ClassDump::print(const CPEClass& entry) {
    mOs << "{tag=Class; name_index=" << entry.name_index;
    if (entry.name_index != 0)
        mOs << " [" << entry.owningPool().displayValue(entry.name_index) << "]";
    mOs << "}";
}

void ClassDump::print(const CPEString& entry) {
    mOs << "{tag=String; string_index=" << entry.string_index << " ["
        << entry.owningPool().displayValue(entry.string_index) << "]}";
}

void ClassDump::print(const CPERef& entry) {
    mOs << "{tag=" << refName(entry.tag()) << "; classIndex=" << entry.classIndex << "; "
        << "nameAndTypeIndex=" << entry.nameAndTypeIndex << "}";
}

void ClassDump::print(const CPENameAndType& entry) {
    mOs << "{tag=NameAndType; name_index=" << entry.name_index
        << "; descriptor_index=" << entry.descriptor_index << "}";
}

// Attributes

// One overload per kind with keys of its own; every other kind takes the nearest base's overload,
// the empty one at the root.
struct ClassDump::Keys {
    explicit Keys(ClassDump& dump) : dump(dump), mOs(dump.mOs) {}

    void of(const Attribute&) {}
    void of(const AttributeConstantValue& attribute);
    void of(const AttributeSourceFile& attribute);
    void of(const AttributeInnerClasses& attribute);
    void of(const AttributeLineNumberTable& attribute);
    void of(const AttributeLocalVariableTable& attribute);
    void of(const AttributeCode& attribute);
    void of(const AttributeStackMap& attribute);
    void of(const AttributeRuntimeAnnotations& attribute);
    void of(const AttributeRuntimeParameterAnnotations& attribute);

    ClassDump& dump;
    std::ostream& mOs;
};

void ClassDump::print(const Attribute& attribute) {
    mOs << "name=" << attribute.name << "; attribute_length=" << attribute.attribute_length;
    // Every kind's class sets its kind, so the kind names the class to cast to.
    switch (attribute.kind()) {
#define ATTRIBUTE_KIND(Name)                                                                       \
    case AttributeKind::Name:                                                                      \
        Keys(*this).of(static_cast<const Attribute##Name&>(attribute));                            \
        break;
#include "classfile/AttributeKinds.def"
    case AttributeKind::Unknown: break;
    }
}

void ClassDump::attributeList(const AttributeList& attributes) {
    for (const auto& attribute : attributes) {
        mOs << "\n        [" << attribute->index << "]={";
        attribute->print(mOs);
        mOs << "};";
    }
}

void ClassDump::Keys::of(const AttributeConstantValue& attribute) {
    mOs << ", constant_value_index=" << attribute.constant_value_index;
}

void ClassDump::Keys::of(const AttributeSourceFile& attribute) {
    mOs << "; source_file_index=" << attribute.source_file_index;
}

void ClassDump::Keys::of(const AttributeInnerClasses& attribute) {
    mOs << "; number_of_classes=" << attribute.number_of_classes << ";\n          classes={";
    for (const auto& row : attribute.classes)
        mOs << "\n            [" << row.position << "]="
            << "\n              inner_class_info_index=" << row.inner_class_info_index << ";\n"
            << "              outer_class_info_index=" << row.outer_class_info_index << ";\n"
            << "              inner_name_index=" << row.inner_name_index << ";\n"
            << "              inner_class_access_flags="
            << accessFlagWords(row.inner_class_access_flags) << ";\n";
    mOs << "\n          }";
}

void ClassDump::Keys::of(const AttributeLineNumberTable& attribute) {
    mOs << "; line_number_table_length=" << attribute.line_number_table_length
        << ";\n          line_number_table={";
    for (const auto& row : attribute.line_number_table)
        mOs << "\n            [" << row.position << "]="
            << "{start_pc=" << row.start_pc << "; line_number=" << row.line_number << "}";
    mOs << "\n          }";
}

void ClassDump::Keys::of(const AttributeLocalVariableTable& attribute) {
    mOs << "; localVariableTableLength=" << attribute.local_variable_table_length
        << "; localVariableTable={";
    for (const auto& row : attribute.local_variable_table)
        mOs << "\n          [" << row.position << "]={\n"
            << "            start_pc=" << row.start_pc << ";\n"
            << "            length=" << row.length << ";\n"
            << "            name_index=" << row.name_index << ";\n"
            << "            descriptor_index=" << row.descriptor_index << ";\n"
            << "            index=" << row.index << ";\n"
            << "          };";
    mOs << "\n      }\n    }";
}

void ClassDump::Keys::of(const AttributeCode& attribute) {
    mOs << "; max_stack=" << attribute.max_stack << "; max_locals=" << attribute.max_locals
        << "; code_length=" << attribute.code_length
        << "; exception_table_length=" << attribute.exception_table_length
        << ";\n          exceptions={\n";
    for (size_t i = 0; i < attribute.exceptions.size(); ++i) {
        const ExceptionInfo& row = attribute.exceptions[i];
        mOs << "            [" << i << "]={start_pc=" << row.start_pc << "; end_pc=" << row.end_pc
            << "; handler_pc=" << row.handler_pc << "; catch_type=" << row.catch_type << "};\n";
    }
    mOs << "          }\n          code={";
    printCodeListing(mOs, attribute.code, *attribute.pool);
    mOs << "\n          }\n"
        << "          attributes_count=" << attribute.attributes_count << "          attributes={";
    dump.attributeList(attribute.attributes);
    mOs << "\n          }\n        }";
}

void ClassDump::Keys::of(const AttributeStackMap& attribute) {
    mOs << "; numberOfEntries=" << attribute.number_of_entries << "; entries={";
    for (size_t i = 0; i < attribute.entries.size(); ++i) {
        mOs << "\n          [" << i << "]={\n";
        printStackMapEntry(mOs, attribute.entries[i]);
        mOs << "          };";
    }
    mOs << "\n      }\n    }";
}

void ClassDump::Keys::of(const AttributeRuntimeAnnotations& attribute) {
    mOs << "; num_annotations=" << attribute.num_annotations << "; annotations={";
    dump.annotationList(attribute.annotations, *attribute.pool);
    mOs << "\n      }\n    }";
}

void ClassDump::Keys::of(const AttributeRuntimeParameterAnnotations& attribute) {
    // "num_parametes" is the form's own spelling.
    mOs << "; num_parametes=" << static_cast<unsigned>(attribute.num_parameters)
        << "; parameter_annotations={";
    for (size_t p = 0; p < attribute.parameter_annotations.size(); ++p) {
        const ParameterAnnotations& parameter = attribute.parameter_annotations[p];
        mOs << "\n          [" << p << "]={\n"
            << "          num_annotations=" << parameter.num_annotations << "; annotations={";
        dump.annotationList(parameter.annotations, *attribute.pool);
        mOs << "}\n          };";
    }
    mOs << "\n      }\n    }";
}

// Annotations

void ClassDump::annotationList(const AnnotationView::Range& annotations,
                               const ConstantPool& pool) {
    size_t i = 0;
    for (const AnnotationView annotation : annotations) {
        mOs << "\n          [" << i++ << "]={\n";
        print(annotation, pool);
        mOs << "          };";
    }
}

void ClassDump::print(AnnotationView annotation, const ConstantPool& pool) {
    mOs << "type_index=" << annotation.typeIndex() << " ["
        << pool.displayValue(annotation.typeIndex())
        << "]; num_element_value_pairs=" << annotation.numElementValuePairs()
        << "; element_value_pairs=";
    size_t i = 0;
    for (const ElementValueView pair : annotation.elementValuePairs()) {
        mOs << " [" << i++ << "]={";
        print(pair, pool);
        mOs << "};";
    }
}

void ClassDump::print(ElementValueView value, const ConstantPool& pool) {
    if (value.named())
        mOs << "name=" << pool.displayValue(value.elementNameIndex()) << "; ";
    const uint8_t tag = value.tag();
    mOs << "tag='" << static_cast<char>(tag) << "'";
    if (ElementValueView::isConstantTag(tag)) {
        mOs << " [" << pool.displayValue(value.constValueIndex()) << "]";
    } else if (tag == 'c') {
        mOs << " [" << pool.displayValue(value.classInfoIndex()) << "]";
    } else if (tag == 'e') {
        mOs << " [" << pool.displayValue(value.typeNameIndex()) << " "
            << pool.displayValue(value.constNameIndex()) << "]";
    } else if (tag == '@') {
        mOs << " [";
        print(value.annotationValue(), pool);
        mOs << "]";
    } else if (tag == '[') {
        mOs << "; num_values=" << value.numValues() << "; values=";
        size_t i = 0;
        for (const ElementValueView member : value.values()) {
            mOs << " [" << i++ << "]={";
            print(member, pool);
            mOs << "};";
        }
    }
}

// The model's print operations: each writes its object's text form through a ClassDump.

void ClassInfo::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void FieldInfo::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void MethodInfo::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void ConstantPool::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPEUtf8::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPEUnicode::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPEInteger::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPEFloat::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPELong::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPEDouble::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPEClass::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPEString::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPERef::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void CPENameAndType::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void Attribute::print(std::ostream& os) const {
    ClassDump(os).print(*this);
}

void AnnotationInfo::print(std::ostream& os) const {
    ClassDump(os).print(mView, *pool);
}

void ElementValue::print(std::ostream& os) const {
    ClassDump(os).print(mView, *pool);
}

} // namespace classfile

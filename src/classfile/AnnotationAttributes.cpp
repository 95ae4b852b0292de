#include "classfile/AnnotationAttributes.h"

#include <string>

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"

namespace classfile {

namespace {

// An annotation: u2 type index and u2 pair count.
constexpr size_t ANNOTATION_BYTES = 4;

void readAnnotations(ByteStream& in, const ConstantPool& pool, uint16_t count,
                     AnnotationList& out) {
    reserveForCount(out, pool.arena(), count, in.remaining(), ANNOTATION_BYTES);
    ByteStream::Section section(in, "annotation ", 0);
    for (uint16_t i = 0; i < count; ++i) {
        section.setNumber(i);
        out.push_back(makeInArena<AnnotationInfo>(pool.arena(), in, pool));
    }
}

void printAnnotations(std::ostream& os, const AnnotationList& list) {
    for (size_t i = 0; i < list.size(); ++i) {
        os << "\n          [" << i << "]={\n";
        list[i]->print(os);
        os << "          };";
    }
}

} // namespace

AttributeRuntimeAnnotations::AttributeRuntimeAnnotations(AttributeKind kind, ByteStream& in,
                                                         const ConstantPool& pool_, uint16_t index_,
                                                         uint32_t length)
    : Attribute(kind, pool_, index_, length), num_annotations(in.readU2()) {
    readAnnotations(in, pool_, num_annotations, annotations);
}

void AttributeRuntimeAnnotations::print(std::ostream& os) const {
    Attribute::print(os);
    os << "; num_annotations=" << num_annotations << "; annotations={";
    printAnnotations(os, annotations);
    os << "\n      }\n    }";
}

AttributeRuntimeVisibleAnnotations::AttributeRuntimeVisibleAnnotations(ByteStream& in,
                                                                       const ConstantPool& pool,
                                                                       uint16_t index,
                                                                       uint32_t length)
    : AttributeRuntimeAnnotations(AttributeKind::RuntimeVisibleAnnotations, in, pool, index,
                                  length) {}

AttributeRuntimeInvisibleAnnotations::AttributeRuntimeInvisibleAnnotations(ByteStream& in,
                                                                           const ConstantPool& pool,
                                                                           uint16_t index,
                                                                           uint32_t length)
    : AttributeRuntimeAnnotations(AttributeKind::RuntimeInvisibleAnnotations, in, pool, index,
                                  length) {}

AttributeRuntimeParameterAnnotations::AttributeRuntimeParameterAnnotations(
    AttributeKind kind, ByteStream& in, const ConstantPool& pool_, uint16_t index_, uint32_t length)
    : Attribute(kind, pool_, index_, length), num_parameters(in.readU1()) {
    reserveForCount(parameter_annotations, pool_.arena(), num_parameters, in.remaining(), 2);
    ByteStream::Section section(in, "the annotations of parameter ", 0);
    for (unsigned p = 0; p < num_parameters; ++p) {
        section.setNumber(p);
        ParameterAnnotations parameter;
        parameter.num_annotations = in.readU2();
        readAnnotations(in, pool_, parameter.num_annotations, parameter.annotations);
        parameter_annotations.push_back(std::move(parameter));
    }
}

void AttributeRuntimeParameterAnnotations::print(std::ostream& os) const {
    Attribute::print(os);
    os << "; num_parametes=" << static_cast<unsigned>(num_parameters)
       << "; parameter_annotations={";
    for (size_t p = 0; p < parameter_annotations.size(); ++p) {
        const ParameterAnnotations& parameter = parameter_annotations[p];
        os << "\n          [" << p << "]={\n"
           << "          num_annotations=" << parameter.num_annotations << "; annotations={";
        printAnnotations(os, parameter.annotations);
        os << "}\n          };";
    }
    os << "\n      }\n    }";
}

AttributeRuntimeVisibleParameterAnnotations::AttributeRuntimeVisibleParameterAnnotations(
    ByteStream& in, const ConstantPool& pool, uint16_t index, uint32_t length)
    : AttributeRuntimeParameterAnnotations(AttributeKind::RuntimeVisibleParameterAnnotations, in,
                                           pool, index, length) {}

AttributeRuntimeInvisibleParameterAnnotations::AttributeRuntimeInvisibleParameterAnnotations(
    ByteStream& in, const ConstantPool& pool, uint16_t index, uint32_t length)
    : AttributeRuntimeParameterAnnotations(AttributeKind::RuntimeInvisibleParameterAnnotations, in,
                                           pool, index, length) {}

} // namespace classfile

#include "classfile/AnnotationAttributes.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"

namespace classfile {

namespace {

AnnotationView::Range readAnnotations(ByteStream& in, uint16_t count) {
    const uint8_t* first = in.cursor();
    ByteStream::Section section(in, "annotation ", 0);
    for (uint16_t i = 0; i < count; ++i) {
        section.setNumber(i);
        AnnotationView::read(in);
    }
    return AnnotationView::Range(first, count);
}

} // namespace

AttributeRuntimeAnnotations::AttributeRuntimeAnnotations(AttributeKind kind, ByteStream& in,
                                                         const ConstantPool& pool_,
                                                         const AttributeHeader& header)
    : Attribute(kind, pool_, header.index, header.length), num_annotations(in.readU2()) {
    annotations = readAnnotations(in, num_annotations);
}

AttributeRuntimeVisibleAnnotations::AttributeRuntimeVisibleAnnotations(
    ByteStream& in, const ConstantPool& pool, const AttributeHeader& header)
    : AttributeRuntimeAnnotations(AttributeKind::RuntimeVisibleAnnotations, in, pool, header) {}

AttributeRuntimeInvisibleAnnotations::AttributeRuntimeInvisibleAnnotations(
    ByteStream& in, const ConstantPool& pool, const AttributeHeader& header)
    : AttributeRuntimeAnnotations(AttributeKind::RuntimeInvisibleAnnotations, in, pool, header) {}

AttributeRuntimeParameterAnnotations::AttributeRuntimeParameterAnnotations(
    AttributeKind kind, ByteStream& in, const ConstantPool& pool_, const AttributeHeader& header)
    : Attribute(kind, pool_, header.index, header.length), num_parameters(in.readU1()) {
    reserveForCount(parameter_annotations, pool_.arena(), num_parameters, in.remaining(), 2);
    ByteStream::Section section(in, "the annotations of parameter ", 0);
    for (unsigned p = 0; p < num_parameters; ++p) {
        section.setNumber(p);
        ParameterAnnotations parameter;
        parameter.num_annotations = in.readU2();
        parameter.annotations = readAnnotations(in, parameter.num_annotations);
        parameter_annotations.push_back(std::move(parameter));
    }
}

AttributeRuntimeVisibleParameterAnnotations::AttributeRuntimeVisibleParameterAnnotations(
    ByteStream& in, const ConstantPool& pool, const AttributeHeader& header)
    : AttributeRuntimeParameterAnnotations(AttributeKind::RuntimeVisibleParameterAnnotations, in,
                                           pool, header) {}

AttributeRuntimeInvisibleParameterAnnotations::AttributeRuntimeInvisibleParameterAnnotations(
    ByteStream& in, const ConstantPool& pool, const AttributeHeader& header)
    : AttributeRuntimeParameterAnnotations(AttributeKind::RuntimeInvisibleParameterAnnotations, in,
                                           pool, header) {}

} // namespace classfile

#pragma once

#include <cstdint>

#include "classfile/AnnotationView.h"
#include "classfile/Attribute.h"

namespace classfile {

/// Shared part of the visible and invisible annotation attributes: a counted list of annotations,
/// kept in place (AnnotationInfo builds the tree of one where a tree is wanted).
class AttributeRuntimeAnnotations : public Attribute {
public:

    uint16_t num_annotations;
    AnnotationView::Range annotations;

protected:
    AttributeRuntimeAnnotations(AttributeKind kind, ByteStream& in, const ConstantPool& pool,
                                const AttributeHeader& header);
};

class AttributeRuntimeVisibleAnnotations : public AttributeRuntimeAnnotations {
public:
    AttributeRuntimeVisibleAnnotations(ByteStream& in, const ConstantPool& pool,
                                       const AttributeHeader& header);
};

class AttributeRuntimeInvisibleAnnotations : public AttributeRuntimeAnnotations {
public:
    AttributeRuntimeInvisibleAnnotations(ByteStream& in, const ConstantPool& pool,
                                         const AttributeHeader& header);
};

/// The annotations of one method parameter.
struct ParameterAnnotations {
    uint16_t num_annotations = 0;
    AnnotationView::Range annotations;
};

/// Shared part of the two parameter annotation attributes: a u1 parameter count, then per parameter
/// a counted list of annotations.
class AttributeRuntimeParameterAnnotations : public Attribute {
public:

    uint8_t num_parameters;
    ArenaList<ParameterAnnotations> parameter_annotations;

protected:
    AttributeRuntimeParameterAnnotations(AttributeKind kind, ByteStream& in,
                                         const ConstantPool& pool, const AttributeHeader& header);
};

class AttributeRuntimeVisibleParameterAnnotations : public AttributeRuntimeParameterAnnotations {
public:
    AttributeRuntimeVisibleParameterAnnotations(ByteStream& in, const ConstantPool& pool,
                                                const AttributeHeader& header);
};

class AttributeRuntimeInvisibleParameterAnnotations : public AttributeRuntimeParameterAnnotations {
public:
    AttributeRuntimeInvisibleParameterAnnotations(ByteStream& in, const ConstantPool& pool,
                                                  const AttributeHeader& header);
};

} // namespace classfile

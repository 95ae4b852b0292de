#pragma once

#include <cstdint>

#include "classfile/Attribute.h"
#include "classfile/Bytes.h"

namespace classfile {

/// The attribute kinds with a fixed or flat payload.

class AttributeConstantValue : public Attribute {
public:
    AttributeConstantValue(ByteStream& in, const ConstantPool& pool, const AttributeHeader& header);

    uint16_t constant_value_index;
};

class AttributeExceptions : public Attribute {
public:
    AttributeExceptions(ByteStream& in, const ConstantPool& pool, const AttributeHeader& header);

    uint16_t number_of_exceptions;
    ArenaList<uint16_t> exception_index_table;
};

/// Marks its field, method or class as synthetic; no payload.
class AttributeSynthetic : public Attribute {
public:
    AttributeSynthetic(ByteStream& in, const ConstantPool& pool, const AttributeHeader& header);
};

class AttributeSourceFile : public Attribute {
public:
    AttributeSourceFile(ByteStream& in, const ConstantPool& pool, const AttributeHeader& header);

    uint16_t source_file_index;
};

/// Marks its field, method or class as deprecated; no payload.
class AttributeDeprecated : public Attribute {
public:
    AttributeDeprecated(ByteStream& in, const ConstantPool& pool, const AttributeHeader& header);
};

/// An attribute whose name is not recognised: its bytes, kept as they are.
class AttributeUnknown : public Attribute {
public:
    /// The length is taken as signed: 0 or a negative length reads nothing.
    AttributeUnknown(ByteStream& in, const ConstantPool& pool, const AttributeHeader& header);

    /// Views the input.
    Bytes info;
};

} // namespace classfile

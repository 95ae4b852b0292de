#pragma once

#include <cstdint>

#include "classfile/Attribute.h"
#include "classfile/Bytes.h"

namespace classfile {

/// One exception table row of a Code attribute.
struct ExceptionInfo {
    uint16_t start_pc;
    uint16_t end_pc;
    uint16_t handler_pc;
    uint16_t catch_type;
    /// Not owned.
    const ConstantPool* pool;
};

/// Code attributes nested in Code attributes beyond this many levels are refused.
constexpr unsigned MAX_CODE_DEPTH = 64;

/// A method's bytecode with its exception table and nested attributes.
class AttributeCode : public Attribute {
public:
    AttributeCode(ByteStream& in, ConstantPool& pool, const AttributeHeader& header);

    uint16_t max_stack;
    uint16_t max_locals;
    /// As read; 0 or negative means no code bytes.
    int32_t code_length;
    /// Views the input.
    Bytes code;
    uint16_t exception_table_length;
    ArenaList<ExceptionInfo> exceptions;
    uint16_t attributes_count;
    AttributeList attributes;
};

} // namespace classfile

#pragma once

#include <cstdint>

#include "classfile/Attribute.h"

namespace classfile {

/// The attribute kinds that hold a counted table of fixed-size rows.

struct InnerClassInfo {
    uint16_t position;
    /// Not owned.
    const ConstantPool* pool;
    uint16_t inner_class_info_index;
    uint16_t outer_class_info_index;
    uint16_t inner_name_index;
    uint16_t inner_class_access_flags;
};

class AttributeInnerClasses : public Attribute {
public:
    AttributeInnerClasses(ByteStream& in, const ConstantPool& pool, const AttributeHeader& header);

    uint16_t number_of_classes;
    ArenaList<InnerClassInfo> classes;
};

struct LineNumberInfo {
    uint16_t position;
    uint16_t start_pc;
    uint16_t line_number;
};

class AttributeLineNumberTable : public Attribute {
public:
    AttributeLineNumberTable(ByteStream& in, const ConstantPool& pool,
                             const AttributeHeader& header);

    uint16_t line_number_table_length;
    ArenaList<LineNumberInfo> line_number_table;
};

struct LocalVariableInfo {
    uint16_t position;
    uint16_t start_pc;
    uint16_t length;
    uint16_t name_index;
    uint16_t descriptor_index;
    /// The local variable's slot.
    uint16_t index;
};

class AttributeLocalVariableTable : public Attribute {
public:
    AttributeLocalVariableTable(ByteStream& in, const ConstantPool& pool,
                                const AttributeHeader& header);

    uint16_t local_variable_table_length;
    ArenaList<LocalVariableInfo> local_variable_table;
};

} // namespace classfile

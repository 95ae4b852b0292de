#include "classfile/TableAttributes.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"

namespace classfile {

AttributeInnerClasses::AttributeInnerClasses(ByteStream& in, const ConstantPool& pool,
                                             const AttributeHeader& header)
    : Attribute(AttributeKind::InnerClasses, pool, header.index, header.length),
      number_of_classes(in.readU2()) {
    reserveForCount(classes, pool.arena(), number_of_classes, in.remaining(), 8);
    for (uint16_t i = 0; i < number_of_classes; ++i) {
        InnerClassInfo row{i, &pool, 0, 0, 0, 0};
        row.inner_class_info_index = in.readU2();
        row.outer_class_info_index = in.readU2();
        row.inner_name_index = in.readU2();
        row.inner_class_access_flags = in.readU2();
        classes.emplace_back(row);
    }
}

AttributeLineNumberTable::AttributeLineNumberTable(ByteStream& in, const ConstantPool& pool,
                                                   const AttributeHeader& header)
    : Attribute(AttributeKind::LineNumberTable, pool, header.index, header.length),
      line_number_table_length(in.readU2()) {
    reserveForCount(line_number_table, pool.arena(), line_number_table_length, in.remaining(), 4);
    for (uint16_t i = 0; i < line_number_table_length; ++i) {
        const uint16_t startPc = in.readU2();
        line_number_table.emplace_back(LineNumberInfo{i, startPc, in.readU2()});
    }
}

AttributeLocalVariableTable::AttributeLocalVariableTable(ByteStream& in, const ConstantPool& pool,
                                                         const AttributeHeader& header)
    : Attribute(AttributeKind::LocalVariableTable, pool, header.index, header.length),
      local_variable_table_length(in.readU2()) {
    reserveForCount(local_variable_table, pool.arena(), local_variable_table_length, in.remaining(), 10);
    for (uint16_t i = 0; i < local_variable_table_length; ++i) {
        LocalVariableInfo row{i, 0, 0, 0, 0, 0};
        row.start_pc = in.readU2();
        row.length = in.readU2();
        row.name_index = in.readU2();
        row.descriptor_index = in.readU2();
        row.index = in.readU2();
        local_variable_table.emplace_back(row);
    }
}

} // namespace classfile

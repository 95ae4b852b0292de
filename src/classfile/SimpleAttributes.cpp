#include "classfile/SimpleAttributes.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"

namespace classfile {

AttributeConstantValue::AttributeConstantValue(ByteStream& in, const ConstantPool& pool,
                                               const AttributeHeader& header)
    : Attribute(AttributeKind::ConstantValue, pool, header.index, 2),
      constant_value_index(in.readU2()) {}

AttributeExceptions::AttributeExceptions(ByteStream& in, const ConstantPool& pool,
                                         const AttributeHeader& header)
    : Attribute(AttributeKind::Exceptions, pool, header.index, header.length),
      number_of_exceptions(in.readU2()) {
    reserveForCount(exception_index_table, pool.arena(), number_of_exceptions, in.remaining(), 2);
    for (uint16_t i = 0; i < number_of_exceptions; ++i)
        exception_index_table.emplace_back(in.readU2());
}

AttributeSynthetic::AttributeSynthetic(ByteStream&, const ConstantPool& pool,
                                       const AttributeHeader& header)
    : Attribute(AttributeKind::Synthetic, pool, header.index, 0) {}

AttributeSourceFile::AttributeSourceFile(ByteStream& in, const ConstantPool& pool,
                                         const AttributeHeader& header)
    : Attribute(AttributeKind::SourceFile, pool, header.index, 2), source_file_index(in.readU2()) {}

AttributeDeprecated::AttributeDeprecated(ByteStream&, const ConstantPool& pool,
                                         const AttributeHeader& header)
    : Attribute(AttributeKind::Deprecated, pool, header.index, 0) {}

AttributeUnknown::AttributeUnknown(ByteStream& in, const ConstantPool& pool,
                                   const AttributeHeader& header)
    : Attribute(AttributeKind::Unknown, pool, header.index, header.length) {
    if (static_cast<int32_t>(header.length) > 0) {
        info = Bytes(in.readView(header.length));
        pool.keepInput(in);
    }
}

} // namespace classfile

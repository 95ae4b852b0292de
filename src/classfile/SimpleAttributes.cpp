#include "classfile/SimpleAttributes.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"

namespace classfile {

AttributeConstantValue::AttributeConstantValue(ByteStream& in, const ConstantPool& pool,
                                               uint16_t index)
    : Attribute(AttributeKind::ConstantValue, pool, index, 2), constant_value_index(in.readU2()) {}

void AttributeConstantValue::print(std::ostream& os) const {
    Attribute::print(os);
    os << ", constant_value_index=" << constant_value_index;
}

AttributeExceptions::AttributeExceptions(ByteStream& in, const ConstantPool& pool, uint16_t index,
                                         uint32_t length)
    : Attribute(AttributeKind::Exceptions, pool, index, length), number_of_exceptions(in.readU2()) {
    reserveForCount(exception_index_table, pool.arena(), number_of_exceptions, in.remaining(), 2);
    for (uint16_t i = 0; i < number_of_exceptions; ++i)
        exception_index_table.emplace_back(in.readU2());
}

AttributeSynthetic::AttributeSynthetic(const ConstantPool& pool, uint16_t index)
    : Attribute(AttributeKind::Synthetic, pool, index, 0) {}

AttributeSourceFile::AttributeSourceFile(ByteStream& in, const ConstantPool& pool, uint16_t index)
    : Attribute(AttributeKind::SourceFile, pool, index, 2), source_file_index(in.readU2()) {}

void AttributeSourceFile::print(std::ostream& os) const {
    Attribute::print(os);
    os << "; source_file_index=" << source_file_index;
}

AttributeDeprecated::AttributeDeprecated(const ConstantPool& pool, uint16_t index)
    : Attribute(AttributeKind::Deprecated, pool, index, 0) {}

AttributeUnknown::AttributeUnknown(ByteStream& in, const ConstantPool& pool, uint16_t index,
                                   uint32_t length)
    : Attribute(AttributeKind::Unknown, pool, index, length) {
    if (static_cast<int32_t>(length) > 0) {
        info = Bytes(in.readView(length));
        pool.keepInput(in);
    }
}

} // namespace classfile

#include "classfile/Attribute.h"

#include <string_view>

#include "classfile/AnnotationAttributes.h"
#include "classfile/AttributeCode.h"
#include "classfile/AttributeStackMap.h"
#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"
#include "classfile/SimpleAttributes.h"
#include "classfile/TableAttributes.h"

namespace classfile {

namespace {

// End-of-input messages show at most this much of an attribute's name, so that a damaged file
// that names its attribute with a long text still gets a short message.
constexpr size_t MAX_NAME_SHOWN = 64;

std::unique_ptr<Attribute> readKind(std::string_view name, ByteStream& in, uint16_t index,
                                    uint32_t length, ConstantPool& pool, unsigned depth) {
    if (name == "Code")
        return std::make_unique<AttributeCode>(in, pool, index, length, depth);
    if (name == "ConstantValue")
        return std::make_unique<AttributeConstantValue>(in, pool, index);
    if (name == "Exceptions")
        return std::make_unique<AttributeExceptions>(in, pool, index, length);
    if (name == "InnerClasses")
        return std::make_unique<AttributeInnerClasses>(in, pool, index, length);
    if (name == "Synthetic")
        return std::make_unique<AttributeSynthetic>(pool, index);
    if (name == "SourceFile")
        return std::make_unique<AttributeSourceFile>(in, pool, index);
    if (name == "LineNumberTable")
        return std::make_unique<AttributeLineNumberTable>(in, pool, index, length);
    if (name == "LocalVariableTable")
        return std::make_unique<AttributeLocalVariableTable>(in, pool, index, length);
    if (name == "Deprecated")
        return std::make_unique<AttributeDeprecated>(pool, index);
    if (name == "StackMap")
        return std::make_unique<AttributeStackMap>(in, pool, index, length);
    if (name == "RuntimeVisibleAnnotations")
        return std::make_unique<AttributeRuntimeVisibleAnnotations>(in, pool, index, length);
    if (name == "RuntimeInvisibleAnnotations")
        return std::make_unique<AttributeRuntimeInvisibleAnnotations>(in, pool, index, length);
    if (name == "RuntimeVisibleParameterAnnotations")
        return std::make_unique<AttributeRuntimeVisibleParameterAnnotations>(in, pool, index,
                                                                             length);
    if (name == "RuntimeInvisibleParameterAnnotations")
        return std::make_unique<AttributeRuntimeInvisibleParameterAnnotations>(in, pool, index,
                                                                               length);
    return std::make_unique<AttributeUnknown>(in, pool, index, length);
}

} // namespace

Attribute::Attribute(AttributeKind kind, const ConstantPool& pool_, uint16_t index_,
                     uint32_t length)
    : pool(&pool_), index(index_), attribute_length(length), mKind(kind) {}

Attribute::~Attribute() = default;

void Attribute::print(std::ostream& os) const {
    os << "name=" << name << "; attribute_length=" << attribute_length;
}

std::unique_ptr<Attribute> readAttribute(ByteStream& in, uint16_t index, ConstantPool& pool,
                                         unsigned depth) {
    uint16_t nameIndex;
    uint32_t length;
    {
        ByteStream::Section section(in, "the header of attribute ", index);
        nameIndex = in.readU2();
        length = in.readU4();
    }
    std::string name = pool.valueAt(nameIndex, "the attribute name");
    // Every attribute keeps its own copy of a name that any number of them may share.
    pool.countCopiedText(name.size(), "the attribute names");
    std::unique_ptr<Attribute> attribute;
    {
        const bool cut = name.size() > MAX_NAME_SHOWN;
        ByteStream::Section section(
            in, "the \"", std::string_view(name).substr(0, MAX_NAME_SHOWN),
            cut ? "...\" attribute at position " : "\" attribute at position ", index);
        attribute = readKind(name, in, index, length, pool, depth);
    }
    attribute->name_index = nameIndex;
    attribute->name = std::move(name);
    return attribute;
}

} // namespace classfile

#include "classfile/Attribute.h"

#include <cstring>
#include <string>

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
// An attribute header: u2 name index and u4 length.
constexpr size_t HEADER_BYTES = 6;

AttributeKind kindNamed(std::string_view name) {
    static constexpr std::pair<std::string_view, AttributeKind> kinds[] = {
        {"Code", AttributeKind::Code},
        {"ConstantValue", AttributeKind::ConstantValue},
        {"Exceptions", AttributeKind::Exceptions},
        {"InnerClasses", AttributeKind::InnerClasses},
        {"Synthetic", AttributeKind::Synthetic},
        {"SourceFile", AttributeKind::SourceFile},
        {"LineNumberTable", AttributeKind::LineNumberTable},
        {"LocalVariableTable", AttributeKind::LocalVariableTable},
        {"Deprecated", AttributeKind::Deprecated},
        {"StackMap", AttributeKind::StackMap},
        {"RuntimeVisibleAnnotations", AttributeKind::RuntimeVisibleAnnotations},
        {"RuntimeInvisibleAnnotations", AttributeKind::RuntimeInvisibleAnnotations},
        {"RuntimeVisibleParameterAnnotations", AttributeKind::RuntimeVisibleParameterAnnotations},
        {"RuntimeInvisibleParameterAnnotations",
         AttributeKind::RuntimeInvisibleParameterAnnotations},
    };
    for (const auto& [text, kind] : kinds)
        if (name == text)
            return kind;
    return AttributeKind::Unknown;
}

ArenaPtr<Attribute> readKind(AttributeKind kind, ByteStream& in, uint16_t index, uint32_t length,
                             ConstantPool& pool, unsigned depth) {
    Arena& arena = pool.arena();
    switch (kind) {
    case AttributeKind::Code:
        return makeInArena<AttributeCode>(arena, in, pool, index, length, depth);
    case AttributeKind::ConstantValue:
        return makeInArena<AttributeConstantValue>(arena, in, pool, index);
    case AttributeKind::Exceptions:
        return makeInArena<AttributeExceptions>(arena, in, pool, index, length);
    case AttributeKind::InnerClasses:
        return makeInArena<AttributeInnerClasses>(arena, in, pool, index, length);
    case AttributeKind::Synthetic: return makeInArena<AttributeSynthetic>(arena, pool, index);
    case AttributeKind::SourceFile: return makeInArena<AttributeSourceFile>(arena, in, pool, index);
    case AttributeKind::LineNumberTable:
        return makeInArena<AttributeLineNumberTable>(arena, in, pool, index, length);
    case AttributeKind::LocalVariableTable:
        return makeInArena<AttributeLocalVariableTable>(arena, in, pool, index, length);
    case AttributeKind::Deprecated: return makeInArena<AttributeDeprecated>(arena, pool, index);
    case AttributeKind::StackMap:
        return makeInArena<AttributeStackMap>(arena, in, pool, index, length);
    case AttributeKind::RuntimeVisibleAnnotations:
        return makeInArena<AttributeRuntimeVisibleAnnotations>(arena, in, pool, index, length);
    case AttributeKind::RuntimeInvisibleAnnotations:
        return makeInArena<AttributeRuntimeInvisibleAnnotations>(arena, in, pool, index, length);
    case AttributeKind::RuntimeVisibleParameterAnnotations:
        return makeInArena<AttributeRuntimeVisibleParameterAnnotations>(arena, in, pool, index,
                                                                        length);
    case AttributeKind::RuntimeInvisibleParameterAnnotations:
        return makeInArena<AttributeRuntimeInvisibleParameterAnnotations>(arena, in, pool, index,
                                                                          length);
    case AttributeKind::Unknown: break;
    }
    return makeInArena<AttributeUnknown>(arena, in, pool, index, length);
}

// The name at nameIndex and the kind it names. The kind of a Utf8 name is looked up once per index;
// other entries resolve through the pool (failing as valueAt does) into a copy in the arena.
AttributeKind resolveName(const ConstantPool& pool, uint16_t nameIndex, std::string_view& name) {
    const ConstantPoolEntry* entry = pool.get(nameIndex);
    if (entry && entry->tag() == ConstantTag::Utf8) {
        name = static_cast<const CPEUtf8*>(entry)->value;
        uint8_t& known = pool.attributeKindOf(nameIndex);
        if (known == 0)
            known = static_cast<uint8_t>(static_cast<uint8_t>(kindNamed(name)) + 1);
        return static_cast<AttributeKind>(known - 1);
    }
    const std::string value = pool.valueAt(nameIndex, "the attribute name");
    char* copy = static_cast<char*>(pool.arena().take(value.size() + 1, 1));
    std::memcpy(copy, value.data(), value.size());
    name = std::string_view(copy, value.size());
    return kindNamed(name);
}

} // namespace

Attribute::Attribute(AttributeKind kind, const ConstantPool& pool_, uint16_t index_,
                     uint32_t length)
    : pool(&pool_), index(index_), attribute_length(length), mKind(kind) {}

Attribute::~Attribute() = default;

void Attribute::print(std::ostream& os) const {
    os << "name=" << name << "; attribute_length=" << attribute_length;
}

ArenaPtr<Attribute> readAttribute(ByteStream& in, uint16_t index, ConstantPool& pool,
                                  unsigned depth) {
    ByteStream::Section section(in, "the header of attribute ", index);
    const uint16_t nameIndex = in.readU2();
    const uint32_t length = in.readU4();
    std::string_view name;
    const AttributeKind kind = resolveName(pool, nameIndex, name);
    // Counted as if every attribute kept its own copy of a name that any number of them may
    // share, so that what a file may ask of the reader does not depend on how names are held.
    pool.countCopiedText(name.size(), "the attribute names");
    section.set("the \"", name.substr(0, MAX_NAME_SHOWN),
                name.size() > MAX_NAME_SHOWN ? "...\" attribute at position "
                                             : "\" attribute at position ",
                index);
    ArenaPtr<Attribute> attribute = readKind(kind, in, index, length, pool, depth);
    attribute->name_index = nameIndex;
    attribute->name = name;
    return attribute;
}

void readAttributes(ByteStream& in, uint16_t count, ConstantPool& pool, AttributeList& list,
                    unsigned depth) {
    reserveForCount(list, pool.arena(), count, in.remaining(), HEADER_BYTES);
    for (uint16_t i = 0; i < count; ++i)
        list.push_back(readAttribute(in, i, pool, depth));
}

} // namespace classfile

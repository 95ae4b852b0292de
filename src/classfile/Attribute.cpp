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

using ReadPayload = ArenaPtr<Attribute> (*)(ByteStream& in, ConstantPool& pool,
                                             const AttributeHeader& header);

template <typename T>
ArenaPtr<Attribute> readPayload(ByteStream& in, ConstantPool& pool, const AttributeHeader& header) {
    return makeInArena<T>(pool.arena(), in, pool, header);
}

struct KindRow {
    std::string_view name;
    AttributeKind kind;
    ReadPayload read;
};

// Row i is the kind with value i: both expand AttributeKinds.def in its order.
constexpr KindRow KINDS[] = {
#define ATTRIBUTE_KIND(Name) {#Name, AttributeKind::Name, &readPayload<Attribute##Name>},
#include "classfile/AttributeKinds.def"
};
constexpr size_t KIND_COUNT = sizeof KINDS / sizeof KINDS[0];
static_assert(KIND_COUNT == static_cast<size_t>(AttributeKind::Unknown));

ArenaPtr<Attribute> readKind(AttributeKind kind, ByteStream& in, ConstantPool& pool,
                             const AttributeHeader& header) {
    const auto row = static_cast<size_t>(kind);
    return row < KIND_COUNT ? KINDS[row].read(in, pool, header)
                            : readPayload<AttributeUnknown>(in, pool, header);
}

// The name at nameIndex and the kind it names. The kind of a Utf8 name is looked up once per index;
// other entries resolve through the pool (failing as valueAt does) into a copy in the arena.
AttributeKind resolveName(const ConstantPool& pool, uint16_t nameIndex, std::string_view& name) {
    if (pool.tagAt(nameIndex) == ConstantTag::Utf8) {
        name = *pool.ownTextAt(nameIndex);
        uint8_t& known = pool.attributeKindOf(nameIndex);
        if (known == 0)
            known = static_cast<uint8_t>(static_cast<uint8_t>(attributeKindNamed(name)) + 1);
        return static_cast<AttributeKind>(known - 1);
    }
    const std::string value = pool.valueAt(nameIndex, "the attribute name");
    char* copy = static_cast<char*>(pool.arena().take(value.size() + 1, 1));
    std::memcpy(copy, value.data(), value.size());
    name = std::string_view(copy, value.size());
    return attributeKindNamed(name);
}

} // namespace

AttributeKind attributeKindNamed(std::string_view name) {
    for (const KindRow& row : KINDS)
        if (name == row.name)
            return row.kind;
    return AttributeKind::Unknown;
}

std::string_view attributeKindName(AttributeKind kind) {
    const auto row = static_cast<size_t>(kind);
    return row < KIND_COUNT ? KINDS[row].name : std::string_view();
}

Attribute::Attribute(AttributeKind kind, const ConstantPool& pool_, uint16_t index_,
                     uint32_t length)
    : pool(&pool_), index(index_), attribute_length(length), mKind(kind) {}

Attribute::~Attribute() = default;

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
    ArenaPtr<Attribute> attribute = readKind(kind, in, pool, AttributeHeader{index, length, depth});
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

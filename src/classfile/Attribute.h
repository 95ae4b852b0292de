#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string_view>

#include "classfile/Arena.h"

namespace classfile {

class ByteStream;
class ConstantPool;

/// The attribute kinds recognised by name (AttributeKinds.def); every other name is Unknown.
enum class AttributeKind {
#define ATTRIBUTE_KIND(Name) Name,
#include "classfile/AttributeKinds.def"
    Unknown,
};

/// The kind that an attribute name stands for; Unknown for any name not in AttributeKinds.def.
AttributeKind attributeKindNamed(std::string_view name);
/// The name of a kind's attributes; empty for Unknown.
std::string_view attributeKindName(AttributeKind kind);

/// What the factory knows of an attribute before its payload, and hands to the kind's constructor.
struct AttributeHeader {
    /// Position in the attribute's list.
    uint16_t index;
    /// As read from the file.
    uint32_t length;
    /// The number of enclosing Code attributes.
    unsigned depth;
};

/// One attribute of a field, method, class or Code attribute.
class Attribute {
public:
    virtual ~Attribute();
    Attribute(const Attribute&) = delete;
    Attribute& operator=(const Attribute&) = delete;

    /// Text form; the base form is "name=<name>; attribute_length=<length>".
    virtual void print(std::ostream& os) const;

    AttributeKind kind() const { return mKind; }

    /// Not owned.
    const ConstantPool* pool;
    uint16_t name_index = 0;
    /// Position in the attribute's list.
    uint16_t index;
    uint32_t attribute_length;
    /// Views the pool's text of the name (or, for a name resolved through a reference, a copy in
    /// the arena).
    std::string_view name;

protected:
    Attribute(AttributeKind kind, const ConstantPool& pool, uint16_t index, uint32_t length);

private:
    AttributeKind mKind;
};

using AttributeList = ArenaList<ArenaPtr<Attribute>>;

/// The attribute factory: reads one attribute (header and payload) into the pool's arena and returns
/// it. The name picks the kind, whose class reads the payload by its structure, not by the declared
/// length.
/// StackMap attributes add an entry to the pool, hence the mutable pool. depth counts the enclosing
/// Code attributes.
ArenaPtr<Attribute> readAttribute(ByteStream& in, uint16_t index, ConstantPool& pool,
                                  unsigned depth = 0);

/// Reads count attributes into list, each marked with its position.
void readAttributes(ByteStream& in, uint16_t count, ConstantPool& pool, AttributeList& list,
                    unsigned depth = 0);

} // namespace classfile

#pragma once

#include <cstdint>

#include "classfile/Attribute.h"

namespace classfile {

/// One frame of a StackMap attribute: a code offset with the types of its locals and stack items.
class StackMapEntry {
public:
    /// A verification type; the tag says which.
    class Ty {
    public:
        explicit Ty(uint8_t tag) : tag(tag) {}
        virtual ~Ty();
        uint8_t tag;
    };
    class TyBogus : public Ty {
    public:
        TyBogus() : Ty(0) {}
    };
    class TyInteger : public Ty {
    public:
        TyInteger() : Ty(1) {}
    };
    class TyFloat : public Ty {
    public:
        TyFloat() : Ty(2) {}
    };
    class TyDouble : public Ty {
    public:
        TyDouble() : Ty(3) {}
    };
    class TyLong : public Ty {
    public:
        TyLong() : Ty(4) {}
    };
    class TyNull : public Ty {
    public:
        TyNull() : Ty(5) {}
    };
    class TyInitObject : public Ty {
    public:
        TyInitObject() : Ty(6) {}
    };
    class TyObject : public Ty {
    public:
        TyObject(uint16_t classIndex, const ConstantPool& pool)
            : Ty(7), class_index(classIndex), pool(&pool) {}
        uint16_t class_index;
        /// Not owned.
        const ConstantPool* pool;
    };
    class TyNewObject : public Ty {
    public:
        explicit TyNewObject(uint16_t offset) : Ty(8), offset(offset) {}
        /// Code offset of the creating instruction.
        uint16_t offset;
    };

    StackMapEntry(ByteStream& in, const ConstantPool& pool);

    uint16_t offset;
    uint16_t number_of_locals;
    ArenaList<ArenaPtr<Ty>> locals;
    uint16_t number_of_stack_items;
    ArenaList<ArenaPtr<Ty>> stack;
};

/// A StackMap attribute. Reading one adds a "StackMap" entry to the pool that nothing refers to.
class AttributeStackMap : public Attribute {
public:
    AttributeStackMap(ByteStream& in, ConstantPool& pool, const AttributeHeader& header);

    uint16_t number_of_entries;
    ArenaList<StackMapEntry> entries;
};

} // namespace classfile

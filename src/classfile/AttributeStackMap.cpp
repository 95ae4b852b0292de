#include "classfile/AttributeStackMap.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"
#include "classfile/ReadError.h"

namespace classfile {

namespace {

ArenaPtr<StackMapEntry::Ty> readTy(ByteStream& in, const ConstantPool& pool) {
    Arena& arena = pool.arena();
    const uint8_t tag = in.readU1();
    switch (tag) {
    case 0: return makeInArena<StackMapEntry::TyBogus>(arena);
    case 1: return makeInArena<StackMapEntry::TyInteger>(arena);
    case 2: return makeInArena<StackMapEntry::TyFloat>(arena);
    case 3: return makeInArena<StackMapEntry::TyDouble>(arena);
    case 4: return makeInArena<StackMapEntry::TyLong>(arena);
    case 5: return makeInArena<StackMapEntry::TyNull>(arena);
    case 6: return makeInArena<StackMapEntry::TyInitObject>(arena);
    case 7: return makeInArena<StackMapEntry::TyObject>(arena, in.readU2(), pool);
    case 8: return makeInArena<StackMapEntry::TyNewObject>(arena, in.readU2());
    default:
        failRead(
            formatText("Reading TKB failed: readTy() : Unknown type: %d", static_cast<int>(tag)));
    }
}

} // namespace

StackMapEntry::Ty::~Ty() = default;

StackMapEntry::StackMapEntry(ByteStream& in, const ConstantPool& pool) {
    offset = in.readU2();
    number_of_locals = in.readU2();
    reserveForCount(locals, pool.arena(), number_of_locals, in.remaining(), 1);
    for (uint16_t i = 0; i < number_of_locals; ++i)
        locals.push_back(readTy(in, pool));
    number_of_stack_items = in.readU2();
    reserveForCount(stack, pool.arena(), number_of_stack_items, in.remaining(), 1);
    for (uint16_t i = 0; i < number_of_stack_items; ++i)
        stack.push_back(readTy(in, pool));
}

AttributeStackMap::AttributeStackMap(ByteStream& in, ConstantPool& pool_,
                                     const AttributeHeader& header)
    : Attribute(AttributeKind::StackMap, pool_, header.index, header.length) {
    // Every StackMap read appends its own name entry, which nothing refers to; the factory then
    // replaces name_index by the index from the file.
    name = "StackMap";
    name_index = static_cast<uint16_t>(pool_.add(std::make_unique<CPEUtf8>(std::string(name))));
    number_of_entries = in.readU2();
    reserveForCount(entries, pool_.arena(), number_of_entries, in.remaining(), 6);
    ByteStream::Section section(in, "stack map entry ", 0);
    for (uint16_t i = 0; i < number_of_entries; ++i) {
        section.setNumber(i);
        StackMapEntry entry(in, pool_);
        entries.push_back(std::move(entry));
    }
}

} // namespace classfile

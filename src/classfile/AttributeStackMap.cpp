#include "classfile/AttributeStackMap.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"
#include "classfile/ReadError.h"

namespace classfile {

namespace {

const char* tyName(uint8_t tag) {
    static const char* const names[] = {"Bogus", "Integer",    "Float",  "Double",   "Long",
                                        "Null",  "InitObject", "Object", "NewObject"};
    return tag < sizeof names / sizeof names[0] ? names[tag] : "?";
}

std::unique_ptr<StackMapEntry::Ty> readTy(ByteStream& in, const ConstantPool& pool) {
    const uint8_t tag = in.readU1();
    switch (tag) {
    case 0: return std::make_unique<StackMapEntry::TyBogus>();
    case 1: return std::make_unique<StackMapEntry::TyInteger>();
    case 2: return std::make_unique<StackMapEntry::TyFloat>();
    case 3: return std::make_unique<StackMapEntry::TyDouble>();
    case 4: return std::make_unique<StackMapEntry::TyLong>();
    case 5: return std::make_unique<StackMapEntry::TyNull>();
    case 6: return std::make_unique<StackMapEntry::TyInitObject>();
    case 7: return std::make_unique<StackMapEntry::TyObject>(in.readU2(), pool);
    case 8: return std::make_unique<StackMapEntry::TyNewObject>(in.readU2());
    default:
        failRead(
            formatText("Reading TKB failed: readTy() : Unknown type: %d", static_cast<int>(tag)));
    }
}

void printTypes(std::ostream& os, const std::vector<std::unique_ptr<StackMapEntry::Ty>>& types) {
    for (size_t i = 0; i < types.size(); ++i) {
        os << (i ? ", " : "");
        types[i]->print(os);
    }
}

} // namespace

StackMapEntry::Ty::~Ty() = default;

void StackMapEntry::Ty::print(std::ostream& os) const {
    os << tyName(tag);
}

void StackMapEntry::TyObject::print(std::ostream& os) const {
    os << "Object(#" << class_index << " [" << pool->displayValue(class_index) << "])";
}

void StackMapEntry::TyNewObject::print(std::ostream& os) const {
    os << "NewObject(@" << offset << ")";
}

StackMapEntry::StackMapEntry(ByteStream& in, const ConstantPool& pool) {
    offset = in.readU2();
    number_of_locals = in.readU2();
    reserveForCount(locals, number_of_locals);
    for (uint16_t i = 0; i < number_of_locals; ++i)
        locals.push_back(readTy(in, pool));
    number_of_stack_items = in.readU2();
    reserveForCount(stack, number_of_stack_items);
    for (uint16_t i = 0; i < number_of_stack_items; ++i)
        stack.push_back(readTy(in, pool));
}

void StackMapEntry::print(std::ostream& os) const {
    os << "            offset=" << offset << ";\n            locals={";
    printTypes(os, locals);
    os << "};\n            stack={";
    printTypes(os, stack);
    os << "};\n";
}

AttributeStackMap::AttributeStackMap(ByteStream& in, ConstantPool& pool_, uint16_t index_,
                                     uint32_t length)
    : Attribute(AttributeKind::StackMap, pool_, index_, length) {
    // Every StackMap read appends its own name entry, which nothing refers to; the factory then
    // replaces name_index by the index from the file.
    name = "StackMap";
    name_index = static_cast<uint16_t>(pool_.add(std::make_unique<CPEUtf8>(name)));
    number_of_entries = in.readU2();
    reserveForCount(entries, number_of_entries);
    for (uint16_t i = 0; i < number_of_entries; ++i) {
        ByteStream::Section section(in, "stack map entry ", i);
        entries.emplace_back(in, pool_);
    }
}

void AttributeStackMap::print(std::ostream& os) const {
    Attribute::print(os);
    os << "; numberOfEntries=" << number_of_entries << "; entries={";
    for (size_t i = 0; i < entries.size(); ++i) {
        os << "\n          [" << i << "]={\n";
        entries[i].print(os);
        os << "          };";
    }
    os << "\n      }\n    }";
}

} // namespace classfile

#include "classfile/ClassInfo.h"

#include <iostream>
#include <optional>

#include "classfile/ByteCursor.h"
#include "classfile/ByteStream.h"
#include "classfile/ReadError.h"

namespace classfile {

namespace {

constexpr uint32_t MAGIC = 0xCAFEBABE;
// A field or method record without attributes: four u2.
constexpr size_t MEMBER_BYTES = 8;
constexpr size_t ATTRIBUTE_HEADER_BYTES = 6;

} // namespace

ClassInfo::ClassInfo(ByteStream& in) {
    readHeader(in);
    constant_pool = std::make_unique<ConstantPool>(this, in, constant_pool_count);
    poolRead = true;
    readClassIndices(in);
    readMembers(in);
    readAttributes(in);
    allRead = true;
    checkPool();
}

ClassInfo::~ClassInfo() = default;

std::unique_ptr<ConstantPool> ClassInfo::keepPoolOnly(std::unique_ptr<ClassInfo> classFile) {
    std::unique_ptr<ConstantPool> pool = std::move(classFile->constant_pool);
    // The model's own members only point into the arena and destroy nothing there.
    classFile.reset();
    if (pool) {
        pool->owner = nullptr;
        pool->releaseModelObjects();
    }
    return pool;
}

void ClassInfo::readHeader(ByteStream& in) {
    ByteStream::Section section(in, "the class file header");
    magic = in.readU4();
    if (magic != MAGIC)
        failRead(formatText("invalid magic: 0x%x", magic),
                 formatText("TKB file contains invalid magic word '0x%08x'", magic));
    minor_version = in.readU2();
    major_version = in.readU2();
    const auto major = static_cast<int16_t>(major_version);
    if (major > MAX_MAJOR_VERSION)
        failRead("Unknown version" + std::to_string(major) + "." + std::to_string(minor_version),
                 formatText("TKB file contains bytecode of version %d.%d, not supported.", major,
                            minor_version));
    constant_pool_count = in.readU2();
    headerRead = true;
}

void ClassInfo::readClassIndices(ByteStream& in) {
    {
        ByteStream::Section section(in, "the class access flags and indices");
        access_flags = in.readU2();
        const uint16_t thisIndex = in.readU2();
        constant_pool->thisClassIndex = thisIndex;
        if (thisIndex >= constant_pool_count)
            failRead("this_class_index not in pool: " + std::to_string(thisIndex) +
                         " >= " + std::to_string(constant_pool_count),
                     formatText("Reading TKB failed (class index %d not in pool (count %d)).",
                                thisIndex, constant_pool_count));
        this_class = constant_pool->get(thisIndex);
        // No range test for these: an index outside the pool simply yields no entry.
        super_class = constant_pool->get(in.readU2());
        interfaces_count = in.readU2();
        interfacesCountRead = true;
    }
    ByteStream::Section section(in, "the interface table");
    reserveForCount(interfaces, interfaces_count, in.remaining(), 2);
    for (uint16_t i = 0; i < interfaces_count; ++i)
        interfaces.push_back(constant_pool->get(in.readU2()));
}

void ClassInfo::readMembers(ByteStream& in) {
    {
        ByteStream::Section section(in, "the field count");
        fields_count = in.readU2();
        fieldsCountRead = true;
    }
    Arena& arena = constant_pool->arena();
    reserveForCount(fields, fields_count, in.remaining(), MEMBER_BYTES);
    {
        ByteStream::Section section(in, "field ", 0);
        for (uint16_t i = 0; i < fields_count; ++i) {
            section.setNumber(i);
            fields.push_back(makeInArena<FieldInfo>(arena, in, i, *this));
        }
    }
    {
        ByteStream::Section section(in, "the method count");
        methods_count = in.readU2();
        methodsCountRead = true;
    }
    reserveForCount(methods, methods_count, in.remaining(), MEMBER_BYTES);
    ByteStream::Section section(in, "method ", 0);
    for (uint16_t i = 0; i < methods_count; ++i) {
        section.setNumber(i);
        methods.push_back(makeInArena<MethodInfo>(arena, in, i, *this));
    }
}

void ClassInfo::readAttributes(ByteStream& in) {
    {
        ByteStream::Section section(in, "the class attribute count");
        attributes_count = in.readU2();
        attributesCountRead = true;
    }
    reserveForCount(attributes, constant_pool->arena(), attributes_count, in.remaining(),
                    ATTRIBUTE_HEADER_BYTES);
    ByteStream::Section section(in, "class attribute ", 0);
    for (uint16_t i = 0; i < attributes_count; ++i) {
        section.setNumber(i);
        attributes.push_back(readAttribute(in, i, *constant_pool));
        if (attributes.back()->kind() == AttributeKind::Synthetic)
            isSynthetic = true;
        else if (attributes.back()->kind() == AttributeKind::Deprecated)
            isDeprecated = true;
    }
}

// Only class entries have a check; one that fails it runs its own, which ends the process.
void ClassInfo::checkPool() const {
    if (const uint32_t failing = constant_pool->firstClassFailingCheck(constant_pool_count))
        constant_pool->get(failing)->check();
}

bool ClassInfo::mayEndProcessInCheckPass(Bytes file) {
    ByteCursor in(file.data(), file.size());
    // Magic and versions: whatever they hold, the pool comes next or the reader stops first.
    in.skip(8);
    const uint16_t count = in.u2();
    for (uint32_t i = 1; in.ok() && i < count;) {
        const uint8_t tagByte = in.u1();
        // A cut pool or an unknown tag fails the read before the check pass.
        if (!in.ok() || !isKnownTag(tagByte))
            return false;
        const auto tag = static_cast<ConstantTag>(tagByte);
        // Checked against the count as read: StackMap attributes may grow the pool before the
        // check pass, which can only let more entries pass.
        if (tag == ConstantTag::Class) {
            ByteCursor payload = in;
            const uint16_t nameIndex = payload.u2();
            if (payload.ok() && !CPEClass::passesCheck(nameIndex, count))
                return true;
        }
        if (!ConstantPool::skipEntry(in, tag))
            return false;
        i += slotsOf(tag);
    }
    return false;
}

} // namespace classfile

#include "classfile/MemberInfo.h"

#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "classfile/ConstantPool.h"

namespace classfile {

MemberInfo::MemberInfo(uint16_t index_, ClassInfo& owner_)
    : index(index_), owner(&owner_) {}

MemberInfo::~MemberInfo() = default;

void MemberInfo::read(ByteStream& in) {
    access_flags = in.readU2();
    name_index = in.readU2();
    descriptor_index = in.readU2();
    attributes_count = in.readU2();
    readAttributes(in, static_cast<uint16_t>(attributes_count), *owner->constant_pool, attributes);
    for (const auto& attribute : attributes)
        onAttribute(*attribute);
}

void MemberInfo::onAttribute(const Attribute& attribute) {
    if (attribute.kind() == AttributeKind::Synthetic)
        isSynthetic = true;
    else if (attribute.kind() == AttributeKind::Deprecated)
        isDeprecated = true;
}

std::string MemberInfo::name() const {
    return owner->constant_pool->valueAt(name_index, "a member name");
}

std::string MemberInfo::descriptor() const {
    return owner->constant_pool->valueAt(descriptor_index, "a member descriptor");
}

FieldInfo::FieldInfo(ByteStream& in, uint16_t index_, ClassInfo& owner_)
    : MemberInfo(index_, owner_) {
    read(in);
}

void FieldInfo::onAttribute(const Attribute& attribute) {
    if (attribute.kind() == AttributeKind::ConstantValue)
        hasConstantValue = true;
    MemberInfo::onAttribute(attribute);
}

MethodInfo::MethodInfo(ByteStream& in, uint16_t index_, ClassInfo& owner_)
    : MemberInfo(index_, owner_) {
    read(in);
}

} // namespace classfile

#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "classfile/Attribute.h"

namespace classfile {

class ByteStream;
class ClassInfo;

/// The layout that field and method records share.
class MemberInfo {
public:
    virtual ~MemberInfo();
    MemberInfo(const MemberInfo&) = delete;
    MemberInfo& operator=(const MemberInfo&) = delete;

    virtual void print(std::ostream& os) const = 0;

    /// Name and descriptor texts through the owner's pool (checked lookups).
    std::string name() const;
    std::string descriptor() const;

    /// Position of the record in its list.
    uint16_t index;
    uint16_t access_flags = 0;
    uint16_t name_index = 0;
    uint16_t descriptor_index = 0;
    uint32_t attributes_count = 0;
    AttributeList attributes;
    /// The class being read; not owned.
    ClassInfo* owner;
    bool isSynthetic = false;
    bool isDeprecated = false;

protected:
    MemberInfo(uint16_t index, ClassInfo& owner);
    /// Reads the record; onAttribute sees each attribute as it arrives.
    void read(ByteStream& in);
    virtual void onAttribute(const Attribute& attribute);
};

class FieldInfo : public MemberInfo {
public:
    FieldInfo(ByteStream& in, uint16_t index, ClassInfo& owner);
    void print(std::ostream& os) const override;

    bool hasConstantValue = false;

protected:
    void onAttribute(const Attribute& attribute) override;
};

class MethodInfo : public MemberInfo {
public:
    MethodInfo(ByteStream& in, uint16_t index, ClassInfo& owner);
    void print(std::ostream& os) const override;
};

} // namespace classfile

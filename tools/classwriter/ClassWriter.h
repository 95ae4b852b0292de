#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "classwriter/AttributeWriter.h"
#include "classwriter/ConstantPoolBuilder.h"

namespace classwriter {

/// A field or method record.
struct Member {
    uint16_t accessFlags = 0;
    uint16_t nameIndex = 0;
    uint16_t descriptorIndex = 0;
    std::vector<Attribute> attributes;
    /// Overrides the written attribute count.
    std::optional<uint16_t> attributesCount;
};

/// A whole class file. Fill the pool and the records, then take bytes(). Every count is written
/// from its list unless overridden, so damaged files are as easy to write as good ones.
struct ClassWriter {
    ConstantPoolBuilder pool;

    uint32_t magic = 0xCAFEBABE;
    uint16_t minorVersion = 0;
    uint16_t majorVersion = 50;
    /// Overrides the pool's own count.
    std::optional<uint16_t> constantPoolCount;
    uint16_t accessFlags = 0x0001;
    uint16_t thisClass = 0;
    uint16_t superClass = 0;
    std::vector<uint16_t> interfaces;
    std::optional<uint16_t> interfacesCount;
    std::vector<Member> fields;
    std::optional<uint16_t> fieldsCount;
    std::vector<Member> methods;
    std::optional<uint16_t> methodsCount;
    std::vector<Attribute> attributes;
    std::optional<uint16_t> attributesCount;

    std::vector<uint8_t> bytes() const;
};

} // namespace classwriter

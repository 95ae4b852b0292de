#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "classwriter/ByteWriter.h"

namespace classwriter {

/// Builds a constant pool entry by entry. Every call appends (nothing is shared or reused), so the
/// returned indices are exactly predictable: the first entry is 1, long and double take two slots.
class ConstantPoolBuilder {
public:
    uint16_t utf8(const std::string& text);
    /// Tag 2: a u4 length and the bytes.
    uint16_t unicode(const std::vector<uint8_t>& bytes);
    uint16_t integer(int32_t value);
    uint16_t floating(float value);
    uint16_t longValue(int64_t value);
    uint16_t doubleValue(double value);
    uint16_t classEntry(uint16_t nameIndex);
    uint16_t string(uint16_t utf8Index);
    uint16_t fieldref(uint16_t classIndex, uint16_t nameAndTypeIndex);
    uint16_t methodref(uint16_t classIndex, uint16_t nameAndTypeIndex);
    uint16_t interfaceMethodref(uint16_t classIndex, uint16_t nameAndTypeIndex);
    uint16_t nameAndType(uint16_t nameIndex, uint16_t descriptorIndex);
    /// Any tag byte with any payload, taking the given number of slots.
    uint16_t raw(uint8_t tag, const std::vector<uint8_t>& payload, uint16_t slots = 1);

    // Conveniences that add the Utf8 entries they need first, then the entry itself.
    uint16_t classNamed(const std::string& name);
    uint16_t stringOf(const std::string& text);
    uint16_t nameAndTypeOf(const std::string& name, const std::string& descriptor);
    uint16_t fieldrefOf(const std::string& className, const std::string& name,
                        const std::string& descriptor);
    uint16_t methodrefOf(const std::string& className, const std::string& name,
                         const std::string& descriptor);

    /// The index the next entry gets, which is also the pool count to write.
    uint16_t count() const { return mNext; }
    const std::vector<uint8_t>& bytes() const { return mOut.data(); }

private:
    uint16_t append(uint16_t slots);

    ByteWriter mOut;
    uint16_t mNext = 1;
};

} // namespace classwriter

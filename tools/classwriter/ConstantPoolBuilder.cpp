#include "classwriter/ConstantPoolBuilder.h"

#include <cstring>

namespace classwriter {

uint16_t ConstantPoolBuilder::append(uint16_t slots) {
    const uint16_t index = mNext;
    mNext = static_cast<uint16_t>(mNext + slots);
    return index;
}

uint16_t ConstantPoolBuilder::utf8(const std::string& text) {
    mOut.u1(1).u2(static_cast<uint16_t>(text.size())).text(text);
    return append(1);
}

uint16_t ConstantPoolBuilder::unicode(const std::vector<uint8_t>& bytes) {
    mOut.u1(2).u4(static_cast<uint32_t>(bytes.size())).bytes(bytes);
    return append(1);
}

uint16_t ConstantPoolBuilder::integer(int32_t value) {
    mOut.u1(3).u4(static_cast<uint32_t>(value));
    return append(1);
}

uint16_t ConstantPoolBuilder::floating(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    mOut.u1(4).u4(bits);
    return append(1);
}

uint16_t ConstantPoolBuilder::longValue(int64_t value) {
    mOut.u1(5).u8(static_cast<uint64_t>(value));
    return append(2);
}

uint16_t ConstantPoolBuilder::doubleValue(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    mOut.u1(6).u8(bits);
    return append(2);
}

uint16_t ConstantPoolBuilder::classEntry(uint16_t nameIndex) {
    mOut.u1(7).u2(nameIndex);
    return append(1);
}

uint16_t ConstantPoolBuilder::string(uint16_t utf8Index) {
    mOut.u1(8).u2(utf8Index);
    return append(1);
}

uint16_t ConstantPoolBuilder::fieldref(uint16_t classIndex, uint16_t nameAndTypeIndex) {
    mOut.u1(9).u2(classIndex).u2(nameAndTypeIndex);
    return append(1);
}

uint16_t ConstantPoolBuilder::methodref(uint16_t classIndex, uint16_t nameAndTypeIndex) {
    mOut.u1(10).u2(classIndex).u2(nameAndTypeIndex);
    return append(1);
}

uint16_t ConstantPoolBuilder::interfaceMethodref(uint16_t classIndex, uint16_t nameAndTypeIndex) {
    mOut.u1(11).u2(classIndex).u2(nameAndTypeIndex);
    return append(1);
}

uint16_t ConstantPoolBuilder::nameAndType(uint16_t nameIndex, uint16_t descriptorIndex) {
    mOut.u1(12).u2(nameIndex).u2(descriptorIndex);
    return append(1);
}

uint16_t ConstantPoolBuilder::raw(uint8_t tag, const std::vector<uint8_t>& payload,
                                  uint16_t slots) {
    mOut.u1(tag).bytes(payload);
    return append(slots);
}

uint16_t ConstantPoolBuilder::classNamed(const std::string& name) {
    return classEntry(utf8(name));
}

uint16_t ConstantPoolBuilder::stringOf(const std::string& text) {
    return string(utf8(text));
}

uint16_t ConstantPoolBuilder::nameAndTypeOf(const std::string& name,
                                            const std::string& descriptor) {
    const uint16_t nameIndex = utf8(name);
    return nameAndType(nameIndex, utf8(descriptor));
}

uint16_t ConstantPoolBuilder::fieldrefOf(const std::string& className, const std::string& name,
                                         const std::string& descriptor) {
    const uint16_t classIndex = classNamed(className);
    return fieldref(classIndex, nameAndTypeOf(name, descriptor));
}

uint16_t ConstantPoolBuilder::methodrefOf(const std::string& className, const std::string& name,
                                          const std::string& descriptor) {
    const uint16_t classIndex = classNamed(className);
    return methodref(classIndex, nameAndTypeOf(name, descriptor));
}

} // namespace classwriter

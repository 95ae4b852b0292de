#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "classfile/Bytes.h"

namespace classfile {

class ConstantPool;
class CPEClass;
class CPENameAndType;

/// The tag byte that opens each constant pool entry in the file.
enum class ConstantTag : uint8_t {
    Utf8 = 1,
    Unicode = 2,
    Integer = 3,
    Float = 4,
    Long = 5,
    Double = 6,
    Class = 7,
    String = 8,
    FieldRef = 9,
    MethodRef = 10,
    InterfaceMethodRef = 11,
    NameAndType = 12,
};

/// Whether byte is the tag of an entry kind that the reader knows.
constexpr bool isKnownTag(uint8_t byte) {
    return byte >= static_cast<uint8_t>(ConstantTag::Utf8) &&
           byte <= static_cast<uint8_t>(ConstantTag::NameAndType);
}

/// Pool slots an entry of tag takes: long and double take two.
constexpr uint32_t slotsOf(ConstantTag tag) {
    return tag == ConstantTag::Long || tag == ConstantTag::Double ? 2 : 1;
}

/// One constant pool entry; one subclass per tag.
class ConstantPoolEntry {
public:
    virtual ~ConstantPoolEntry();
    ConstantPoolEntry(const ConstantPoolEntry&) = delete;
    ConstantPoolEntry& operator=(const ConstantPoolEntry&) = delete;

    /// The entry's value as text; references are followed through the pool.
    virtual std::string getValue() const = 0;
    /// Consistency test run once after the whole class is read.
    virtual void check() const;
    /// Diagnostic text form.
    virtual void print(std::ostream& os) const = 0;
    /// Display form for code listings.
    virtual std::string toLiteral() const;
    /// Entry equality; see operator==.
    virtual bool equals(const ConstantPoolEntry& other) const;

    ConstantTag tag() const { return mTag; }
    /// The pool this entry lives in; fails for an entry that was never placed in one.
    const ConstantPool& owningPool() const;
    /// Long and double entries take two pool slots.
    bool isWide() const { return slotsOf(mTag) == 2; }

    const ConstantPool* pool = nullptr;
    /// Declared after pool so that it shares a word with the tag.
    uint32_t index = 0;

protected:
    explicit ConstantPoolEntry(ConstantTag tag) : mTag(tag) {}
    /// Writes the warning of the reference kinds, which never compare equal.
    bool refuseEquality(const ConstantPoolEntry& other) const;

private:
    ConstantTag mTag;
};

bool operator==(const ConstantPoolEntry& a, const ConstantPoolEntry& b);
bool operator!=(const ConstantPoolEntry& a, const ConstantPoolEntry& b);

/// Text that an entry read from a file views in place: it lives in the input.
struct InputText {
    std::string_view text;
};

class CPEUtf8 : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::Utf8;
    /// An entry with its own copy of the text.
    explicit CPEUtf8(std::string value);
    explicit CPEUtf8(InputText text) : ConstantPoolEntry(TAG), value(text.text) {}
    /// Final: ConstantPool::textAt hands out value itself in its place.
    std::string getValue() const final { return std::string(value); }
    void print(std::ostream& os) const override;
    bool equals(const ConstantPoolEntry& other) const override;

    /// The raw bytes; modified UTF-8 is not decoded.
    std::string_view value;

private:
    std::unique_ptr<char[]> mOwnText;
};

class CPEUnicode : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::Unicode;
    /// An entry with its own copy of the bytes.
    explicit CPEUnicode(std::vector<uint8_t> bytes);
    explicit CPEUnicode(InputText text)
        : ConstantPoolEntry(TAG), bytes(text.text), value(text.text) {}
    /// Final: ConstantPool::textAt hands out value itself in its place.
    std::string getValue() const final { return std::string(value); }
    void print(std::ostream& os) const override;
    bool equals(const ConstantPoolEntry& other) const override;

    Bytes bytes;
    /// The same bytes as text.
    std::string_view value;

private:
    std::unique_ptr<char[]> mOwnText;
};

class CPEInteger : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::Integer;
    explicit CPEInteger(int32_t value);
    std::string getValue() const override;
    void print(std::ostream& os) const override;
    std::string toLiteral() const override;
    bool equals(const ConstantPoolEntry& other) const override;

    int32_t value;
};

class CPEFloat : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::Float;
    explicit CPEFloat(float value);
    std::string getValue() const override;
    void print(std::ostream& os) const override;
    std::string toLiteral() const override;
    bool equals(const ConstantPoolEntry& other) const override;

    float value;
};

class CPELong : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::Long;
    explicit CPELong(int64_t value);
    std::string getValue() const override;
    void print(std::ostream& os) const override;
    std::string toLiteral() const override;
    bool equals(const ConstantPoolEntry& other) const override;

    int64_t value;
};

class CPEDouble : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::Double;
    explicit CPEDouble(double value);
    std::string getValue() const override;
    void print(std::ostream& os) const override;
    std::string toLiteral() const override;
    bool equals(const ConstantPoolEntry& other) const override;

    double value;
};

class CPEClass : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::Class;
    explicit CPEClass(uint16_t nameIndex);
    /// The internal class name, with "/" separators.
    std::string getValue() const override;
    /// Ends the process when the name index lies outside the pool (see passesCheck).
    void check() const override;
    /// The rule of check: whether a class entry naming nameIndex passes it in a pool of poolSize
    /// slots. ClassInfo::mayEndProcessInCheckPass predicts the check with it.
    static bool passesCheck(uint32_t nameIndex, uint32_t poolSize) { return nameIndex < poolSize; }
    void print(std::ostream& os) const override;
    std::string toLiteral() const override;
    bool equals(const ConstantPoolEntry& other) const override;

    uint16_t name_index;
};

class CPEString : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::String;
    explicit CPEString(uint16_t stringIndex);
    std::string getValue() const override;
    void print(std::ostream& os) const override;
    std::string toLiteral() const override;
    bool equals(const ConstantPoolEntry& other) const override;

    uint16_t string_index;
};

/// Shared part of the field, method and interface method references.
class CPERef : public ConstantPoolEntry {
public:
    /// "Class.nameDescriptor" after checking the kinds of both referenced entries.
    std::string getValue() const override;
    void print(std::ostream& os) const override;
    bool equals(const ConstantPoolEntry& other) const override;

    /// The referenced class; raises the reference error when classIndex names no class entry.
    const CPEClass& classEntry() const;
    /// The referenced name and type; raises the reference error when it names no such entry.
    const CPENameAndType& nameAndType() const;

    uint16_t classIndex;
    uint16_t nameAndTypeIndex;

protected:
    CPERef(ConstantTag tag, uint16_t classIndex, uint16_t nameAndTypeIndex);
};

class CPEFieldRef : public CPERef {
public:
    static constexpr ConstantTag TAG = ConstantTag::FieldRef;
    CPEFieldRef(uint16_t classIndex, uint16_t nameAndTypeIndex);
};

class CPEMethodRef : public CPERef {
public:
    static constexpr ConstantTag TAG = ConstantTag::MethodRef;
    CPEMethodRef(uint16_t classIndex, uint16_t nameAndTypeIndex);
    std::string toLiteral() const override;
};

class CPEInterfaceMethodRef : public CPERef {
public:
    static constexpr ConstantTag TAG = ConstantTag::InterfaceMethodRef;
    CPEInterfaceMethodRef(uint16_t classIndex, uint16_t nameAndTypeIndex);
};

class CPENameAndType : public ConstantPoolEntry {
public:
    static constexpr ConstantTag TAG = ConstantTag::NameAndType;
    CPENameAndType(uint16_t nameIndex, uint16_t descriptorIndex);
    /// The name immediately followed by the descriptor.
    std::string getValue() const override;
    void print(std::ostream& os) const override;
    std::string toLiteral() const override;
    bool equals(const ConstantPoolEntry& other) const override;

    std::string name() const;
    std::string descriptor() const;

    uint16_t name_index;
    uint16_t descriptor_index;
};

} // namespace classfile

#include "classfile/ConstantPoolEntry.h"

#include <cmath>
#include <cstring>
#include <typeinfo>

#include <boost/lexical_cast.hpp>

#include "classfile/ClassInfo.h"
#include "classfile/ConstantPool.h"
#include "classfile/Diagnostics.h"
#include "classfile/ReadError.h"

namespace classfile {

namespace {

template <typename T> std::string floatingText(T value) {
    if (std::isnan(value))
        return std::signbit(value) ? "-nan" : "nan";
    if (std::isinf(value))
        return value < 0 ? "-infinity" : "infinity";
    return boost::lexical_cast<std::string>(value);
}

template <typename T> bool sameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// "[[Lfoo/Bar$Inner;" becomes "Lfoo.Bar.Inner;[][]": leading brackets move to the end as "[]".
std::string displayClassName(const std::string& name) {
    size_t dims = 0;
    while (dims < name.size() && name[dims] == '[')
        ++dims;
    std::string out = name.substr(dims);
    for (size_t i = 0; i < dims; ++i)
        out += "[]";
    for (char& c : out)
        if (c == '$' || c == '/')
            c = '.';
    return out;
}

// "void com.x.Foo.bar(int, java.lang.String)" for methods, "int com.x.Foo.count" for fields; the
// raw name and descriptor when the descriptor does not parse.
std::string memberDisplay(const std::string& qualifier, const std::string& name,
                          const std::string& descriptor) {
    const std::string qualified = qualifier.empty() ? name : qualifier + "." + name;
    try {
        std::vector<std::string> types;
        if (!descriptor.empty() && descriptor[0] == '(') {
            std::string rest = descriptor.substr(1);
            while (!rest.empty() && rest[0] != ')')
                rest = ConstantPool::parseFieldType(rest, types);
            if (rest.empty())
                return qualified + descriptor;
            std::vector<std::string> result;
            ConstantPool::parseFieldType(rest.substr(1), result);
            std::string params;
            for (const auto& type : types)
                params += (params.empty() ? "" : ", ") + type;
            return result.front() + " " + qualified + "(" + params + ")";
        }
        ConstantPool::parseFieldType(descriptor, types);
        return types.front() + " " + qualified;
    } catch (const std::runtime_error&) {
        return qualified + descriptor;
    }
}

} // namespace

// ConstantPoolEntry

ConstantPoolEntry::~ConstantPoolEntry() = default;

void ConstantPoolEntry::check() const {}

std::string ConstantPoolEntry::toLiteral() const {
    return std::string();
}

bool ConstantPoolEntry::equals(const ConstantPoolEntry&) const {
    return false;
}

const ConstantPool& ConstantPoolEntry::owningPool() const {
    if (!pool)
        failRead("constant pool entry outside a pool",
                 "Reading TKB failed: constant pool entry is not part of a pool");
    return *pool;
}

bool ConstantPoolEntry::refuseEquality(const ConstantPoolEntry& other) const {
    const bool ownKind = typeid(other) == typeid(*this) ||
                         (dynamic_cast<const CPERef*>(this) && dynamic_cast<const CPERef*>(&other));
    if (ownKind)
        diagnostics().write("operator== not implemented! always return false\n");
    return false;
}

bool operator==(const ConstantPoolEntry& a, const ConstantPoolEntry& b) {
    return a.equals(b);
}

bool operator!=(const ConstantPoolEntry& a, const ConstantPoolEntry& b) {
    return !a.equals(b);
}

// CPEUtf8, CPEUnicode

namespace {

// A copy of text that the entry owns, and the view of it.
std::string_view ownCopy(std::unique_ptr<char[]>& storage, std::string_view text) {
    storage.reset(new char[text.size() + 1]);
    std::memcpy(storage.get(), text.data(), text.size());
    return std::string_view(storage.get(), text.size());
}

} // namespace

CPEUtf8::CPEUtf8(std::string v) : ConstantPoolEntry(TAG) {
    value = ownCopy(mOwnText, v);
}

bool CPEUtf8::equals(const ConstantPoolEntry& other) const {
    return other.tag() == TAG && static_cast<const CPEUtf8&>(other).value == value;
}

CPEUnicode::CPEUnicode(std::vector<uint8_t> b) : ConstantPoolEntry(TAG) {
    value = ownCopy(mOwnText,
                    std::string_view(reinterpret_cast<const char*>(b.data()), b.size()));
    bytes = Bytes(value);
}

bool CPEUnicode::equals(const ConstantPoolEntry& other) const {
    return other.tag() == TAG && static_cast<const CPEUnicode&>(other).bytes == bytes;
}

// Numeric constants

CPEInteger::CPEInteger(int32_t v) : ConstantPoolEntry(TAG), value(v) {}

std::string CPEInteger::getValue() const {
    return std::to_string(value);
}

std::string CPEInteger::toLiteral() const {
    return "Integer " + getValue();
}

bool CPEInteger::equals(const ConstantPoolEntry& other) const {
    return other.tag() == TAG && static_cast<const CPEInteger&>(other).value == value;
}

CPEFloat::CPEFloat(float v) : ConstantPoolEntry(TAG), value(v) {}

std::string CPEFloat::getValue() const {
    return floatingText(value);
}

std::string CPEFloat::toLiteral() const {
    return "Float " + getValue();
}

bool CPEFloat::equals(const ConstantPoolEntry& other) const {
    return other.tag() == TAG && sameBits(static_cast<const CPEFloat&>(other).value, value);
}

CPELong::CPELong(int64_t v) : ConstantPoolEntry(TAG), value(v) {}

std::string CPELong::getValue() const {
    return std::to_string(value);
}

std::string CPELong::toLiteral() const {
    return "Long " + getValue();
}

bool CPELong::equals(const ConstantPoolEntry& other) const {
    return other.tag() == TAG && static_cast<const CPELong&>(other).value == value;
}

CPEDouble::CPEDouble(double v) : ConstantPoolEntry(TAG), value(v) {}

std::string CPEDouble::getValue() const {
    return floatingText(value);
}

std::string CPEDouble::toLiteral() const {
    return "Double " + getValue();
}

bool CPEDouble::equals(const ConstantPoolEntry& other) const {
    return other.tag() == TAG && sameBits(static_cast<const CPEDouble&>(other).value, value);
}

// CPEClass

CPEClass::CPEClass(uint16_t nameIndex) : ConstantPoolEntry(TAG), name_index(nameIndex) {}

std::string CPEClass::getValue() const {
    return owningPool().valueAt(name_index, "the class name");
}

void CPEClass::check() const {
    if (!passesCheck(name_index, owningPool().size())) {
        diagnostics().write("nameIndex not in pool\n");
        diagnostics().endProcess();
    }
}

std::string CPEClass::toLiteral() const {
    bool isInterface = false;
    if (pool && pool->owner)
        for (const ConstantPoolEntry* entry : pool->owner->interfaces)
            if (entry && *this == *entry)
                isInterface = true;
    return (isInterface ? "Interface " : "Class ") + displayClassName(getValue());
}

bool CPEClass::equals(const ConstantPoolEntry& other) const {
    return refuseEquality(other);
}

// CPEString

CPEString::CPEString(uint16_t stringIndex) : ConstantPoolEntry(TAG), string_index(stringIndex) {}

std::string CPEString::getValue() const {
    return owningPool().valueAt(string_index, "the string value");
}

std::string CPEString::toLiteral() const {
    return "\"" + getValue() + "\"";
}

bool CPEString::equals(const ConstantPoolEntry& other) const {
    return refuseEquality(other);
}

// CPERef and its kinds

CPERef::CPERef(ConstantTag tag, uint16_t classIdx, uint16_t natIdx)
    : ConstantPoolEntry(tag), classIndex(classIdx), nameAndTypeIndex(natIdx) {}

const CPEClass& CPERef::classEntry() const {
    const ConstantPoolEntry* entry = owningPool().get(classIndex);
    if (!entry || entry->tag() != ConstantTag::Class)
        failRead("CPERef : pool[" + std::to_string(classIndex) + "] != CPEClass ",
                 formatText("Reading TKB error:  pool[%d] != CPEClass", classIndex));
    return static_cast<const CPEClass&>(*entry);
}

const CPENameAndType& CPERef::nameAndType() const {
    const ConstantPoolEntry* entry = owningPool().get(nameAndTypeIndex);
    if (!entry || entry->tag() != ConstantTag::NameAndType)
        failRead("CPERef : pool[" + std::to_string(nameAndTypeIndex) + "] != CPENameAndType ",
                 formatText("Reading TKB error:  pool[%d] !=  CPENameAndType", nameAndTypeIndex));
    return static_cast<const CPENameAndType&>(*entry);
}

std::string CPERef::getValue() const {
    const CPEClass& cls = classEntry();
    const CPENameAndType& nat = nameAndType();
    return cls.getValue() + "." + nat.getValue();
}

bool CPERef::equals(const ConstantPoolEntry& other) const {
    return refuseEquality(other);
}

CPEFieldRef::CPEFieldRef(uint16_t classIdx, uint16_t natIdx) : CPERef(TAG, classIdx, natIdx) {}

CPEMethodRef::CPEMethodRef(uint16_t classIdx, uint16_t natIdx) : CPERef(TAG, classIdx, natIdx) {}

std::string CPEMethodRef::toLiteral() const {
    const CPEClass& cls = classEntry();
    const CPENameAndType& nat = nameAndType();
    return "Method " +
           memberDisplay(displayClassName(cls.getValue()), nat.name(), nat.descriptor());
}

CPEInterfaceMethodRef::CPEInterfaceMethodRef(uint16_t classIdx, uint16_t natIdx)
    : CPERef(TAG, classIdx, natIdx) {}

// CPENameAndType

CPENameAndType::CPENameAndType(uint16_t nameIndex, uint16_t descriptorIndex)
    : ConstantPoolEntry(TAG), name_index(nameIndex), descriptor_index(descriptorIndex) {}

std::string CPENameAndType::name() const {
    return owningPool().valueAt(name_index, "the name of a name and type entry");
}

std::string CPENameAndType::descriptor() const {
    return owningPool().valueAt(descriptor_index, "the descriptor of a name and type entry");
}

std::string CPENameAndType::getValue() const {
    return name() + descriptor();
}

std::string CPENameAndType::toLiteral() const {
    return memberDisplay(std::string(), name(), descriptor());
}

bool CPENameAndType::equals(const ConstantPoolEntry& other) const {
    return refuseEquality(other);
}

} // namespace classfile

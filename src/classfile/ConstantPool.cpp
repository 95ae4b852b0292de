#include "classfile/ConstantPool.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "classfile/Diagnostics.h"
#include "classfile/ReadError.h"
#include "util/RuntimeErrorST.h"

namespace classfile {

namespace {

// Legitimate chains are at most three deep (member reference, class, name).
constexpr unsigned MAX_RESOLVE_DEPTH = 8;
thread_local unsigned resolveDepth = 0;


class ResolveDepthGuard {
public:
    explicit ResolveDepthGuard(uint32_t index) {
        if (resolveDepth >= MAX_RESOLVE_DEPTH)
            failRead("constant pool references nest too deeply at index " + std::to_string(index),
                     formatText("Reading TKB failed: constant pool references nest too deeply at "
                                "index %d (the entries refer to each other in a cycle)",
                                index));
        ++resolveDepth;
    }
    ~ResolveDepthGuard() { --resolveDepth; }
    ResolveDepthGuard(const ResolveDepthGuard&) = delete;
    ResolveDepthGuard& operator=(const ResolveDepthGuard&) = delete;
};

template <typename T, typename Bits> T fromBits(Bits bits) {
    T value;
    static_assert(sizeof value == sizeof bits, "float and double must be IEEE 754");
    std::memcpy(&value, &bits, sizeof bits);
    return value;
}

template <typename T> uint32_t bitsOf(T value) {
    uint32_t bits;
    static_assert(sizeof value == sizeof bits, "float must be 32-bit IEEE 754");
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

uint32_t packIndices(uint16_t high, uint16_t low) {
    return uint32_t{high} << 16 | low;
}

uint64_t readU8At(const char* at) {
    const auto* p = reinterpret_cast<const uint8_t*>(at);
    uint64_t value = 0;
    for (int i = 0; i < 8; ++i)
        value = value << 8 | p[i];
    return value;
}

} // namespace

// The payload sizes of readSlot: the two texts are a length of 2 or 4 bytes and that many bytes,
// the others fixed. ConstantPoolTest makes the two agree for every tag.
bool ConstantPool::skipEntry(ByteCursor& in, ConstantTag tag) {
    switch (tag) {
    case ConstantTag::Utf8: return in.skip(in.u2()) && in.ok();
    case ConstantTag::Unicode: return in.skip(in.u4()) && in.ok();
    case ConstantTag::Class:
    case ConstantTag::String: return in.skip(2);
    case ConstantTag::Integer:
    case ConstantTag::Float:
    case ConstantTag::FieldRef:
    case ConstantTag::MethodRef:
    case ConstantTag::InterfaceMethodRef:
    case ConstantTag::NameAndType: return in.skip(4);
    case ConstantTag::Long:
    case ConstantTag::Double: return in.skip(8);
    }
    return false;
}

namespace {

// One-letter descriptor code of a primitive type name, or 0.
char primitiveCode(const std::string& name) {
    static const std::pair<const char*, char> codes[] = {
        {"byte", 'B'}, {"char", 'C'},  {"double", 'D'},  {"float", 'F'}, {"int", 'I'},
        {"long", 'J'}, {"short", 'S'}, {"boolean", 'Z'}, {"void", 'V'},
    };
    for (const auto& code : codes)
        if (name == code.first)
            return code.second;
    return 0;
}

const char* primitiveName(char code) {
    switch (code) {
    case 'B': return "byte";
    case 'C': return "char";
    case 'D': return "double";
    case 'F': return "float";
    case 'I': return "int";
    case 'J': return "long";
    case 'S': return "short";
    case 'V': return "void";
    case 'Z': return "boolean";
    default: return nullptr;
    }
}

} // namespace

ConstantPool::ConstantPool(ClassInfo* owner_, ByteStream& in, uint16_t count)
    : owner(owner_), mInputs{in.input()}, mText(in.input()->bytes.get()) {
    mSlots.resize(count);
    if (count < 2)
        return;
    uint32_t i = 1;
    ByteStream::Section section(in, "the constant pool entry at index ", i);
    while (i < count) {
        section.setNumber(i);
        const uint8_t tagByte = in.readU1();
        if (!isKnownTag(tagByte)) {
            diagnostics().write("Unknown tag @ " + std::to_string(i) + ":" +
                                std::to_string(tagByte) + ":\n");
            throw util::RuntimeErrorST("Unknown tag");
        }
        const auto tag = static_cast<ConstantTag>(tagByte);
        readSlot(in, i, tag);
        i += slotsOf(tag);
    }
}

// The slot is filled only once its bytes were all there.
void ConstantPool::readSlot(ByteStream& in, uint32_t index, ConstantTag tag) {
    Slot slot;
    slot.tag = tag;
    // Texts, longs and doubles are found again by where their bytes lie in the input.
    uint64_t offset = 0;
    switch (tag) {
    case ConstantTag::Utf8: {
        const uint16_t length = in.readU2();
        offset = in.offset();
        in.skip(length);
        slot.inInput = true;
        slot.textLength = length;
        break;
    }
    case ConstantTag::Unicode: {
        const uint32_t length = in.readU4();
        offset = in.offset();
        in.skip(length);
        slot.inInput = true;
        break;
    }
    case ConstantTag::Long:
    case ConstantTag::Double:
        offset = in.offset();
        in.readU8();
        slot.inInput = true;
        break;
    case ConstantTag::Integer:
    case ConstantTag::Float: slot.payload = in.readU4(); break;
    case ConstantTag::Class:
    case ConstantTag::String: slot.payload = in.readU2(); break;
    case ConstantTag::FieldRef:
    case ConstantTag::MethodRef:
    case ConstantTag::InterfaceMethodRef:
    case ConstantTag::NameAndType: {
        const uint16_t first = in.readU2();
        slot.payload = packIndices(first, in.readU2());
        break;
    }
    }
    if (slot.inInput && offset > UINT32_MAX) {
        // So far into the input the offset does not fit the slot: the entry is made right away.
        slot.inInput = false;
        ArenaPtr<ConstantPoolEntry> entry = makeFromInput(tag, mText + offset);
        mArenaOnlyEntries = true;
        entry->index = index;
        entry->pool = this;
        keepEntry(index, entry.release());
    } else if (slot.inInput) {
        slot.payload = static_cast<uint32_t>(offset);
    }
    mSlots[index] = slot;
}

ConstantPool::~ConstantPool() = default;

void ConstantPool::checkIndex(uint32_t index, const char* what) const {
    if (index >= mSlots.size())
        failRead(
            formatText("pool index not in pool: %d >= %d (%s)", index, mSlots.size(), what),
            formatText(
                "Reading TKB failed: constant pool index %d for %s is outside the pool (size %d)",
                index, what, mSlots.size()));
    if (mSlots[index].tag == NO_TAG)
        failRead(formatText("pool index names an empty slot: %d (%s)", index, what),
                 formatText("Reading TKB failed: constant pool index %d for %s names an empty slot",
                            index, what));
}

const ConstantPoolEntry& ConstantPool::at(uint32_t index, const char* what) const {
    checkIndex(index, what);
    return *entryAt(index);
}

std::string ConstantPool::valueAt(uint32_t index, const char* what) const {
    checkIndex(index, what);
    ResolveDepthGuard guard(index);
    if (const std::optional<std::string_view> text = ownTextAt(index))
        return std::string(*text);
    return entryAt(index)->getValue();
}

std::string_view ConstantPool::textOfOtherEntry(uint32_t index, const char* what,
                                                std::string& scratch) const {
    if (const std::optional<std::string_view> text = ownTextAt(index))
        return *text;
    scratch = valueAt(index, what);
    return scratch;
}

void ConstantPool::failCopiedText(const char* what) {
    failRead(std::string("too much text copied out of the constant pool for ") + what,
             formatText("Reading TKB failed: %s would copy more than %d MiB of text out of the "
                        "constant pool; the file is damaged or hostile",
                        what, MAX_COPIED_TEXT >> 20));
}

std::string ConstantPool::displayValue(uint32_t index) const {
    if (tagAt(index) == NO_TAG)
        return index < size() ? "<empty slot " + std::to_string(index) + ">"
                              : "<index " + std::to_string(index) + " outside the pool>";
    try {
        return valueAt(index, "a displayed value");
    } catch (const std::exception& e) {
        return std::string("<") + e.what() + ">";
    }
}

void ConstantPool::keepInput(const ByteStream& in) const {
    if (mInputs.back() != in.input())
        mInputs.push_back(in.input());
}

void ConstantPool::growAttributeKinds(uint32_t index) const {
    mAttributeKinds.resize(std::max<size_t>(size(), index + 1));
}

uint32_t ConstantPool::add(std::unique_ptr<ConstantPoolEntry> entry) {
    entry->pool = this;
    // Slot 0 stays empty even in a pool that was read with a count of 0.
    const uint32_t newIndex = std::max<uint32_t>(size(), 1);
    const uint32_t newSize = newIndex + (entry->isWide() ? 2 : 1);
    if (newSize > MAX_SIZE)
        failRead("constant pool full",
                 formatText("Reading TKB failed: the constant pool cannot grow beyond %d slots",
                            MAX_SIZE));
    // No entry is ever reused, and the warning is kept once per existing slot. The lines are
    // written as one block cut from a cached run, since files with many StackMap attributes add
    // many entries to a large pool.
    static const std::string warning = "operator== not implemented! always return false\n";
    thread_local std::string warnings;
    const size_t lines = size() > 1 ? size() - 1 : 0;
    while (warnings.size() < lines * warning.size())
        warnings += warning;
    diagnostics().write(std::string_view(warnings).substr(0, lines * warning.size()));
    entry->index = newIndex;
    const ConstantPoolEntry* added = entry.get();
    mAdded.push_back(std::move(entry));
    mSlots.resize(newSize);
    mSlots[newIndex] = slotOf(*added);
    keepEntry(newIndex, added);
    if (owner)
        owner->constant_pool_count = static_cast<uint16_t>(newSize);
    return newIndex;
}

void ConstantPool::releaseModelObjects() {
    // An entry read too far into the input for a slot lives only in the arena.
    if (mArenaOnlyEntries)
        return;
    mEntries.reset();
    for (const auto& added : mAdded)
        keepEntry(added->index, added.get());
    mArena.release();
}

// Typed reads that need more than the header's inline code

std::optional<float> ConstantPool::floatAt(uint32_t index) const {
    if (tagAt(index) != ConstantTag::Float)
        return std::nullopt;
    return fromBits<float>(mSlots[index].payload);
}

std::optional<int64_t> ConstantPool::longAt(uint32_t index) const {
    if (tagAt(index) != ConstantTag::Long)
        return std::nullopt;
    if (!mSlots[index].inInput)
        return static_cast<const CPELong*>(entryAt(index))->value;
    return static_cast<int64_t>(readU8At(mText + mSlots[index].payload));
}

double ConstantPool::heldDoubleAt(uint32_t index) const {
    return static_cast<const CPEDouble*>(entryAt(index))->value;
}

uint32_t ConstantPool::firstClassFailingCheck(uint32_t count) const {
    const uint32_t end = std::min<uint32_t>(count, size());
    for (uint32_t i = 1; i < end; ++i)
        if (mSlots[i].tag == ConstantTag::Class &&
            !CPEClass::passesCheck(mSlots[i].payload, size()))
            return i;
    return 0;
}

std::string_view ConstantPool::heldTextAt(uint32_t index) const {
    const ConstantPoolEntry* entry = entryAt(index);
    if (entry->tag() == ConstantTag::Utf8)
        return static_cast<const CPEUtf8*>(entry)->value;
    return static_cast<const CPEUnicode*>(entry)->value;
}

const CPERef& ConstantPool::refEntry(uint32_t refIndex) const {
    if (!refAt(refIndex))
        throw std::invalid_argument("constant pool index " + std::to_string(refIndex) +
                                    " holds no member reference");
    return static_cast<const CPERef&>(*entryAt(refIndex));
}

uint16_t ConstantPool::classNameIndexOfRefEntry(uint32_t refIndex) const {
    return refEntry(refIndex).classEntry().name_index;
}

ConstantPool::NameAndTypeIndices ConstantPool::nameAndTypeOfRefEntry(uint32_t refIndex) const {
    const CPENameAndType& nameAndType = refEntry(refIndex).nameAndType();
    return NameAndTypeIndices{nameAndType.name_index, nameAndType.descriptor_index};
}

// Entry objects

const ConstantPoolEntry* ConstantPool::entryAt(uint32_t index) const {
    if (mEntries) {
        const auto found = mEntries->find(index);
        if (found != mEntries->end())
            return found->second;
    }
    ArenaPtr<ConstantPoolEntry> entry = makeEntry(index);
    entry->index = index;
    entry->pool = this;
    keepEntry(index, entry.get());
    return entry.release();
}

void ConstantPool::keepEntry(uint32_t index, const ConstantPoolEntry* entry) const {
    if (!mEntries)
        mEntries = std::make_unique<std::unordered_map<uint32_t, const ConstantPoolEntry*>>();
    (*mEntries)[index] = entry;
}

// Only slots whose bytes are in the input come here: the others' objects are kept from the start.
ArenaPtr<ConstantPoolEntry> ConstantPool::makeEntry(uint32_t index) const {
    const Slot slot = mSlots[index];
    const uint16_t first = highHalf(index);
    const uint16_t second = lowHalf(index);
    switch (slot.tag) {
    case ConstantTag::Utf8:
    case ConstantTag::Unicode:
    case ConstantTag::Long:
    case ConstantTag::Double: return makeFromInput(slot.tag, mText + slot.payload);
    case ConstantTag::Integer:
        return makeInArena<CPEInteger>(mArena, static_cast<int32_t>(slot.payload));
    case ConstantTag::Float: return makeInArena<CPEFloat>(mArena, fromBits<float>(slot.payload));
    case ConstantTag::Class: return makeInArena<CPEClass>(mArena, second);
    case ConstantTag::String: return makeInArena<CPEString>(mArena, second);
    case ConstantTag::FieldRef: return makeInArena<CPEFieldRef>(mArena, first, second);
    case ConstantTag::MethodRef: return makeInArena<CPEMethodRef>(mArena, first, second);
    case ConstantTag::InterfaceMethodRef:
        return makeInArena<CPEInterfaceMethodRef>(mArena, first, second);
    case ConstantTag::NameAndType: return makeInArena<CPENameAndType>(mArena, first, second);
    }
    throw std::logic_error("constant pool entry made for an empty slot");
}

// bytes is the text of a Utf8 or Unicode entry, after its length, or the eight bytes of a long or
// double.
ArenaPtr<ConstantPoolEntry> ConstantPool::makeFromInput(ConstantTag tag, const char* bytes) const {
    switch (tag) {
    case ConstantTag::Utf8:
        return makeInArena<CPEUtf8>(mArena,
                                    InputText{std::string_view(bytes, readU2At(bytes - 2))});
    case ConstantTag::Unicode:
        return makeInArena<CPEUnicode>(mArena,
                                       InputText{std::string_view(bytes, readU4At(bytes - 4))});
    case ConstantTag::Long:
        return makeInArena<CPELong>(mArena, static_cast<int64_t>(readU8At(bytes)));
    case ConstantTag::Double:
        return makeInArena<CPEDouble>(mArena, fromBits<double>(readU8At(bytes)));
    default: throw std::logic_error("constant pool entry of this kind has no bytes in the input");
    }
}

ConstantPool::Slot ConstantPool::slotOf(const ConstantPoolEntry& entry) {
    Slot slot;
    slot.tag = entry.tag();
    switch (entry.tag()) {
    case ConstantTag::Integer:
        slot.payload = static_cast<uint32_t>(static_cast<const CPEInteger&>(entry).value);
        break;
    case ConstantTag::Float:
        slot.payload = bitsOf(static_cast<const CPEFloat&>(entry).value);
        break;
    case ConstantTag::Class: slot.payload = static_cast<const CPEClass&>(entry).name_index; break;
    case ConstantTag::String:
        slot.payload = static_cast<const CPEString&>(entry).string_index;
        break;
    case ConstantTag::FieldRef:
    case ConstantTag::MethodRef:
    case ConstantTag::InterfaceMethodRef: {
        const auto& ref = static_cast<const CPERef&>(entry);
        slot.payload = packIndices(ref.classIndex, ref.nameAndTypeIndex);
        break;
    }
    case ConstantTag::NameAndType: {
        const auto& nameAndType = static_cast<const CPENameAndType&>(entry);
        slot.payload = packIndices(nameAndType.name_index, nameAndType.descriptor_index);
        break;
    }
    default: break;
    }
    return slot;
}

std::string ConstantPool::parseFieldType(const std::string& descriptor,
                                         std::vector<std::string>& names) {
    // Array dimensions are counted rather than recursed into, so a long run of "[" cannot exhaust
    // the stack.
    size_t dims = 0;
    while (dims < descriptor.size() && descriptor[dims] == '[')
        ++dims;
    const std::string element = descriptor.substr(dims);
    std::string name;
    std::string rest;
    const char first = element.empty() ? '\0' : element[0];
    if (const char* primitive = primitiveName(first)) {
        name = primitive;
        rest = element.substr(1);
    } else if (first == 'L') {
        const size_t end = element.find(';');
        if (end == std::string::npos)
            failRead("unterminated class name in field type:" + element,
                     "Reading TKB failed: Unknown field type: " + element);
        name = element.substr(1, end - 1);
        std::replace(name.begin(), name.end(), '/', '.');
        rest = element.substr(end + 1);
    } else {
        failRead(element.empty() ? std::string("unknown field type:")
                                 : "unknown field type:" + element.substr(0, 1),
                 "Reading TKB failed: Unknown field type: " + element);
    }
    if (dims > 0) {
        const char code = primitiveCode(name);
        name = std::string(dims, '[') + (code ? std::string(1, code) : name);
    }
    names.push_back(std::move(name));
    return rest;
}

} // namespace classfile

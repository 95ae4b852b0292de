#include "classfile/ConstantPool.h"

#include <algorithm>
#include <cstring>

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

ArenaPtr<ConstantPoolEntry> readEntry(ByteStream& in, ConstantTag tag, Arena& arena) {
    switch (tag) {
    case ConstantTag::Utf8: {
        const uint16_t length = in.readU2();
        return makeInArena<CPEUtf8>(arena, InputText{in.readView(length)});
    }
    case ConstantTag::Unicode: {
        const uint32_t length = in.readU4();
        return makeInArena<CPEUnicode>(arena, InputText{in.readView(length)});
    }
    case ConstantTag::Integer:
        return makeInArena<CPEInteger>(arena, static_cast<int32_t>(in.readU4()));
    case ConstantTag::Float: {
        const uint32_t bits = in.readU4();
        float value;
        static_assert(sizeof value == sizeof bits, "float must be 32-bit IEEE 754");
        std::memcpy(&value, &bits, sizeof bits);
        return makeInArena<CPEFloat>(arena, value);
    }
    case ConstantTag::Long: return makeInArena<CPELong>(arena, static_cast<int64_t>(in.readU8()));
    case ConstantTag::Double: {
        const uint64_t bits = in.readU8();
        double value;
        static_assert(sizeof value == sizeof bits, "double must be 64-bit IEEE 754");
        std::memcpy(&value, &bits, sizeof bits);
        return makeInArena<CPEDouble>(arena, value);
    }
    case ConstantTag::Class: return makeInArena<CPEClass>(arena, in.readU2());
    case ConstantTag::String: return makeInArena<CPEString>(arena, in.readU2());
    case ConstantTag::FieldRef:
    case ConstantTag::MethodRef:
    case ConstantTag::InterfaceMethodRef:
    case ConstantTag::NameAndType: {
        const uint16_t first = in.readU2();
        const uint16_t second = in.readU2();
        if (tag == ConstantTag::FieldRef)
            return makeInArena<CPEFieldRef>(arena, first, second);
        if (tag == ConstantTag::MethodRef)
            return makeInArena<CPEMethodRef>(arena, first, second);
        if (tag == ConstantTag::InterfaceMethodRef)
            return makeInArena<CPEInterfaceMethodRef>(arena, first, second);
        return makeInArena<CPENameAndType>(arena, first, second);
    }
    }
    return nullptr;
}

} // namespace

// The payload sizes of readEntry: the two texts are a length of 2 or 4 bytes and that many bytes,
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
    : owner(owner_), mInputs{in.input()} {
    entries.resize(count);
    if (count < 2)
        return;
    uint32_t i = 1;
    ByteStream::Section section(in, "the constant pool entry at index ", i);
    while (i < count) {
        section.setNumber(i);
        const uint8_t tag = in.readU1();
        if (!isKnownTag(tag)) {
            diagnostics().write("Unknown tag @ " + std::to_string(i) + ":" + std::to_string(tag) +
                                ":\n");
            throw util::RuntimeErrorST("Unknown tag");
        }
        auto entry = readEntry(in, static_cast<ConstantTag>(tag), mArena);
        entry->index = i;
        entry->pool = this;
        entries[i] = std::move(entry);
        i += slotsOf(static_cast<ConstantTag>(tag));
    }
}

ConstantPool::~ConstantPool() = default;

const ConstantPoolEntry& ConstantPool::at(uint32_t index, const char* what) const {
    if (index >= entries.size())
        failRead(
            formatText("pool index not in pool: %d >= %d (%s)", index, entries.size(), what),
            formatText(
                "Reading TKB failed: constant pool index %d for %s is outside the pool (size %d)",
                index, what, entries.size()));
    if (!entries[index])
        failRead(formatText("pool index names an empty slot: %d (%s)", index, what),
                 formatText("Reading TKB failed: constant pool index %d for %s names an empty slot",
                            index, what));
    return *entries[index];
}

std::string ConstantPool::valueAt(uint32_t index, const char* what) const {
    const ConstantPoolEntry& entry = at(index, what);
    ResolveDepthGuard guard(index);
    return entry.getValue();
}

std::string_view ConstantPool::textOfOtherEntry(uint32_t index, const char* what,
                                                std::string& scratch) const {
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
    if (!get(index))
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
    entries.resize(newSize);
    entry->index = newIndex;
    entries[newIndex] = ArenaPtr<ConstantPoolEntry>(entry.get());
    mAdded.push_back(std::move(entry));
    if (owner)
        owner->constant_pool_count = static_cast<uint16_t>(newSize);
    return newIndex;
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

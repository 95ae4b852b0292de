#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "classfile/Arena.h"
#include "classfile/ByteCursor.h"
#include "classfile/ByteStream.h"
#include "classfile/ConstantPoolEntry.h"

namespace classfile {

class ClassInfo;

/// The tag of an empty slot or an index outside the pool.
constexpr ConstantTag NO_TAG = static_cast<ConstantTag>(0);

/// The constant pool of one class file: owns its entries, indexed from 1 as in the file, and the
/// arena in which they and every other object read from the file live, together with the inputs
/// whose bytes they view.
///
/// Reading keeps eight bytes per slot: the tag and a payload (a number, indices, or where the
/// bytes lie in the input). The typed reads (tagAt, textAt, integerAt, refAt, ...) answer from
/// these alone; entry objects are made only when get or at asks for one. Making them changes the
/// pool, so one pool must not be read from two threads at once, even through const: each reader
/// of a file builds a model of its own.
class ConstantPool {
public:
    /// The format's pool indices are 16-bit; the pool never grows past this many slots.
    static constexpr uint32_t MAX_SIZE = 0xFFFF;
    /// Most text that one file may make the reader copy out of the pool into records of their own.
    /// Records take a few bytes and may all name the same long text, so without a cap a small file
    /// could fill the memory; real files copy a few kilobytes.
    static constexpr size_t MAX_COPIED_TEXT = size_t{64} << 20;

    /// Reads entries until the pool holds count slots. owner may be null for a pool read on its
    /// own.
    ConstantPool(ClassInfo* owner, ByteStream& in, uint16_t count);
    virtual ~ConstantPool();
    ConstantPool(const ConstantPool&) = delete;
    ConstantPool& operator=(const ConstantPool&) = delete;

    /// The entry at index, or null for an empty slot or an index outside the pool. Entries are
    /// made on first request and kept: the same index always gives the same object.
    const ConstantPoolEntry* get(uint32_t index) const {
        return tagAt(index) == NO_TAG ? nullptr : entryAt(index);
    }
    /// Checked lookup for indices that come from the file: raises a runtime error naming what and
    /// the index when the index lies outside the pool or names an empty slot.
    const ConstantPoolEntry& at(uint32_t index, const char* what) const;
    /// getValue of the entry at a checked index. Chains of references are followed only to a small
    /// depth, so that entries referring to each other in a cycle fail instead of recursing forever.
    std::string valueAt(uint32_t index, const char* what) const;
    /// valueAt without a copy where none is needed: the own text of a Utf8 or Unicode entry,
    /// otherwise valueAt's result, kept in scratch. Fails as valueAt does. (Utf8 and Unicode texts
    /// refer to nothing, so they need no guard against reference cycles; textAt is never part of a
    /// chain of references.) Inline for a Utf8 text in the input, what nearly every lookup finds.
    std::string_view textAt(uint32_t index, const char* what, std::string& scratch) const {
        if (index < mSlots.size()) {
            const Slot& slot = mSlots[index];
            if (slot.tag == ConstantTag::Utf8 && slot.inInput)
                return std::string_view(mText + slot.payload, slot.textLength);
        }
        return textOfOtherEntry(index, what, scratch);
    }

    // Typed reads of a slot. They make no entry objects; each gives nothing for an empty slot, an
    // index outside the pool or an entry of another kind.

    /// The kind of entry at index; NO_TAG for an empty slot or an index outside the pool.
    ConstantTag tagAt(uint32_t index) const {
        return index < mSlots.size() ? mSlots[index].tag : NO_TAG;
    }
    /// The text of a Utf8 or Unicode entry; it lives as long as the pool. A Utf8 text in the input
    /// is found from its slot alone.
    std::optional<std::string_view> ownTextAt(uint32_t index) const {
        if (index >= mSlots.size())
            return std::nullopt;
        const Slot slot = mSlots[index];
        if (slot.tag == ConstantTag::Utf8 && slot.inInput)
            return std::string_view(mText + slot.payload, slot.textLength);
        if (slot.tag != ConstantTag::Utf8 && slot.tag != ConstantTag::Unicode)
            return std::nullopt;
        if (!slot.inInput)
            return heldTextAt(index);
        const char* text = mText + slot.payload;
        return std::string_view(text, readU4At(text - 4));
    }
    std::optional<int32_t> integerAt(uint32_t index) const {
        if (tagAt(index) != ConstantTag::Integer)
            return std::nullopt;
        return static_cast<int32_t>(mSlots[index].payload);
    }
    std::optional<float> floatAt(uint32_t index) const;
    std::optional<int64_t> longAt(uint32_t index) const;
    /// Inline for the annotation arguments, which read a double each.
    std::optional<double> doubleAt(uint32_t index) const {
        if (index >= mSlots.size() || mSlots[index].tag != ConstantTag::Double)
            return std::nullopt;
        if (!mSlots[index].inInput)
            return heldDoubleAt(index);
        const uint64_t bits = uint64_t{readU4At(mText + mSlots[index].payload)} << 32 |
                              readU4At(mText + mSlots[index].payload + 4);
        double value;
        static_assert(sizeof value == sizeof bits, "double must be 64-bit IEEE 754");
        std::memcpy(&value, &bits, sizeof bits);
        return value;
    }
    /// The name index of a Class entry.
    std::optional<uint16_t> classNameIndexAt(uint32_t index) const {
        return indexOf(index, ConstantTag::Class);
    }
    /// The text index of a String entry.
    std::optional<uint16_t> stringIndexAt(uint32_t index) const {
        return indexOf(index, ConstantTag::String);
    }
    /// The two indices of a field, method or interface method reference.
    struct RefIndices {
        uint16_t classIndex;
        uint16_t nameAndTypeIndex;
    };
    std::optional<RefIndices> refAt(uint32_t index) const {
        const ConstantTag tag = tagAt(index);
        if (tag != ConstantTag::FieldRef && tag != ConstantTag::MethodRef &&
            tag != ConstantTag::InterfaceMethodRef)
            return std::nullopt;
        return RefIndices{highHalf(index), lowHalf(index)};
    }
    /// The two indices of a NameAndType entry.
    struct NameAndTypeIndices {
        uint16_t nameIndex;
        uint16_t descriptorIndex;
    };
    std::optional<NameAndTypeIndices> nameAndTypeAt(uint32_t index) const {
        if (tagAt(index) != ConstantTag::NameAndType)
            return std::nullopt;
        return NameAndTypeIndices{highHalf(index), lowHalf(index)};
    }
    /// The name index of the class that the reference at refIndex names; when it names no Class
    /// entry, fails as CPERef::classEntry does. Raises std::invalid_argument when refIndex holds no
    /// reference (see refAt).
    uint16_t classNameIndexOfRef(uint32_t refIndex) const {
        if (const std::optional<RefIndices> ref = refAt(refIndex))
            if (const std::optional<uint16_t> name = classNameIndexAt(ref->classIndex))
                return *name;
        return classNameIndexOfRefEntry(refIndex);
    }
    /// The name and type that the reference at refIndex names; when it names no NameAndType
    /// entry, fails as CPERef::nameAndType does. Raises std::invalid_argument when refIndex holds
    /// no reference (see refAt).
    NameAndTypeIndices nameAndTypeOfRef(uint32_t refIndex) const {
        if (const std::optional<RefIndices> ref = refAt(refIndex))
            if (const std::optional<NameAndTypeIndices> nat = nameAndTypeAt(ref->nameAndTypeIndex))
                return *nat;
        return nameAndTypeOfRefEntry(refIndex);
    }

    /// Counts bytes of pool text that a record keeps a copy of; raises a runtime error naming what
    /// once the copies of this pool's file pass MAX_COPIED_TEXT.
    void countCopiedText(size_t bytes, const char* what) {
        if (bytes > MAX_COPIED_TEXT - mCopiedText)
            failCopiedText(what);
        mCopiedText += bytes;
    }
    /// The value at index for diagnostic texts: never throws, shows a marker for a bad index.
    std::string displayValue(uint32_t index) const;

    /// Gives the arena's memory back: the members, attributes and entry objects read or made with
    /// this pool. Only for a pool whose class model is gone (ClassInfo::keepPoolOnly): reads go on
    /// as before, and entries are made again when asked for. The arena stays when an entry lives
    /// nowhere else (one whose bytes lie too far into the input for a slot).
    void releaseModelObjects();

    /// The first index below count of a class entry that fails CPEClass::passesCheck, or 0.
    uint32_t firstClassFailingCheck(uint32_t count) const;

    /// Entry objects made so far, the added ones included.
    size_t entryObjectCount() const { return mEntries ? mEntries->size() : 0; }

    /// Number of slots, slot 0 included.
    uint32_t size() const { return static_cast<uint32_t>(mSlots.size()); }

    /// Appends an entry (never reusing an existing one) and returns its index; keeps the owner's
    /// constant_pool_count equal to the new size. Writes one warning line per existing slot.
    uint32_t add(std::unique_ptr<ConstantPoolEntry> entry);

    /// Where the objects read with this pool live.
    Arena& arena() const { return mArena; }
    /// Keeps the input of in alive as long as the pool, for objects that view its bytes.
    void keepInput(const ByteStream& in) const;
    /// The attribute kind that the name at index was found to name, plus one; 0 while unknown.
    /// The attribute factory looks each name up once.
    uint8_t& attributeKindOf(uint32_t index) const {
        if (mAttributeKinds.size() <= index)
            growAttributeKinds(index);
        return mAttributeKinds[index];
    }

    /// Steps over the payload of one entry of tag (its tag byte already read) exactly as the
    /// constructor reads it, building nothing; false when the bytes end first.
    static bool skipEntry(ByteCursor& in, ConstantTag tag);

    /// The pool listing.
    void print(std::ostream& os) const;

    /// Consumes one field type from the front of descriptor, appends its type name to names
    /// ("int", "java.lang.String", "[I", "[java.lang.String") and returns the rest.
    static std::string parseFieldType(const std::string& descriptor,
                                      std::vector<std::string>& names);

    /// The class being read; not owned, may be null.
    ClassInfo* owner;
    /// The class file's this_class index.
    uint32_t thisClassIndex = 0;

private:
    /// What the pool keeps of one slot. Slot 0 and the slot after a long or double are empty.
    struct Slot {
        ConstantTag tag = NO_TAG;
        /// Whether payload is the offset in the pool's input of the entry's bytes (the text of a
        /// Utf8 or Unicode entry, the eight bytes of a long or double). Otherwise those four kinds
        /// live only as entry objects (added ones, or bytes too far into the input).
        bool inInput = false;
        /// The length of a Utf8 text in the input.
        uint16_t textLength = 0;
        /// Integer and Float: the bits; Class and String: the index; references and NameAndType:
        /// the first index in the high half, the second in the low half.
        uint32_t payload = 0;
    };
    static_assert(sizeof(Slot) == 8, "a slot takes eight bytes");

    static uint16_t readU2At(const char* at) {
        const auto* p = reinterpret_cast<const uint8_t*>(at);
        return static_cast<uint16_t>(p[0] << 8 | p[1]);
    }
    static uint32_t readU4At(const char* at) {
        const auto* p = reinterpret_cast<const uint8_t*>(at);
        return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
    }
    uint16_t highHalf(uint32_t index) const {
        return static_cast<uint16_t>(mSlots[index].payload >> 16);
    }
    uint16_t lowHalf(uint32_t index) const {
        return static_cast<uint16_t>(mSlots[index].payload);
    }
    std::optional<uint16_t> indexOf(uint32_t index, ConstantTag tag) const {
        if (tagAt(index) != tag)
            return std::nullopt;
        return static_cast<uint16_t>(mSlots[index].payload);
    }

    void readSlot(ByteStream& in, uint32_t index, ConstantTag tag);
    /// Raises at's errors for an index outside the pool or an empty slot.
    void checkIndex(uint32_t index, const char* what) const;
    /// The entry object of a filled slot, made on first request.
    const ConstantPoolEntry* entryAt(uint32_t index) const;
    ArenaPtr<ConstantPoolEntry> makeEntry(uint32_t index) const;
    ArenaPtr<ConstantPoolEntry> makeFromInput(ConstantTag tag, const char* bytes) const;
    void keepEntry(uint32_t index, const ConstantPoolEntry* entry) const;
    /// The slot of an entry that add takes over.
    static Slot slotOf(const ConstantPoolEntry& entry);
    std::string_view heldTextAt(uint32_t index) const;
    double heldDoubleAt(uint32_t index) const;
    std::string_view textOfOtherEntry(uint32_t index, const char* what,
                                      std::string& scratch) const;
    /// The slow paths of the two lookups through a reference: its entry object raises the error.
    const CPERef& refEntry(uint32_t refIndex) const;
    uint16_t classNameIndexOfRefEntry(uint32_t refIndex) const;
    NameAndTypeIndices nameAndTypeOfRefEntry(uint32_t refIndex) const;

    mutable std::vector<std::shared_ptr<const ByteStream::Input>> mInputs;
    /// The bytes of the input the pool was read from; text slots hold offsets into it.
    const char* mText = nullptr;
    mutable Arena mArena;
    std::vector<Slot> mSlots;
    /// The entry objects made so far, by index; none until the first is asked for.
    mutable std::unique_ptr<std::unordered_map<uint32_t, const ConstantPoolEntry*>> mEntries;
    /// Whether an entry read from the file lives only in the arena (see releaseModelObjects).
    bool mArenaOnlyEntries = false;
    /// The entries that add took over.
    std::vector<std::unique_ptr<ConstantPoolEntry>> mAdded;
    [[noreturn]] static void failCopiedText(const char* what);
    void growAttributeKinds(uint32_t index) const;

    mutable std::vector<uint8_t> mAttributeKinds;
    size_t mCopiedText = 0;
};

} // namespace classfile

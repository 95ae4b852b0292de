#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "classfile/Arena.h"
#include "classfile/ByteCursor.h"
#include "classfile/ByteStream.h"
#include "classfile/ConstantPoolEntry.h"

namespace classfile {

class ClassInfo;

/// The constant pool of one class file: owns its entries, indexed from 1 as in the file, and the
/// arena in which they and every other object read from the file live, together with the inputs
/// whose bytes they view.
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

    /// The entry at index, or null for an empty slot or an index outside the pool.
    const ConstantPoolEntry* get(uint32_t index) const {
        return index < entries.size() ? entries[index].get() : nullptr;
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
    /// chain of references.)
    std::string_view textAt(uint32_t index, const char* what, std::string& scratch) const {
        const ConstantPoolEntry* entry = get(index);
        if (entry) {
            if (entry->tag() == ConstantTag::Utf8)
                return static_cast<const CPEUtf8*>(entry)->value;
            if (entry->tag() == ConstantTag::Unicode)
                return static_cast<const CPEUnicode*>(entry)->value;
        }
        return textOfOtherEntry(index, what, scratch);
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

    /// Number of slots, slot 0 included.
    uint32_t size() const { return static_cast<uint32_t>(entries.size()); }

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
    /// Entries by pool index; slot 0 and the slot after a long or double are empty.
    std::vector<ArenaPtr<ConstantPoolEntry>> entries;
    /// The class file's this_class index.
    uint32_t thisClassIndex = 0;

private:
    std::string_view textOfOtherEntry(uint32_t index, const char* what,
                                      std::string& scratch) const;

    mutable std::vector<std::shared_ptr<const ByteStream::Input>> mInputs;
    mutable Arena mArena;
    /// The entries that add took over; entries refers to them.
    std::vector<std::unique_ptr<ConstantPoolEntry>> mAdded;
    [[noreturn]] static void failCopiedText(const char* what);
    void growAttributeKinds(uint32_t index) const;

    mutable std::vector<uint8_t> mAttributeKinds;
    size_t mCopiedText = 0;
};

} // namespace classfile

#pragma once

// Annotations read in place. Rule files are mostly annotation bytes, and a tree object per element
// value would take many times the bytes it describes, so the annotation attributes keep their
// bytes and hand out views of them. The bytes are walked once, through the ByteStream, when the
// attribute is read: that walk raises every error the reading can raise (end of input, nesting too
// deep), so a view only ever moves over bytes known to hold a complete annotation.

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "classfile/ByteCursor.h"

namespace classfile {

class ByteStream;
class ConstantPool;
class AnnotationView;

/// Nesting of annotations and arrays beyond this many levels is refused.
constexpr unsigned MAX_ANNOTATION_DEPTH = 64;

/// The size of an element value of each tag that has no nested values, tag byte included; 0 for
/// '@' and '[', which nest. Any other byte ends the value, so its size is 1.
struct FlatValueSizes {
    uint8_t bytes[256];
    constexpr FlatValueSizes() : bytes() {
        for (int t = 0; t < 256; ++t)
            bytes[t] = 1;
        for (const char t : {'B', 'C', 'D', 'F', 'I', 'J', 'S', 'Z', 's', 'c'})
            bytes[static_cast<uint8_t>(t)] = 3;
        bytes[static_cast<uint8_t>('e')] = 5;
        bytes[static_cast<uint8_t>('@')] = 0;
        bytes[static_cast<uint8_t>('[')] = 0;
    }
};
inline constexpr FlatValueSizes FLAT_VALUE_SIZES;

/// One element value; named when it is a member of an annotation's pairs.
class ElementValueView {
public:
    ElementValueView(const uint8_t* at, bool named) : mAt(at), mNamed(named) {}

    /// The element values of an annotation's pairs or of an array, in file order.
    class Range {
    public:
        class iterator {
        public:
            iterator(const uint8_t* at, uint32_t left, bool named)
                : mAt(at), mLeft(left), mNamed(named) {}
            ElementValueView operator*() const { return ElementValueView(mAt, mNamed); }
            /// The last value's end is never needed, so it is not looked for.
            iterator& operator++() {
                if (--mLeft > 0)
                    mAt = ElementValueView(mAt, mNamed).end();
                return *this;
            }
            /// As ++, for a reader that has walked the current value and knows where it ends.
            void moveTo(const uint8_t* next) {
                --mLeft;
                mAt = next;
            }
            bool operator!=(const iterator& other) const { return mLeft != other.mLeft; }

        private:
            const uint8_t* mAt;
            uint32_t mLeft;
            bool mNamed;
        };

        Range(const uint8_t* first, uint16_t count, bool named)
            : mFirst(first), mCount(count), mNamed(named) {}
        iterator begin() const { return iterator(mFirst, mCount, mNamed); }
        iterator end() const { return iterator(nullptr, 0, mNamed); }
        uint16_t size() const { return mCount; }
        bool empty() const { return mCount == 0; }

    private:
        const uint8_t* mFirst;
        uint16_t mCount;
        bool mNamed;
    };


    bool named() const { return mNamed; }
    /// 0 when not named.
    uint16_t elementNameIndex() const { return mNamed ? loadU2(mAt) : 0; }
    /// 'B', 'C', 'D', 'F', 'I', 'J', 'S', 'Z', 's', 'e', 'c', '@', '[' or any other byte, which
    /// ends the value.
    uint8_t tag() const { return *body(); }
    /// The payload fields; 0 for a value of another tag.
    uint16_t constValueIndex() const { return isConstantTag(tag()) ? loadU2(body() + 1) : 0; }
    uint16_t typeNameIndex() const { return tag() == 'e' ? loadU2(body() + 1) : 0; }
    uint16_t constNameIndex() const { return tag() == 'e' ? loadU2(body() + 3) : 0; }
    uint16_t classInfoIndex() const { return tag() == 'c' ? loadU2(body() + 1) : 0; }
    uint16_t numValues() const { return tag() == '[' ? loadU2(body() + 1) : 0; }
    /// Tag '@' only.
    AnnotationView annotationValue() const;
    /// The members of an array value ('['); none for any other tag.
    Range values() const;

    /// The first byte after the value. Inline for the flat values that nearly all are.
    const uint8_t* end() const {
        const uint8_t flat = FLAT_VALUE_SIZES.bytes[*body()];
        return flat ? body() + flat : nestedEnd();
    }

    /// As AnnotationView::read, for one element value.
    static ElementValueView read(ByteStream& in, bool named, unsigned depth = 0);

    /// The primitive and string constant tags, which carry a const_value_index: the flat ones of
    /// three bytes but 'c'.
    static bool isConstantTag(uint8_t tag) { return FLAT_VALUE_SIZES.bytes[tag] == 3 && tag != 'c'; }

private:
    const uint8_t* body() const { return mNamed ? mAt + 2 : mAt; }
    const uint8_t* nestedEnd() const;

    const uint8_t* mAt;
    bool mNamed;
};

/// One annotation: its type and its named element values.
class AnnotationView {
public:
    explicit AnnotationView(const uint8_t* at) : mAt(at) {}

    /// Pool index of the type descriptor (a Utf8 entry in a well-formed file).
    uint16_t typeIndex() const { return loadU2(mAt); }
    uint16_t numElementValuePairs() const { return loadU2(mAt + 2); }
    ElementValueView::Range elementValuePairs() const {
        return ElementValueView::Range(mAt + 4, numElementValuePairs(), true);
    }

    /// The first byte after the annotation.
    const uint8_t* end() const;

    /// Walks one annotation at the stream's position with the stream's own reads, so that input
    /// ending inside it or nesting deeper than MAX_ANNOTATION_DEPTH raises the reader's errors, and
    /// returns its view. depth counts the enclosing annotations and arrays.
    static AnnotationView read(ByteStream& in, unsigned depth = 0);

    // read runs the first of two walks, and the second only when the first finds a fault; end runs
    // a third without any tests. They are apart for speed and must agree.

    /// What measure returns for an annotation that does not lie whole in its bytes or nests too
    /// deep.
    static constexpr size_t NOT_WHOLE = SIZE_MAX;
    /// The size of the annotation at the start of the size bytes at bytes, or NOT_WHOLE.
    static size_t measure(const uint8_t* bytes, size_t size, unsigned depth = 0);
    /// Moves the stream past one annotation with its own reads, raising the reader's errors.
    static void walk(ByteStream& in, unsigned depth = 0);

    /// A counted run of annotations, as an annotation attribute holds them.
    class Range {
    public:
        class iterator {
        public:
            iterator(const uint8_t* at, uint32_t left) : mAt(at), mLeft(left) {}
            AnnotationView operator*() const { return AnnotationView(mAt); }
            iterator& operator++() {
                if (--mLeft > 0)
                    mAt = AnnotationView(mAt).end();
                return *this;
            }
            bool operator!=(const iterator& other) const { return mLeft != other.mLeft; }

        private:
            const uint8_t* mAt;
            uint32_t mLeft;
        };

        Range() = default;
        Range(const uint8_t* first, uint16_t count) : mFirst(first), mCount(count) {}
        iterator begin() const { return iterator(mFirst, mCount); }
        iterator end() const { return iterator(nullptr, 0); }
        uint16_t size() const { return mCount; }
        bool empty() const { return mCount == 0; }

    private:
        const uint8_t* mFirst = nullptr;
        uint16_t mCount = 0;
    };

private:
    const uint8_t* mAt;
};

inline AnnotationView ElementValueView::annotationValue() const {
    return AnnotationView(body() + 1);
}

inline ElementValueView::Range ElementValueView::values() const {
    return Range(body() + 3, numValues(), false);
}

} // namespace classfile

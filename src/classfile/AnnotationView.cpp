#include "classfile/AnnotationView.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"
#include "classfile/ReadError.h"

namespace classfile {

namespace {

[[noreturn]] void failTooDeep() {
    failRead("annotation nesting too deep",
             formatText("Reading TKB failed: annotations nest deeper than %d levels",
                        MAX_ANNOTATION_DEPTH));
}

void enterLevel(unsigned depth) {
    if (depth > MAX_ANNOTATION_DEPTH)
        failTooDeep();
}

void walkAnnotation(ByteStream& in, unsigned depth);

// Reads past one element value in the order its fields come; an unrecognised tag ends it.
void walkElementValue(ByteStream& in, bool named, unsigned depth) {
    if (named)
        in.readU2();
    const uint8_t tag = in.readU1();
    if (ElementValueView::isConstantTag(tag) || tag == 'c') {
        in.readU2();
    } else if (tag == 'e') {
        in.readU2();
        in.readU2();
    } else if (tag == '@') {
        walkAnnotation(in, depth + 1);
    } else if (tag == '[') {
        enterLevel(depth + 1);
        const uint16_t count = in.readU2();
        for (uint16_t i = 0; i < count; ++i)
            walkElementValue(in, false, depth + 1);
    }
}

void walkAnnotation(ByteStream& in, unsigned depth) {
    enterLevel(depth);
    in.readU2();
    const uint16_t pairs = in.readU2();
    for (uint16_t i = 0; i < pairs; ++i)
        walkElementValue(in, true, depth);
}

} // namespace

bool ElementValueView::isConstantTag(uint8_t tag) {
    switch (tag) {
    case 'B':
    case 'C':
    case 'D':
    case 'F':
    case 'I':
    case 'J':
    case 'S':
    case 'Z':
    case 's': return true;
    default: return false;
    }
}

namespace {

// The size of a value of each tag that has no nested values, tag byte included; 0 for '@' and
// '[', which nest.
struct FlatSizes {
    uint8_t bytes[256];
    constexpr FlatSizes() : bytes() {
        for (int t = 0; t < 256; ++t)
            bytes[t] = 1;
        for (const char t : {'B', 'C', 'D', 'F', 'I', 'J', 'S', 'Z', 's', 'c'})
            bytes[static_cast<uint8_t>(t)] = 3;
        bytes[static_cast<uint8_t>('e')] = 5;
        bytes[static_cast<uint8_t>('@')] = 0;
        bytes[static_cast<uint8_t>('[')] = 0;
    }
};
constexpr FlatSizes FLAT_SIZES;

// The end of the unnamed value at p.
const uint8_t* endOfValue(const uint8_t* p) {
    const uint8_t flat = FLAT_SIZES.bytes[*p];
    if (flat)
        return p + flat;
    if (*p == '@')
        return AnnotationView(p + 1).end();
    const uint8_t* q = p + 3;
    for (uint16_t left = loadU2(p + 1); left > 0; --left) {
        const uint8_t size = FLAT_SIZES.bytes[*q];
        q = size ? q + size : endOfValue(q);
    }
    return q;
}

const uint8_t* annotationEndWithin(const uint8_t* p, const uint8_t* end, unsigned depth);

// The end of the unnamed value at p when the value lies whole before end and nests no deeper than
// the reader allows; nullptr otherwise. The stream's walk then runs to raise the error.
const uint8_t* valueEndWithin(const uint8_t* p, const uint8_t* end, unsigned depth) {
    if (p == end)
        return nullptr;
    const uint8_t flat = FLAT_SIZES.bytes[*p];
    if (flat)
        return end - p >= flat ? p + flat : nullptr;
    if (*p == '@')
        return annotationEndWithin(p + 1, end, depth + 1);
    if (depth + 1 > MAX_ANNOTATION_DEPTH || end - p < 3)
        return nullptr;
    uint16_t left = loadU2(p + 1);
    p += 3;
    for (; left > 0; --left) {
        if (p == end)
            return nullptr;
        const uint8_t size = FLAT_SIZES.bytes[*p];
        if (size) {
            if (end - p < size)
                return nullptr;
            p += size;
        } else if (!(p = valueEndWithin(p, end, depth + 1))) {
            return nullptr;
        }
    }
    return p;
}

const uint8_t* annotationEndWithin(const uint8_t* p, const uint8_t* end, unsigned depth) {
    if (depth > MAX_ANNOTATION_DEPTH || end - p < 4)
        return nullptr;
    uint16_t left = loadU2(p + 2);
    p += 4;
    for (; left > 0; --left) {
        if (end - p < 2 || !(p = valueEndWithin(p + 2, end, depth)))
            return nullptr;
    }
    return p;
}

} // namespace

const uint8_t* ElementValueView::end() const {
    return endOfValue(body());
}

void ElementValueView::print(std::ostream& os, const ConstantPool& pool) const {
    if (mNamed)
        os << "name=" << pool.displayValue(elementNameIndex()) << "; ";
    const uint8_t t = tag();
    os << "tag='" << static_cast<char>(t) << "'";
    if (isConstantTag(t)) {
        os << " [" << pool.displayValue(constValueIndex()) << "]";
    } else if (t == 'c') {
        os << " [" << pool.displayValue(classInfoIndex()) << "]";
    } else if (t == 'e') {
        os << " [" << pool.displayValue(typeNameIndex()) << " "
           << pool.displayValue(constNameIndex()) << "]";
    } else if (t == '@') {
        os << " [";
        annotationValue().print(os, pool);
        os << "]";
    } else if (t == '[') {
        os << "; num_values=" << numValues() << "; values=";
        size_t i = 0;
        for (const ElementValueView value : values()) {
            os << " [" << i++ << "]={";
            value.print(os, pool);
            os << "};";
        }
    }
}

const uint8_t* AnnotationView::end() const {
    const uint8_t* p = mAt + 4;
    for (uint16_t left = numElementValuePairs(); left > 0; --left)
        p = endOfValue(p + 2);
    return p;
}

void AnnotationView::print(std::ostream& os, const ConstantPool& pool) const {
    os << "type_index=" << typeIndex() << " [" << pool.displayValue(typeIndex())
       << "]; num_element_value_pairs=" << numElementValuePairs() << "; element_value_pairs=";
    size_t i = 0;
    for (const ElementValueView pair : elementValuePairs()) {
        os << " [" << i++ << "]={";
        pair.print(os, pool);
        os << "};";
    }
}

// Both reads first walk the bytes directly, and only when that finds a fault walk them again
// through the stream, whose reads raise the error with the offset and context of the fault.
ElementValueView ElementValueView::read(ByteStream& in, bool named, unsigned depth) {
    const uint8_t* start = in.cursor();
    const uint8_t* end = start + in.remaining();
    const uint8_t* last = nullptr;
    if (!named)
        last = valueEndWithin(start, end, depth);
    else if (end - start >= 2)
        last = valueEndWithin(start + 2, end, depth);
    if (last)
        in.skip(static_cast<size_t>(last - start));
    else
        walkElementValue(in, named, depth);
    return ElementValueView(start, named);
}

AnnotationView AnnotationView::read(ByteStream& in, unsigned depth) {
    const uint8_t* start = in.cursor();
    if (const uint8_t* last = annotationEndWithin(start, start + in.remaining(), depth))
        in.skip(static_cast<size_t>(last - start));
    else
        walkAnnotation(in, depth);
    return AnnotationView(start);
}

} // namespace classfile

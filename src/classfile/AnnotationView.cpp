#include "classfile/AnnotationView.h"

#include <cstdint>

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

namespace {

constexpr const FlatValueSizes& FLAT_SIZES = FLAT_VALUE_SIZES;

// The end of the unnamed value at p, in bytes that were walked when they were read: the walk below
// without its tests, which the rule file info extraction runs for every value it steps over.
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

// The walks below find where a value or an annotation ends when it lies whole in the len bytes at
// base and nests no deeper than the reader allows, and FAULT otherwise; the stream's walk then
// runs to raise the error. They work on offsets: a flat value (nearly all of a rule file's) is
// stepped over without a test, which the next read or the walk's last test catches.
constexpr size_t FAULT = SIZE_MAX;

size_t valueEndAt(const uint8_t* base, size_t pos, size_t len, unsigned depth);

// The array whose tag is at pos < len.
inline size_t arrayEndAt(const uint8_t* base, size_t pos, size_t len, unsigned depth) {
    if (depth + 1 > MAX_ANNOTATION_DEPTH || len - pos < 3)
        return FAULT;
    uint16_t left = loadU2(base + pos + 1);
    pos += 3;
    for (; left > 0; --left) {
        if (pos >= len)
            return FAULT;
        const uint8_t size = FLAT_SIZES.bytes[base[pos]];
        if (size)
            pos += size;
        else if ((pos = valueEndAt(base, pos, len, depth + 1)) == FAULT)
            return FAULT;
    }
    return pos <= len ? pos : FAULT;
}

// The annotation whose type index is at pos <= len.
size_t annotationEndAt(const uint8_t* base, size_t pos, size_t len, unsigned depth) {
    if (depth > MAX_ANNOTATION_DEPTH || len - pos < 4)
        return FAULT;
    uint16_t left = loadU2(base + pos + 2);
    pos += 4;
    for (; left > 0; --left) {
        // The name's two bytes, then the tag.
        pos += 2;
        if (pos >= len)
            return FAULT;
        const uint8_t size = FLAT_SIZES.bytes[base[pos]];
        if (size)
            pos += size;
        else if ((pos = base[pos] == '[' ? arrayEndAt(base, pos, len, depth)
                                         : annotationEndAt(base, pos + 1, len, depth + 1)) == FAULT)
            return FAULT;
    }
    return pos <= len ? pos : FAULT;
}

// The unnamed value whose tag is at pos <= len.
size_t valueEndAt(const uint8_t* base, size_t pos, size_t len, unsigned depth) {
    if (pos >= len)
        return FAULT;
    const uint8_t flat = FLAT_SIZES.bytes[base[pos]];
    if (flat)
        return len - pos >= flat ? pos + flat : FAULT;
    if (base[pos] == '@')
        return annotationEndAt(base, pos + 1, len, depth + 1);
    return arrayEndAt(base, pos, len, depth);
}

} // namespace

const uint8_t* ElementValueView::nestedEnd() const {
    return endOfValue(body());
}

const uint8_t* AnnotationView::end() const {
    const uint8_t* p = mAt + 4;
    for (uint16_t left = numElementValuePairs(); left > 0; --left)
        p = endOfValue(p + 2);
    return p;
}

// Both reads first walk the bytes directly, and only when that finds a fault walk them again
// through the stream, whose reads raise the error with the offset and context of the fault.
ElementValueView ElementValueView::read(ByteStream& in, bool named, unsigned depth) {
    const uint8_t* start = in.cursor();
    const size_t len = in.remaining();
    const size_t end = named ? (len >= 2 ? valueEndAt(start, 2, len, depth) : FAULT)
                             : valueEndAt(start, 0, len, depth);
    if (end != FAULT)
        in.skip(end);
    else
        walkElementValue(in, named, depth);
    return ElementValueView(start, named);
}

AnnotationView AnnotationView::read(ByteStream& in, unsigned depth) {
    const uint8_t* start = in.cursor();
    const size_t size = measure(start, in.remaining(), depth);
    if (size != NOT_WHOLE)
        in.skip(size);
    else
        walk(in, depth);
    return AnnotationView(start);
}

size_t AnnotationView::measure(const uint8_t* bytes, size_t size, unsigned depth) {
    static_assert(NOT_WHOLE == FAULT, "measure passes the offset walks' fault on");
    return annotationEndAt(bytes, 0, size, depth);
}

void AnnotationView::walk(ByteStream& in, unsigned depth) {
    walkAnnotation(in, depth);
}

} // namespace classfile

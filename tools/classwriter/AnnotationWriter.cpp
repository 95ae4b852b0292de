#include "classwriter/AnnotationWriter.h"

#include "classwriter/ByteWriter.h"

namespace classwriter {

namespace {

ElementValue fromBytes(const ByteWriter& out) {
    return ElementValue::raw(out.data().front(), {out.data().begin() + 1, out.data().end()});
}

} // namespace

ElementValue ElementValue::constant(char tag, uint16_t constValueIndex) {
    return fromBytes(ByteWriter().u1(static_cast<uint8_t>(tag)).u2(constValueIndex));
}

ElementValue ElementValue::enumConstant(uint16_t typeNameIndex, uint16_t constNameIndex) {
    return fromBytes(ByteWriter().u1('e').u2(typeNameIndex).u2(constNameIndex));
}

ElementValue ElementValue::classInfo(uint16_t classInfoIndex) {
    return fromBytes(ByteWriter().u1('c').u2(classInfoIndex));
}

ElementValue ElementValue::annotation(const Annotation& nested) {
    return raw('@', nested.bytes());
}

ElementValue ElementValue::array(const std::vector<ElementValue>& values,
                                 std::optional<uint16_t> count) {
    ByteWriter out;
    out.u1('[').u2(count.value_or(static_cast<uint16_t>(values.size())));
    for (const auto& value : values)
        out.bytes(value.bytes());
    return fromBytes(out);
}

ElementValue ElementValue::raw(uint8_t tag, const std::vector<uint8_t>& payload) {
    ElementValue value;
    value.mBytes.push_back(tag);
    value.mBytes.insert(value.mBytes.end(), payload.begin(), payload.end());
    return value;
}

std::vector<uint8_t> Annotation::bytes() const {
    ByteWriter out;
    out.u2(typeIndex).u2(pairCount.value_or(static_cast<uint16_t>(pairs.size())));
    for (const auto& pair : pairs)
        out.u2(pair.first).bytes(pair.second.bytes());
    return out.data();
}

} // namespace classwriter

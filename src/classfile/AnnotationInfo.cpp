#include "classfile/AnnotationInfo.h"

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

bool isConstantTag(uint8_t tag) {
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

} // namespace

AnnotationInfo::AnnotationInfo(ByteStream& in, const ConstantPool& pool_, unsigned depth)
    : pool(&pool_) {
    enterLevel(depth);
    type_index = in.readU2();
    num_element_value_pairs = in.readU2();
    // A pair takes its u2 name index and its tag at least.
    reserveForCount(element_value_pairs, pool_.arena(), num_element_value_pairs, in.remaining(), 3);
    for (uint16_t i = 0; i < num_element_value_pairs; ++i)
        element_value_pairs.push_back(makeInArena<ElementValue>(pool_.arena(), pool_, in, true, depth));
}

AnnotationInfo::~AnnotationInfo() = default;

void AnnotationInfo::print(std::ostream& os) const {
    os << "type_index=" << type_index << " [" << pool->displayValue(type_index)
       << "]; num_element_value_pairs=" << num_element_value_pairs << "; element_value_pairs=";
    for (size_t i = 0; i < element_value_pairs.size(); ++i) {
        os << " [" << i << "]={";
        element_value_pairs[i]->print(os);
        os << "};";
    }
}

ElementValue::ElementValue(const ConstantPool& pool_, ByteStream& in, bool named_, unsigned depth)
    : pool(&pool_), named(named_) {
    if (named)
        element_name_index = in.readU2();
    tag = in.readU1();
    if (isConstantTag(tag)) {
        const_value_index = in.readU2();
    } else if (tag == 'e') {
        type_name_index = in.readU2();
        const_name_index = in.readU2();
    } else if (tag == 'c') {
        class_info_index = in.readU2();
    } else if (tag == '@') {
        annotation_value = makeInArena<AnnotationInfo>(pool_.arena(), in, pool_, depth + 1);
    } else if (tag == '[') {
        enterLevel(depth + 1);
        num_values = in.readU2();
        // A value takes its tag at least.
        reserveForCount(values, pool_.arena(), num_values, in.remaining(), 1);
        for (uint16_t i = 0; i < num_values; ++i)
            values.push_back(makeInArena<ElementValue>(pool_.arena(), pool_, in, false, depth + 1));
    }
}

ElementValue::~ElementValue() = default;

void ElementValue::print(std::ostream& os) const {
    if (named)
        os << "name=" << pool->displayValue(element_name_index) << "; ";
    os << "tag='" << static_cast<char>(tag) << "'";
    if (isConstantTag(tag)) {
        os << " [" << pool->displayValue(const_value_index) << "]";
    } else if (tag == 'c') {
        os << " [" << pool->displayValue(class_info_index) << "]";
    } else if (tag == 'e') {
        os << " [" << pool->displayValue(type_name_index) << " "
           << pool->displayValue(const_name_index) << "]";
    } else if (tag == '@') {
        os << " [";
        annotation_value->print(os);
        os << "]";
    } else if (tag == '[') {
        os << "; num_values=" << num_values << "; values=";
        for (size_t i = 0; i < values.size(); ++i) {
            os << " [" << i << "]={";
            values[i]->print(os);
            os << "};";
        }
    }
}

} // namespace classfile

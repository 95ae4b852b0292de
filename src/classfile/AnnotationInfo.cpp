#include "classfile/AnnotationInfo.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"

namespace classfile {

AnnotationInfo::AnnotationInfo(ByteStream& in, const ConstantPool& pool_, unsigned depth)
    : AnnotationInfo(AnnotationView::read(in, depth), pool_) {}

AnnotationInfo::AnnotationInfo(AnnotationView view, const ConstantPool& pool_)
    : pool(&pool_), type_index(view.typeIndex()),
      num_element_value_pairs(view.numElementValuePairs()), mView(view) {
    element_value_pairs.allocate(pool_.arena(), num_element_value_pairs);
    for (const ElementValueView pair : view.elementValuePairs())
        element_value_pairs.push_back(makeInArena<ElementValue>(pool_.arena(), pool_, pair));
}

AnnotationInfo::~AnnotationInfo() = default;

ElementValue::ElementValue(const ConstantPool& pool_, ByteStream& in, bool named_, unsigned depth)
    : ElementValue(pool_, ElementValueView::read(in, named_, depth)) {}

ElementValue::ElementValue(const ConstantPool& pool_, ElementValueView view)
    : pool(&pool_), named(view.named()), element_name_index(view.elementNameIndex()),
      tag(view.tag()), const_value_index(view.constValueIndex()),
      type_name_index(view.typeNameIndex()), const_name_index(view.constNameIndex()),
      class_info_index(view.classInfoIndex()), num_values(view.numValues()), mView(view) {
    if (tag == '@')
        annotation_value = makeInArena<AnnotationInfo>(pool_.arena(), view.annotationValue(), pool_);
    values.allocate(pool_.arena(), num_values);
    for (const ElementValueView value : view.values())
        values.push_back(makeInArena<ElementValue>(pool_.arena(), pool_, value));
}

ElementValue::~ElementValue() = default;

} // namespace classfile

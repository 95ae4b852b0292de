#pragma once

#include <cstdint>
#include <ostream>

#include "classfile/AnnotationView.h"
#include "classfile/Arena.h"

namespace classfile {

class ByteStream;
class ConstantPool;
class AnnotationInfo;
class ElementValue;

using AnnotationList = ArenaList<ArenaPtr<AnnotationInfo>>;
using ElementValueList = ArenaList<ArenaPtr<ElementValue>>;

/// One annotation as an object tree: its type and its named element values. The annotation
/// attributes keep their annotations in place (AnnotationView); a tree is built where one is asked
/// for, in the class model's arena.
class AnnotationInfo {
public:
    /// Reads one annotation; depth counts the enclosing annotations and arrays.
    AnnotationInfo(ByteStream& in, const ConstantPool& pool, unsigned depth = 0);
    /// The tree of an annotation already read in place.
    AnnotationInfo(AnnotationView view, const ConstantPool& pool);
    virtual ~AnnotationInfo();
    AnnotationInfo(const AnnotationInfo&) = delete;
    AnnotationInfo& operator=(const AnnotationInfo&) = delete;

    void print(std::ostream& os) const;

    /// Not owned.
    const ConstantPool* pool;
    /// Pool index of the type descriptor (a Utf8 entry in a well-formed file).
    uint16_t type_index;
    uint16_t num_element_value_pairs;
    ElementValueList element_value_pairs;

private:
    /// The bytes the tree was built from, which print reads.
    AnnotationView mView;
};

/// One element value; named when read as a member of an annotation's pairs.
class ElementValue {
public:
    /// An unrecognised tag ends the value right after the tag byte, without an error.
    ElementValue(const ConstantPool& pool, ByteStream& in, bool named, unsigned depth = 0);
    /// The tree of a value already read in place.
    ElementValue(const ConstantPool& pool, ElementValueView view);
    virtual ~ElementValue();
    ElementValue(const ElementValue&) = delete;
    ElementValue& operator=(const ElementValue&) = delete;

    void print(std::ostream& os) const;

    /// Not owned.
    const ConstantPool* pool;
    bool named;
    uint16_t element_name_index = 0;
    /// 'B', 'C', 'D', 'F', 'I', 'J', 'S', 'Z', 's', 'e', 'c', '@' or '['.
    uint8_t tag = 0;
    uint16_t const_value_index = 0;
    uint16_t type_name_index = 0;
    uint16_t const_name_index = 0;
    uint16_t class_info_index = 0;
    /// Tag '['.
    uint16_t num_values = 0;
    /// Tag '@'.
    ArenaPtr<AnnotationInfo> annotation_value;
    /// Tag '['.
    ElementValueList values;

private:
    ElementValueView mView;
};

} // namespace classfile

#include <gtest/gtest.h>

#include "ClassFileTestSupport.h"
#include "classfile/AnnotationInfo.h"

using namespace classfile;
using namespace classfiletest;
namespace cw = classwriter;

namespace {

class AnnotationTest : public ::testing::Test {
protected:
    AnnotationTest() {
        b.utf8("Lcom/velmor/gc/TKAAnnotations;"); // 1
        b.utf8("name");                           // 2
        b.integer(42);                            // 3
        b.utf8("_$RULE");                         // 4
        pool = readPool(b);
    }

    // Reads one annotation from bytes followed by a sentinel; returns the bytes left unread.
    size_t read(const std::vector<uint8_t>& bytes, std::unique_ptr<AnnotationInfo>& out) {
        in.str(std::string(bytes.begin(), bytes.end()) + "rest");
        stream = std::make_unique<ByteStream>(in);
        out = std::make_unique<AnnotationInfo>(*stream, *pool);
        return bytes.size() + 4 - stream->offset();
    }

    cw::ConstantPoolBuilder b;
    std::unique_ptr<ConstantPool> pool;
    std::istringstream in;
    std::unique_ptr<ByteStream> stream;
};

TEST_F(AnnotationTest, ReadsEveryTagWithItsPayload) {
    cw::Annotation nested{1, {{2, cw::ElementValue::constant('s', 4)}}, {}};
    cw::Annotation top{1, {}, {}};
    for (char tag : std::string("BCDFIJSZ"))
        top.pairs.push_back({2, cw::ElementValue::constant(tag, 3)});
    top.pairs.push_back({2, cw::ElementValue::constant('s', 4)});
    top.pairs.push_back({2, cw::ElementValue::enumConstant(1, 4)});
    top.pairs.push_back({2, cw::ElementValue::classInfo(1)});
    top.pairs.push_back({2, cw::ElementValue::annotation(nested)});
    top.pairs.push_back({2, cw::ElementValue::array({cw::ElementValue::annotation(nested),
                                                     cw::ElementValue::constant('I', 3)})});
    std::unique_ptr<AnnotationInfo> a;
    EXPECT_EQ(4u, read(top.bytes(), a));
    EXPECT_EQ(1, a->type_index);
    ASSERT_EQ(13u, a->element_value_pairs.size());
    for (size_t i = 0; i < 8; ++i) {
        EXPECT_EQ("BCDFIJSZ"[i], a -> element_value_pairs[i] -> tag);
        EXPECT_EQ(3, a->element_value_pairs[i]->const_value_index);
        EXPECT_TRUE(a->element_value_pairs[i]->named);
        EXPECT_EQ(2, a->element_value_pairs[i]->element_name_index);
    }
    EXPECT_EQ(1, a->element_value_pairs[9]->type_name_index);
    EXPECT_EQ(4, a->element_value_pairs[9]->const_name_index);
    EXPECT_EQ(1, a->element_value_pairs[10]->class_info_index);
    EXPECT_EQ(
        4,
        a->element_value_pairs[11]->annotation_value->element_value_pairs.at(0)->const_value_index);
    const ElementValue& array = *a->element_value_pairs[12];
    ASSERT_EQ(2, array.num_values);
    EXPECT_FALSE(array.values[0]->named);
    EXPECT_EQ('@', array.values[0]->tag);
    EXPECT_EQ('I', array.values[1]->tag);

    const std::string text = textOf(*a);
    for (const char* piece :
         {"type_index=1 [Lcom/velmor/gc/TKAAnnotations;]; num_element_value_pairs=13; ",
          " [0]={name=name; tag='B' [42]};",
          " [9]={name=name; tag='e' [Lcom/velmor/gc/TKAAnnotations; _$RULE]};",
          " [10]={name=name; tag='c' [Lcom/velmor/gc/TKAAnnotations;]};",
          "tag='@' [type_index=1 [Lcom/velmor/gc/TKAAnnotations;]; num_element_value_pairs=1; "
          "element_value_pairs= [0]={name=name; tag='s' [_$RULE]};]",
          "tag='['; num_values=2; values= [0]={tag='@' [", "[1]={tag='I' [42]};"})
        EXPECT_NE(std::string::npos, text.find(piece)) << piece;
}

TEST_F(AnnotationTest, SizesOfEmptyFormsAndTheSilentStop) {
    std::unique_ptr<AnnotationInfo> a;
    EXPECT_EQ(4u, read(cw::Annotation{1, {}, {}}.bytes(), a));
    EXPECT_EQ(4u, stream->offset());

    EXPECT_EQ(4u, read(cw::Annotation{1, {{2, cw::ElementValue::array({})}}, {}}.bytes(), a));
    EXPECT_EQ(4u + 2u + 3u, stream->offset());

    // Tag 'A' ends its value after the tag byte; the bytes after it are read as the next pair.
    cw::ByteWriter next;
    next.u2(2).u1('I').u2(3);
    cw::Annotation odd{1, {{2, cw::ElementValue::raw('A', next.data())}}, 2};
    EXPECT_EQ(4u, read(odd.bytes(), a));
    ASSERT_EQ(2u, a->element_value_pairs.size());
    EXPECT_EQ('A', a->element_value_pairs[0]->tag);
    EXPECT_EQ(0, a->element_value_pairs[0]->const_value_index);
    EXPECT_EQ("name=name; tag='A'", textOf(*a->element_value_pairs[0]));
    EXPECT_EQ(3, a->element_value_pairs[1]->const_value_index);
}

TEST_F(AnnotationTest, NestingIsLimitedTo64Levels) {
    auto nest = [](int levels, bool arrays) {
        cw::ElementValue value = cw::ElementValue::constant('I', 3);
        for (int i = 1; i < levels; ++i)
            value = arrays ? cw::ElementValue::array({value})
                           : cw::ElementValue::annotation(cw::Annotation{1, {{2, value}}, {}});
        return cw::Annotation{1, {{2, value}}, {}};
    };
    std::unique_ptr<AnnotationInfo> a;
    for (bool arrays : {false, true}) {
        EXPECT_EQ(4u, read(nest(65, arrays).bytes(), a));
        CerrCapture err;
        EXPECT_EQ("Reading TKB failed: annotations nest deeper than 64 levels",
                  errorOf([&] { read(nest(66, arrays).bytes(), a); }));
        EXPECT_NE(std::string::npos,
                  errorOf([&] { read(nest(3000, arrays).bytes(), a); }).find("nest deeper"));
    }
}

} // namespace

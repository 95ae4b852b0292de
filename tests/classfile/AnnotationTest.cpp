// Sizes and limits of annotations; every element value tag is read and printed in the rich
// class's golden text.
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

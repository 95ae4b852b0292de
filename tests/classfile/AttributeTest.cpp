// Attributes and annotations: what the rich class's golden dump does not show, and the limits.
#include <gtest/gtest.h>

#include <set>

#include "ClassFileTestSupport.h"
#include "classfile/AnnotationAttributes.h"
#include "classfile/AnnotationInfo.h"
#include "classfile/AttributeCode.h"
#include "classfile/AttributeStackMap.h"
#include "classfile/SimpleAttributes.h"
#include "classfile/TableAttributes.h"

using namespace classfile;
using namespace classfiletest;
namespace cw = classwriter;

namespace {

// A class with one method "m" carrying the given attributes.
std::unique_ptr<ClassInfo> readMethodWith(cw::ClassWriter w, std::vector<cw::Attribute> attributes,
                                          std::optional<uint16_t> count = {}) {
    const uint16_t name = w.pool.utf8("m");
    w.methods.push_back({0, name, w.pool.utf8("()V"), std::move(attributes), count});
    return readClass(w.bytes());
}

template <typename T> const T& attributeAt(const ClassInfo& info, size_t i) {
    const auto* attribute = dynamic_cast<const T*>(info.methods.at(0)->attributes.at(i).get());
    if (!attribute)
        throw std::logic_error("attribute of another kind");
    return *attribute;
}

// The attribute names of the format that the reader knows, each as a kind of its own.
const char* const KNOWN_NAMES[] = {
    "Code",
    "ConstantValue",
    "Exceptions",
    "InnerClasses",
    "Synthetic",
    "SourceFile",
    "LineNumberTable",
    "LocalVariableTable",
    "Deprecated",
    "StackMap",
    "RuntimeVisibleAnnotations",
    "RuntimeInvisibleAnnotations",
    "RuntimeVisibleParameterAnnotations",
    "RuntimeInvisibleParameterAnnotations",
};

TEST(AttributeTest, EveryKnownNameRoundTripsThroughItsKind) {
    std::set<AttributeKind> kinds;
    for (const char* name : KNOWN_NAMES) {
        SCOPED_TRACE(name);
        const AttributeKind kind = attributeKindNamed(name);
        EXPECT_NE(AttributeKind::Unknown, kind);
        EXPECT_TRUE(kinds.insert(kind).second);
        EXPECT_EQ(name, attributeKindName(kind));
        // Zeros are a complete payload for every kind (all its counts 0); as the last class
        // attribute, whatever a kind leaves unread is ignored.
        cw::ClassWriter w = minimalClass();
        w.attributes = {cw::rawAttribute(w.pool.utf8(name), std::vector<uint8_t>(16, 0))};
        DiagnosticsCapture err;
        auto info = readClass(w.bytes());
        const Attribute& made = *info->attributes.at(0);
        EXPECT_EQ(kind, made.kind());
        EXPECT_EQ(name, made.name);
        // The dump picks the kind's own text form by the kind.
        EXPECT_EQ(0u, textOf(made).rfind("name=" + std::string(name) + "; attribute_length=", 0));
    }
    EXPECT_EQ(static_cast<size_t>(AttributeKind::Unknown), kinds.size());
    EXPECT_EQ(AttributeKind::Unknown, attributeKindNamed("Signature"));
    EXPECT_EQ(AttributeKind::Unknown, attributeKindNamed("code"));
    EXPECT_EQ("", attributeKindName(AttributeKind::Unknown));
}

TEST(AttributeTest, KnownKindsIgnoreTheDeclaredLength) {
    cw::ClassWriter w = minimalClass();
    const uint16_t constant = w.pool.utf8("ConstantValue");
    const uint16_t synthetic = w.pool.utf8("Synthetic");
    // The ConstantValue declares 6 bytes but holds 2; what follows them is the next attribute.
    cw::ByteWriter payload;
    payload.u2(7).u2(synthetic).u4(0);
    auto info = readMethodWith(
        w, {cw::rawAttribute(constant, payload.data(), 6), cw::rawAttribute(synthetic, {}, 5)}, 3);
    const auto& value = attributeAt<AttributeConstantValue>(*info, 0);
    EXPECT_EQ(2u, value.attribute_length);
    EXPECT_EQ(7, value.constant_value_index);
    EXPECT_EQ(0u, attributeAt<AttributeSynthetic>(*info, 1).attribute_length);
    EXPECT_EQ(AttributeKind::Synthetic, info->methods[0]->attributes[2]->kind());
}

TEST(AttributeTest, EmptyCodeUnknownNamesAndNegativeLengths) {
    cw::ClassWriter w = minimalClass();
    const uint16_t codeName = w.pool.utf8("Code");
    const uint16_t signature = w.pool.utf8("Signature");
    cw::Code empty;
    empty.exceptions = {{5, 6, 7, 8}};
    cw::Code negative;
    negative.codeLength = 0x80000000u;
    auto info = readMethodWith(w, {cw::codeAttribute(codeName, empty),
                                   cw::codeAttribute(codeName, negative),
                                   cw::rawAttribute(signature, {9, 8, 7}),
                                   cw::rawAttribute(signature, {}, 0xFFFFFFFF)});
    EXPECT_TRUE(attributeAt<AttributeCode>(*info, 0).code.empty());
    EXPECT_EQ(8, attributeAt<AttributeCode>(*info, 0).exceptions.at(0).catch_type);
    EXPECT_EQ(INT32_MIN, attributeAt<AttributeCode>(*info, 1).code_length);
    const auto& unknown = attributeAt<AttributeUnknown>(*info, 2).info;
    EXPECT_EQ((std::vector<uint8_t>{9, 8, 7}), std::vector<uint8_t>(unknown.begin(), unknown.end()));
    EXPECT_TRUE(attributeAt<AttributeUnknown>(*info, 3).info.empty());
}

TEST(AttributeTest, StackMapGrowsThePoolAndReadsEveryVerificationType) {
    cw::ClassWriter w = minimalClass();
    const uint16_t stackMap = w.pool.utf8("StackMap");
    std::vector<cw::VerificationType> all;
    for (uint8_t tag = 0; tag <= 8; ++tag)
        all.push_back({tag, static_cast<uint16_t>(tag == 7 ? 2 : 17)});
    DiagnosticsCapture err;
    auto info = readMethodWith(
        w, {cw::stackMap(stackMap, {{4, all, {{1, 0}}}}), cw::stackMap(stackMap, {})});
    EXPECT_EQ(8, info->constant_pool_count);
    EXPECT_EQ(8u, info->constant_pool->size());
    EXPECT_EQ("StackMap", info->constant_pool->get(6)->getValue());
    EXPECT_EQ("StackMap", info->constant_pool->get(7)->getValue());
    const std::string warnings = err.text();
    EXPECT_EQ(std::string::npos,
              warnings.find_first_not_of("operator== not implemented! always return false\n"));
    EXPECT_EQ(5 + 6, std::count(warnings.begin(), warnings.end(), '\n'));

    const auto& first = attributeAt<AttributeStackMap>(*info, 0);
    EXPECT_EQ(stackMap, first.name_index);
    ASSERT_EQ(1u, first.entries.size());
    const StackMapEntry& entry = first.entries[0];
    EXPECT_EQ(4, entry.offset);
    ASSERT_EQ(9u, entry.locals.size());
    for (uint8_t tag = 0; tag <= 8; ++tag)
        EXPECT_EQ(tag, entry.locals[tag]->tag);
    EXPECT_EQ(2, dynamic_cast<const StackMapEntry::TyObject&>(*entry.locals[7]).class_index);
    EXPECT_EQ(17, dynamic_cast<const StackMapEntry::TyNewObject&>(*entry.locals[8]).offset);
    EXPECT_EQ(1, entry.stack.at(0)->tag);

    w = minimalClass();
    w.pool.utf8("StackMap");
    EXPECT_EQ("Reading TKB failed: readTy() : Unknown type: 9", errorOf([&] {
                  readMethodWith(w, {cw::stackMap(3, {{0, {{9, 0}}, {}}})});
              }));
}

TEST(AttributeTest, AttributeNameIndexIsChecked) {
    cw::ClassWriter w = minimalClass();
    DiagnosticsCapture err;
    EXPECT_EQ("Reading TKB failed: constant pool index 77 for the attribute name is outside the "
              "pool (size 5)",
              errorOf([&] { readMethodWith(w, {cw::emptyAttribute(77)}); }));
    EXPECT_EQ(
        "Reading TKB failed: constant pool index 0 for the attribute name names an empty slot",
        errorOf([&] { readMethodWith(w, {cw::emptyAttribute(0)}); }));
}

TEST(AttributeTest, CopiesOfASharedNameAreCapped) {
    // Every attribute keeps its own copy of its name: 2,100 empty attributes naming one 32 KiB
    // text would copy 66 MiB out of a file of 45 KiB.
    cw::ClassWriter w = minimalClass();
    w.attributes.assign(2100, cw::emptyAttribute(w.pool.utf8(std::string(32 * 1024, 'x'))));
    DiagnosticsCapture err;
    EXPECT_EQ("Reading TKB failed: the attribute names would copy more than 64 MiB of text out of "
              "the constant pool; the file is damaged or hostile",
              errorOf([&] { readClass(w.bytes()); }));
    w.attributes.resize(2000);
    EXPECT_EQ("", errorOf([&] { readClass(w.bytes()); }));
}

// A class whose one attribute is a Code attribute holding a Code attribute, and so on, levels deep.
std::vector<uint8_t> nestedCode(size_t levels) {
    cw::ClassWriter w = minimalClass();
    const uint16_t codeName = w.pool.utf8("Code");
    cw::ByteWriter payload;
    for (size_t level = 1; level < levels; ++level)
        payload.u2(0).u2(0).u4(0).u2(0).u2(1).u2(codeName).u4(0);
    payload.u2(0).u2(0).u4(0).u2(0).u2(0);
    w.attributes = {cw::rawAttribute(codeName, payload.data())};
    return w.bytes();
}

TEST(AttributeTest, CodeNestingIsLimitedTo64Levels) {
    auto info = readClass(nestedCode(65));
    const Attribute* attribute = info->attributes.at(0).get();
    for (int level = 1; level < 65; ++level)
        attribute = dynamic_cast<const AttributeCode&>(*attribute).attributes.at(0).get();
    EXPECT_TRUE(dynamic_cast<const AttributeCode&>(*attribute).attributes.empty());

    DiagnosticsCapture err;
    EXPECT_EQ("Reading TKB failed: Code attributes nest deeper than 64 levels",
              errorOf([] { readClass(nestedCode(66)); }));
    EXPECT_EQ("Code attributes nest too deeply\n", err.text());
    EXPECT_EQ("Reading TKB failed: Code attributes nest deeper than 64 levels",
              errorOf([] { readClass(nestedCode(200000)); }));
}

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
        DiagnosticsCapture err;
        EXPECT_EQ("Reading TKB failed: annotations nest deeper than 64 levels",
                  errorOf([&] { read(nest(66, arrays).bytes(), a); }));
        EXPECT_NE(std::string::npos,
                  errorOf([&] { read(nest(3000, arrays).bytes(), a); }).find("nest deeper"));
    }
}

} // namespace

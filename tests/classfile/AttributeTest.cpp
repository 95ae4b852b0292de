#include <gtest/gtest.h>

#include "ClassFileTestSupport.h"
#include "classfile/AnnotationAttributes.h"
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
    EXPECT_EQ(constant, value.name_index);
    EXPECT_EQ("ConstantValue", value.name);
    EXPECT_EQ(0u, attributeAt<AttributeSynthetic>(*info, 1).attribute_length);
    EXPECT_EQ(AttributeKind::Synthetic, info->methods[0]->attributes[2]->kind());
    EXPECT_TRUE(info->methods[0]->isSynthetic);
}

TEST(AttributeTest, CodeKeepsBytesExceptionRowsAndNestedTables) {
    cw::ClassWriter w = minimalClass();
    const uint16_t codeName = w.pool.utf8("Code");
    cw::Code body;
    body.maxStack = 3;
    body.maxLocals = 2;
    body.code = {0x04, 0x3C, 0xB1};
    body.exceptions = {{0, 2, 2, 0}, {1, 2, 3, 2}};
    body.attributes = {
        cw::lineNumberTable(w.pool.utf8("LineNumberTable"), {{0, 7}, {2, 9}}),
        cw::localVariableTable(w.pool.utf8("LocalVariableTable"), {{0, 3, 1, 1, 1}})};
    cw::Code empty;
    empty.exceptions = {{5, 6, 7, 8}};
    cw::Code negative;
    negative.codeLength = 0x80000000u;
    auto info =
        readMethodWith(w, {cw::codeAttribute(codeName, body), cw::codeAttribute(codeName, empty),
                           cw::codeAttribute(codeName, negative)});

    const auto& code = attributeAt<AttributeCode>(*info, 0);
    EXPECT_EQ(3, code.max_stack);
    EXPECT_EQ(2, code.max_locals);
    EXPECT_EQ((std::vector<uint8_t>{0x04, 0x3C, 0xB1}),
              std::vector<uint8_t>(code.code.begin(), code.code.end()));
    ASSERT_EQ(2u, code.exceptions.size());
    EXPECT_EQ(3, code.exceptions[1].handler_pc);
    EXPECT_EQ(2, code.exceptions[1].catch_type);
    ASSERT_EQ(2u, code.attributes.size());
    const auto& lines = dynamic_cast<const AttributeLineNumberTable&>(*code.attributes[0]);
    EXPECT_EQ(9, lines.line_number_table.at(1).line_number);
    const auto& locals = dynamic_cast<const AttributeLocalVariableTable&>(*code.attributes[1]);
    EXPECT_EQ(1, locals.local_variable_table.at(0).descriptor_index);
    EXPECT_EQ(1u, code.attributes[1]->index);

    const auto& noCode = attributeAt<AttributeCode>(*info, 1);
    EXPECT_TRUE(noCode.code.empty());
    EXPECT_EQ(8, noCode.exceptions.at(0).catch_type);
    EXPECT_EQ(INT32_MIN, attributeAt<AttributeCode>(*info, 2).code_length);

    const std::string text = textOf(code);
    for (const char* piece :
         {"; max_stack=3; max_locals=2; code_length=3; exception_table_length=2;\n",
          "code={\n            0: iconst_1\n            1: istore_1\n            2: return\n       "
          "   }\n",
          "\n            [1]={start_pc=2; line_number=9}", "            descriptor_index=1;\n"})
        EXPECT_NE(std::string::npos, text.find(piece)) << piece;
}

TEST(AttributeTest, UnknownNamesKeepTheirBytes) {
    cw::ClassWriter w = minimalClass();
    const uint16_t signature = w.pool.utf8("Signature");
    auto info = readMethodWith(
        w, {cw::rawAttribute(signature, {9, 8, 7}), cw::rawAttribute(signature, {}, 0xFFFFFFFF)});
    const auto& unknown = attributeAt<AttributeUnknown>(*info, 0);
    EXPECT_EQ((std::vector<uint8_t>{9, 8, 7}),
              std::vector<uint8_t>(unknown.info.begin(), unknown.info.end()));
    EXPECT_EQ("name=Signature; attribute_length=3", textOf(unknown));
    EXPECT_TRUE(
        attributeAt<AttributeUnknown>(*info, 1).info.empty()); // negative length reads nothing
}

TEST(AttributeTest, StackMapGrowsThePoolAndReadsEveryVerificationType) {
    cw::ClassWriter w = minimalClass();
    const uint16_t stackMap = w.pool.utf8("StackMap");
    std::vector<cw::VerificationType> all;
    for (uint8_t tag = 0; tag <= 8; ++tag)
        all.push_back({tag, static_cast<uint16_t>(tag == 7 ? 2 : 17)});
    CerrCapture err;
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
    EXPECT_NE(
        std::string::npos,
        textOf(first).find("Object(#2 [Foo]), NewObject(@17)};\n            stack={Integer};"));

    w = minimalClass();
    w.pool.utf8("StackMap");
    EXPECT_EQ("Reading TKB failed: readTy() : Unknown type: 9", errorOf([&] {
                  readMethodWith(w, {cw::stackMap(3, {{0, {{9, 0}}, {}}})});
              }));
}

TEST(AttributeTest, TablesAndAnnotationKindsReadTheirRows) {
    cw::ClassWriter w = minimalClass();
    const uint16_t utf = w.pool.utf8("Lcom/velmor/Marker;");
    const cw::Annotation marker{utf, {}, {}};
    std::vector<cw::Attribute> attributes = {
        cw::exceptions(w.pool.utf8("Exceptions"), {2, 2}),
        cw::innerClasses(w.pool.utf8("InnerClasses"), {{2, 0, 1, 0x0008}}),
        cw::annotations(w.pool.utf8("RuntimeInvisibleAnnotations"), {marker, marker}),
        cw::parameterAnnotations(w.pool.utf8("RuntimeInvisibleParameterAnnotations"),
                                 {{}, {marker}}),
        cw::sourceFile(w.pool.utf8("SourceFile"), utf)};
    auto info = readMethodWith(w, attributes);
    const auto& exceptions = attributeAt<AttributeExceptions>(*info, 0).exception_index_table;
    EXPECT_EQ((std::vector<uint16_t>{2, 2}),
              std::vector<uint16_t>(exceptions.begin(), exceptions.end()));
    const auto& inner = attributeAt<AttributeInnerClasses>(*info, 1);
    EXPECT_EQ(0x0008, inner.classes.at(0).inner_class_access_flags);
    EXPECT_EQ(2u, attributeAt<AttributeRuntimeInvisibleAnnotations>(*info, 2).annotations.size());
    const auto& params = attributeAt<AttributeRuntimeInvisibleParameterAnnotations>(*info, 3);
    ASSERT_EQ(2, params.num_parameters);
    EXPECT_EQ(0, params.parameter_annotations[0].num_annotations);
    EXPECT_EQ(utf, params.parameter_annotations[1].annotations.at(0)->type_index);
    EXPECT_NE(std::string::npos, textOf(params).find("; num_parametes=2; parameter_annotations={"));
    EXPECT_EQ(utf, attributeAt<AttributeSourceFile>(*info, 4).source_file_index);
}

TEST(AttributeTest, AttributeNameIndexIsChecked) {
    cw::ClassWriter w = minimalClass();
    CerrCapture err;
    EXPECT_EQ("Reading TKB failed: constant pool index 77 for the attribute name is outside the "
              "pool (size 5)",
              errorOf([&] { readMethodWith(w, {cw::emptyAttribute(77)}); }));
    EXPECT_EQ(
        "Reading TKB failed: constant pool index 0 for the attribute name names an empty slot",
        errorOf([&] { readMethodWith(w, {cw::emptyAttribute(0)}); }));
}

} // namespace

namespace {

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

    CerrCapture err;
    EXPECT_EQ("Reading TKB failed: Code attributes nest deeper than 64 levels",
              errorOf([] { readClass(nestedCode(66)); }));
    EXPECT_EQ("Code attributes nest too deeply\n", err.text());
    EXPECT_EQ("Reading TKB failed: Code attributes nest deeper than 64 levels",
              errorOf([] { readClass(nestedCode(200000)); }));
}

} // namespace

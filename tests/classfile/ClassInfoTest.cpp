#include <gtest/gtest.h>

#include "ClassFileTestSupport.h"
#include "classfile/SimpleAttributes.h"

using namespace classfile;
using namespace classfiletest;

namespace {

TEST(ClassInfoTest, HeaderChecksTheMagicAndTheMajorVersionAsSigned) {
    for (uint16_t major : {0, 50, 0x8000, 0xFFFF}) {
        classwriter::ClassWriter w = minimalClass();
        w.majorVersion = major;
        w.minorVersion = 0xFFFF;
        EXPECT_EQ(major, readClass(w.bytes())->major_version);
    }
    classwriter::ClassWriter w = minimalClass();
    w.majorVersion = 51;
    CerrCapture err;
    EXPECT_EQ("TKB file contains bytecode of version 51.0, not supported.",
              errorOf([&] { readClass(w.bytes()); }));
    w.majorVersion = 0x7FFF;
    w.minorVersion = 3;
    EXPECT_EQ("TKB file contains bytecode of version 32767.3, not supported.",
              errorOf([&] { readClass(w.bytes()); }));
    w.magic = 0x0000BEEF;
    EXPECT_EQ("TKB file contains invalid magic word '0x0000beef'",
              errorOf([&] { readClass(w.bytes()); }));
    EXPECT_EQ("Unknown version51.0\nUnknown version32767.3\ninvalid magic: 0xbeef\n", err.text());
}

TEST(ClassInfoTest, ThisClassMustLieInsideThePoolOthersYieldNoEntry) {
    classwriter::ClassWriter w = minimalClass();
    w.thisClass = w.pool.count();
    {
        CerrCapture err;
        EXPECT_EQ("Reading TKB failed (class index 3 not in pool (count 3)).",
                  errorOf([&] { readClass(w.bytes()); }));
        EXPECT_EQ("this_class_index not in pool: 3 >= 3\n", err.text());
    }
    w.thisClass = 0;
    w.superClass = 500;
    w.interfaces = {2, 0, 9999};
    auto info = readClass(w.bytes());
    EXPECT_EQ(nullptr, info->this_class);
    EXPECT_EQ(0u, info->constant_pool->thisClassIndex);
    EXPECT_EQ(nullptr, info->super_class);
    ASSERT_EQ(3u, info->interfaces.size());
    EXPECT_EQ(info->constant_pool->get(2), info->interfaces[0]);
    EXPECT_EQ(nullptr, info->interfaces[1]);
    EXPECT_EQ(nullptr, info->interfaces[2]);
}

TEST(ClassInfoTest, EmptyClassReadsCompletelyAndPrintsEmptyGroups) {
    classwriter::ClassWriter w = minimalClass();
    w.accessFlags = 0x0421; // public, synchronized, abstract
    auto info = readClass(w.bytes());
    EXPECT_TRUE(info->allRead);
    EXPECT_EQ(2u, info->constant_pool->thisClassIndex);
    EXPECT_EQ(info->constant_pool->get(2), info->this_class);
    EXPECT_EQ("ClassFile {\n"
              "  magic=cafebabe\n"
              "minor_version: 0\n"
              "major_version: 50\n"
              "constant_pool_count= 3\n"
              "constant_pool={\n"
              "    [1]={tag=Utf8; value=\"Foo\"};\n"
              "    [2]={tag=Class; name_index=1 [Foo]};\n"
              "  };\n"
              "access_flags=public synchronized abstract ;\n"
              "  this_class={tag=Class; name_index=1 [Foo]};\n"
              "  super_class=(none);\n"
              "  interfaces_count=0;\n"
              "  interfaces={\n"
              "  };\n"
              "  fields_count=0;\n"
              "  fields={\n"
              "  };\n"
              "  methods_count=0;\n"
              "  methods={\n"
              "  };\n"
              "  attributes_count=0;\n"
              "  attributes={\n"
              "  };\n"
              "};",
              textOf(*info));
}

TEST(ClassInfoTest, MarkerAttributesSetTheFlagsOfTheirRecord) {
    classwriter::ClassWriter w = minimalClass();
    const uint16_t synthetic = w.pool.utf8("Synthetic");
    const uint16_t deprecated = w.pool.utf8("Deprecated");
    const uint16_t constant = w.pool.utf8("ConstantValue");
    const uint16_t name = w.pool.utf8("LIMIT");
    const uint16_t descriptor = w.pool.utf8("I");
    const uint16_t value = w.pool.integer(12);
    w.fields.push_back(
        {0x0018,
         name,
         descriptor,
         {classwriter::constantValue(constant, value), classwriter::emptyAttribute(deprecated)},
         {}});
    w.methods.push_back({0x0001, name, descriptor, {classwriter::emptyAttribute(synthetic)}, {}});
    w.attributes = {classwriter::emptyAttribute(deprecated),
                    classwriter::emptyAttribute(synthetic)};
    auto info = readClass(w.bytes());
    const FieldInfo& field = *info->fields.at(0);
    EXPECT_TRUE(field.hasConstantValue);
    EXPECT_TRUE(field.isDeprecated);
    EXPECT_FALSE(field.isSynthetic);
    EXPECT_EQ("LIMIT", field.name());
    EXPECT_EQ("I", field.descriptor());
    const MethodInfo& method = *info->methods.at(0);
    EXPECT_TRUE(method.isSynthetic);
    EXPECT_FALSE(method.isDeprecated);
    EXPECT_TRUE(info->isSynthetic);
    EXPECT_TRUE(info->isDeprecated);

    // A field's text closes without a semicolon, a method's with one.
    EXPECT_EQ("{\n      access_flags=static final ;\n      name_index=6 [LIMIT];\n"
              "      descriptor_index=7 [I];\n      attributes_count=2;\n      attributes={\n"
              "        [0]={name=ConstantValue; attribute_length=2, constant_value_index=8};\n"
              "        [1]={name=Deprecated; attribute_length=0};\n      }\n    }",
              textOf(field));
    EXPECT_NE(std::string::npos, textOf(method).find("attribute_length=0};\n      };\n    }"));
}

TEST(ClassInfoTest, ClassEntryNamingOutsideThePoolEndsTheProcess) {
    classwriter::ClassWriter w = minimalClass();
    w.pool.classEntry(40);
    const std::vector<uint8_t> bytes = w.bytes();
    EXPECT_EXIT(readClass(bytes), ::testing::ExitedWithCode(1), "nameIndex not in pool");
}

TEST(ClassInfoTest, RichClassReadsAndPrintsEverySection) {
    classwriter::ClassWriter w = richClass();
    CerrCapture err;
    auto info = readClass(w.bytes());
    EXPECT_EQ(w.pool.count() + 1, info->constant_pool_count); // the StackMap's own name entry
    ASSERT_EQ(1u, info->methods.size());
    EXPECT_EQ("box", info->methods[0]->name());
    EXPECT_EQ(4u, info->methods[0]->attributes.size());
    EXPECT_EQ(5u, info->attributes.size());
    const std::string dump = textOf(*info);
    for (const char* piece : {"super_class={tag=Class; name_index=3 [java/lang/Object]}",
                              "    [0]={tag=Class; name_index=5 [com/velmor/Shape]};",
                              "name=SourceFile; attribute_length=2; source_file_index=",
                              "inner_class_access_flags=public static final ;\n",
                              "name=Signature; attribute_length=3};", "\n  };\n};",
                              "    [14]={tag=Float; value=0.5};\n",
                              "; max_stack=4; max_locals=3; code_length=12; "
                              "exception_table_length=1;\n          exceptions={\n",
                              "\n          }\n          attributes_count=3          attributes={"
                              "\n        [0]={name=LineNumberTable;",
                              "; localVariableTableLength=1; localVariableTable={\n          [0]={\n"
                              "            start_pc=0;\n",
                              "; numberOfEntries=1; entries={\n          [0]={\n",
                              "; num_annotations=1; annotations={\n          [0]={\ntype_index=38 ",
                              "; number_of_classes=1;\n          classes={\n            [0]="})
        EXPECT_NE(std::string::npos, dump.find(piece)) << piece;

    // Class entries never compare equal, so even an interface displays as a class; each
    // comparison with an interface entry leaves its warning.
    CerrCapture comparisons;
    EXPECT_EQ("Class com.velmor.Shape", info->interfaces.at(0)->toLiteral());
    EXPECT_EQ("operator== not implemented! always return false\n", comparisons.text());
}

} // namespace

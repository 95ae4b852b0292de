#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <stdexcept>

#include "ClassFileTestSupport.h"
#include "util/RuntimeErrorST.h"

using namespace classfile;
using classfiletest::DiagnosticsCapture;
using classfiletest::errorOf;
using classfiletest::readPool;
using classfiletest::textOf;

namespace {

TEST(ConstantPoolTest, ReadsEveryEntryKindWithItsPayloadAndSlotWidth) {
    classwriter::ConstantPoolBuilder b;
    b.utf8("Foo");               // 1
    b.unicode({'a', 'b', 'c'});  // 2
    b.integer(-7);               // 3
    b.longValue(-9000000000LL);  // 4 and 5
    b.floating(0.1f);            // 6
    b.doubleValue(-2.5);         // 7 and 8
    b.classEntry(1);             // 9
    b.string(1);                 // 10
    b.nameAndType(1, 1);         // 11
    b.fieldref(9, 11);           // 12
    b.methodref(9, 11);          // 13
    b.interfaceMethodref(9, 11); // 14
    auto pool = readPool(b);

    ASSERT_EQ(15u, pool->size());
    for (uint32_t empty : {0u, 5u, 8u, 15u})
        EXPECT_EQ(nullptr, pool->get(empty)) << empty;
    // The entries' texts are in the rich class's golden text; the translation tests read the
    // typed values of the entry kinds that it uses.
    const std::pair<uint32_t, const char*> values[] = {
        {1, "Foo"},         {2, "abc"},         {3, "-7"},           {4, "-9000000000"},
        {6, "0.100000001"}, {7, "-2.5"},        {9, "Foo"},          {10, "Foo"},
        {11, "FooFoo"},     {12, "Foo.FooFoo"}, {13, "Foo.FooFoo"}, {14, "Foo.FooFoo"}};
    for (const auto& [index, value] : values) {
        EXPECT_EQ(index, pool->get(index)->index);
        EXPECT_EQ(value, pool->get(index)->getValue()) << index;
    }
    EXPECT_EQ(-9000000000LL, static_cast<const CPELong*>(pool->get(4))->value);
}

TEST(ConstantPoolTest, TypedReadsNeedTheirKindAndMakeNoEntries) {
    classwriter::ConstantPoolBuilder b;
    b.utf8("Foo");               // 1
    b.unicode({'a', 'b', 'c'});  // 2
    b.integer(-7);               // 3
    b.longValue(-9000000000LL);  // 4 and 5
    b.floating(0.5f);            // 6
    b.doubleValue(-2.5);         // 7 and 8
    b.classEntry(1);             // 9
    b.string(2);                 // 10
    b.nameAndType(1, 2);         // 11
    b.fieldref(9, 11);           // 12
    b.methodref(9, 11);          // 13
    b.interfaceMethodref(9, 11); // 14
    auto pool = readPool(b);

    for (uint32_t empty : {0u, 5u, 8u, 15u, 70000u})
        EXPECT_EQ(NO_TAG, pool->tagAt(empty)) << empty;
    EXPECT_EQ(ConstantTag::InterfaceMethodRef, pool->tagAt(14));
    EXPECT_EQ("Foo", pool->ownTextAt(1));
    EXPECT_EQ("abc", pool->ownTextAt(2));
    EXPECT_EQ(-7, pool->integerAt(3));
    EXPECT_EQ(-9000000000LL, pool->longAt(4));
    EXPECT_EQ(0.5f, pool->floatAt(6));
    EXPECT_EQ(-2.5, pool->doubleAt(7));
    EXPECT_EQ(1, pool->classNameIndexAt(9));
    EXPECT_EQ(2, pool->stringIndexAt(10));
    EXPECT_EQ(1, pool->nameAndTypeAt(11)->nameIndex);
    EXPECT_EQ(2, pool->nameAndTypeAt(11)->descriptorIndex);
    for (uint32_t ref : {12u, 13u, 14u}) {
        EXPECT_EQ(9, pool->refAt(ref)->classIndex);
        EXPECT_EQ(11, pool->refAt(ref)->nameAndTypeIndex);
        EXPECT_EQ(1, pool->classNameIndexOfRef(ref));
        EXPECT_EQ(2, pool->nameAndTypeOfRef(ref).descriptorIndex);
    }
    // A slot of another kind, an empty one or one outside the pool gives nothing.
    EXPECT_FALSE(pool->ownTextAt(9));
    EXPECT_FALSE(pool->integerAt(6));
    EXPECT_FALSE(pool->floatAt(3));
    EXPECT_FALSE(pool->longAt(7));
    EXPECT_FALSE(pool->doubleAt(4));
    EXPECT_FALSE(pool->longAt(5));
    EXPECT_FALSE(pool->classNameIndexAt(10));
    EXPECT_FALSE(pool->stringIndexAt(9));
    EXPECT_FALSE(pool->refAt(11));
    EXPECT_FALSE(pool->nameAndTypeAt(12));
    EXPECT_FALSE(pool->integerAt(15));
    EXPECT_THROW(pool->classNameIndexOfRef(11), std::invalid_argument);
    EXPECT_THROW(pool->nameAndTypeOfRef(15), std::invalid_argument);
    std::string scratch;
    EXPECT_EQ("Foo", pool->textAt(1, "a text", scratch));
    EXPECT_EQ("Foo", pool->valueAt(1, "a text"));
    EXPECT_EQ(0u, pool->entryObjectCount());

    // An entry is made once; every later request gives the same object.
    const ConstantPoolEntry* method = pool->get(13);
    EXPECT_EQ(method, pool->get(13));
    EXPECT_EQ(method, &pool->at(13, "a method"));
    EXPECT_EQ(1u, pool->entryObjectCount());
    EXPECT_EQ("Foo", pool->textAt(9, "a class name", scratch));
    EXPECT_EQ(scratch.data(), pool->textAt(9, "a class name", scratch).data());
}

TEST(ConstantPoolTest, AddedEntriesReadLikeReadOnes) {
    classwriter::ConstantPoolBuilder b;
    b.utf8("Foo"); // 1
    auto pool = readPool(b);
    DiagnosticsCapture err; // add's warnings
    auto text = std::make_unique<CPEUtf8>("Bar");
    const ConstantPoolEntry* added = text.get();
    EXPECT_EQ(2u, pool->add(std::move(text)));
    EXPECT_EQ(3u, pool->add(std::make_unique<CPEDouble>(1.5)));
    EXPECT_EQ(5u, pool->add(std::make_unique<CPEClass>(2)));
    EXPECT_EQ(6u, pool->add(std::make_unique<CPEMethodRef>(5, 1)));

    EXPECT_EQ(added, pool->get(2));
    std::string scratch;
    const std::string_view bar = pool->textAt(2, "a text", scratch);
    EXPECT_EQ("Bar", bar);
    EXPECT_NE(scratch.data(), bar.data());
    EXPECT_EQ(1.5, pool->doubleAt(3));
    EXPECT_EQ(NO_TAG, pool->tagAt(4));
    EXPECT_EQ(2, pool->classNameIndexAt(5));
    EXPECT_EQ(2, pool->classNameIndexOfRef(6));
    EXPECT_EQ("Bar", pool->valueAt(5, "a class"));
    EXPECT_EQ(4u, pool->entryObjectCount());
}

// ClassInfo::mayEndProcessInCheckPass walks the pool with skipEntry: one byte off for any kind and
// it misreads every entry after it.
TEST(ConstantPoolTest, SkippingAnEntryStepsOverExactlyWhatTheReaderReads) {
    using Builder = classwriter::ConstantPoolBuilder;
    const std::function<void(Builder&)> kinds[] = {
        [](Builder& b) { b.utf8("Foo"); },
        [](Builder& b) { b.unicode({'a', 'b', 'c'}); },
        [](Builder& b) { b.integer(-7); },
        [](Builder& b) { b.floating(0.1f); },
        [](Builder& b) { b.longValue(1); },
        [](Builder& b) { b.doubleValue(2.5); },
        [](Builder& b) { b.classEntry(1); },
        [](Builder& b) { b.string(1); },
        [](Builder& b) { b.fieldref(1, 1); },
        [](Builder& b) { b.methodref(1, 1); },
        [](Builder& b) { b.interfaceMethodref(1, 1); },
        [](Builder& b) { b.nameAndType(1, 1); },
    };
    for (const auto& addEntry : kinds) {
        Builder b;
        addEntry(b);
        const std::vector<uint8_t>& bytes = b.bytes();
        std::istringstream in(std::string(bytes.begin(), bytes.end()));
        ByteStream stream(in);
        ConstantPool pool(nullptr, stream, b.count());
        const auto tag = static_cast<ConstantTag>(bytes[0]);
        SCOPED_TRACE("tag " + std::to_string(bytes[0]));

        ByteCursor whole(bytes.data(), bytes.size());
        whole.u1();
        EXPECT_TRUE(ConstantPool::skipEntry(whole, tag));
        EXPECT_EQ(stream.offset(), whole.pos());
        EXPECT_EQ(b.count(), 1 + slotsOf(tag));

        ByteCursor cut(bytes.data(), bytes.size() - 1);
        cut.u1();
        EXPECT_FALSE(ConstantPool::skipEntry(cut, tag));
    }
}

TEST(ConstantPoolTest, CountBelowTwoReadsNothingAndWideEntryMayEndThePool) {
    for (uint16_t count : {0, 1}) {
        std::istringstream in("\x01\x00\x01X");
        ByteStream stream(in);
        ConstantPool pool(nullptr, stream, count);
        EXPECT_EQ(count, pool.size());
        EXPECT_EQ(0u, stream.offset());
        EXPECT_EQ(nullptr, pool.get(1));
    }
    classwriter::ConstantPoolBuilder b;
    b.utf8("x");
    b.longValue(5);
    std::istringstream in(std::string(b.bytes().begin(), b.bytes().end()));
    ByteStream stream(in);
    ConstantPool pool(nullptr, stream, 3); // the long's second slot falls outside
    EXPECT_EQ(3u, pool.size());
    EXPECT_EQ("5", pool.get(2)->getValue());
}

TEST(ConstantPoolTest, UnknownTagIsReportedWithItsIndex) {
    for (uint8_t tag : {uint8_t{13}, uint8_t{0}}) {
        classwriter::ConstantPoolBuilder b;
        b.utf8("a");
        b.longValue(1);
        b.raw(tag, {});
        DiagnosticsCapture err;
        EXPECT_EQ("Unknown tag", errorOf<util::RuntimeErrorST>([&] { readPool(b); }));
        EXPECT_EQ("Unknown tag @ 4:" + std::to_string(tag) + ":\n", err.text());
    }
}

TEST(ConstantPoolTest, MemberReferencesCheckTheKindsTheyName) {
    classwriter::ConstantPoolBuilder b;
    b.utf8("Foo");       // 1
    b.classEntry(1);     // 2
    b.nameAndType(1, 1); // 3
    b.methodref(1, 3);   // 4: class index names a Utf8
    b.fieldref(2, 2);    // 5: name-and-type index names a class
    b.methodref(2, 99);  // 6: outside the pool
    auto pool = readPool(b);
    DiagnosticsCapture err;
    EXPECT_EQ("Reading TKB error:  pool[1] != CPEClass",
              errorOf([&] { pool->get(4)->getValue(); }));
    EXPECT_EQ("Reading TKB error:  pool[2] !=  CPENameAndType",
              errorOf([&] { pool->get(5)->getValue(); }));
    EXPECT_EQ("Reading TKB error:  pool[99] !=  CPENameAndType",
              errorOf([&] { pool->get(6)->getValue(); }));
    EXPECT_EQ("CPERef : pool[1] != CPEClass \nCPERef : pool[2] != CPENameAndType \n"
              "CPERef : pool[99] != CPENameAndType \n",
              err.text());

    // The lookups through a reference fail with the same error and the same diagnostic line.
    DiagnosticsCapture lookupErr;
    EXPECT_EQ("Reading TKB error:  pool[1] != CPEClass",
              errorOf([&] { pool->classNameIndexOfRef(4); }));
    EXPECT_EQ("Reading TKB error:  pool[2] !=  CPENameAndType",
              errorOf([&] { pool->nameAndTypeOfRef(5); }));
    EXPECT_EQ("Reading TKB error:  pool[99] !=  CPENameAndType",
              errorOf([&] { pool->nameAndTypeOfRef(6); }));
    EXPECT_EQ(err.text(), lookupErr.text());
}

TEST(ConstantPoolTest, IndicesFromTheFileAreCheckedAndCyclesStop) {
    classwriter::ConstantPoolBuilder b;
    b.classEntry(1); // 1: names itself
    b.string(40);    // 2: outside the pool
    b.longValue(3);  // 3 and 4
    b.string(4);     // 5: empty slot
    b.classEntry(7); // 6 <-> 7 refer to each other
    b.string(6);     // 7
    auto pool = readPool(b);
    DiagnosticsCapture err;
    EXPECT_NE(std::string::npos,
              errorOf([&] { pool->get(1)->getValue(); }).find("nest too deeply"));
    EXPECT_EQ("Reading TKB failed: constant pool index 40 for the string value is outside the pool "
              "(size 8)",
              errorOf([&] { pool->get(2)->getValue(); }));
    EXPECT_EQ("Reading TKB failed: constant pool index 4 for the string value names an empty slot",
              errorOf([&] { pool->get(5)->getValue(); }));
    EXPECT_NE(std::string::npos,
              errorOf([&] { pool->get(7)->getValue(); }).find("nest too deeply"));
    // Diagnostic texts show a marker instead of failing.
    EXPECT_EQ("{tag=String; string_index=40 [<index 40 outside the pool>]}", textOf(*pool->get(2)));
}

TEST(ConstantPoolTest, OnlyUtf8AndValueEntriesCompareEqualAndAddNeverReuses) {
    classwriter::ConstantPoolBuilder b;
    b.utf8("A");       // 1
    b.utf8("A");       // 2
    b.classEntry(1);   // 3
    b.classEntry(1);   // 4
    b.methodref(3, 3); // 5
    b.fieldref(3, 3);  // 6
    b.integer(4);      // 7
    b.integer(4);      // 8
    auto pool = readPool(b);
    const std::string warning = "operator== not implemented! always return false\n";
    DiagnosticsCapture err;
    EXPECT_TRUE(*pool->get(1) == *pool->get(2));
    EXPECT_TRUE(*pool->get(7) == *pool->get(8));
    EXPECT_FALSE(*pool->get(3) == *pool->get(1));
    EXPECT_EQ("", err.text());
    EXPECT_FALSE(*pool->get(3) == *pool->get(4));
    EXPECT_FALSE(*pool->get(5) == *pool->get(6));
    EXPECT_EQ(warning + warning, err.text());

    // add appends even an equal entry, and warns once for every slot it passes over.
    EXPECT_EQ(9u, pool->add(std::make_unique<CPEUtf8>("A")));
    EXPECT_EQ(10u, pool->add(std::make_unique<CPEDouble>(1.0)));
    EXPECT_EQ(12u, pool->size());
    EXPECT_EQ(pool.get(), pool->get(10)->pool);
    EXPECT_EQ(nullptr, pool->get(11));
    std::string warnings;
    for (int i = 0; i < 2 + 8 + 9; ++i)
        warnings += warning;
    EXPECT_EQ(warnings, err.text());
}

TEST(ConstantPoolTest, ParsesFieldTypeDescriptors) {
    std::vector<std::string> names;
    std::string rest = "IJLjava/lang/String;[I[[I[[Ljava/lang/Object;[Lint;Z";
    while (!rest.empty())
        rest = ConstantPool::parseFieldType(rest, names);
    EXPECT_EQ((std::vector<std::string>{"int", "long", "java.lang.String", "[I", "[[I",
                                        "[[java.lang.Object", "[I", "boolean"}),
              names);

    DiagnosticsCapture err;
    EXPECT_EQ("Reading TKB failed: Unknown field type: X;",
              errorOf([&] { ConstantPool::parseFieldType("[X;", names); }));
    EXPECT_EQ("unknown field type:X\n", err.text());
    EXPECT_EQ("Reading TKB failed: Unknown field type: Ljava/lang",
              errorOf([&] { ConstantPool::parseFieldType("Ljava/lang", names); }));
    EXPECT_NE("", errorOf([&] { ConstantPool::parseFieldType(std::string(100000, '['), names); }));
}

TEST(ConstantPoolTest, DisplayFormsForCodeListings) {
    classwriter::ConstantPoolBuilder b;
    b.classNamed("[[Lcom/velmor/Box$Inner;"); // 1, 2
    const uint16_t method =
        b.methodrefOf("com/velmor/gc/Builtins", "box", "(I[DLjava/lang/String;)V");
    const uint16_t infinity = b.floating(std::numeric_limits<float>::infinity());
    b.doubleValue(-std::numeric_limits<double>::infinity());
    auto pool = readPool(b);
    // The listing tests and the golden dump show integer, string and field reference forms.
    EXPECT_EQ("Class Lcom.velmor.Box.Inner;[][]", pool->get(2)->toLiteral());
    EXPECT_EQ("", pool->get(1)->toLiteral());
    EXPECT_EQ("Method void com.velmor.gc.Builtins.box(int, [D, java.lang.String)",
              pool->get(method)->toLiteral());
    EXPECT_EQ("infinity", pool->get(infinity)->getValue());
    EXPECT_EQ("Double -infinity", pool->get(infinity + 1)->toLiteral());
}

} // namespace

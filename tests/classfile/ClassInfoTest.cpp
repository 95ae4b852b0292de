// Reading and printing whole class files, and how reading them fails.
#include <functional>
#include <istream>
#include <stdexcept>
#include <streambuf>

#include <gtest/gtest.h>

#include "ClassFileTestSupport.h"

using namespace classfile;
using namespace classfiletest;
namespace cw = classwriter;

namespace {

// A class that uses every entry kind, attribute kind and element value tag.
cw::ClassWriter richClass() {
    using namespace classwriter;
    ClassWriter w = minimalClass();
    ConstantPoolBuilder& p = w.pool;
    const uint16_t object = w.superClass = p.classNamed("java/lang/Object");
    w.interfaces = {p.classNamed("com/velmor/Shape")};
    const uint16_t code = p.utf8("Code");
    const uint16_t lnt = p.utf8("LineNumberTable");
    const uint16_t lvt = p.utf8("LocalVariableTable");
    const uint16_t stack = p.utf8("StackMap");
    const uint16_t visible = p.utf8("RuntimeVisibleAnnotations");
    const uint16_t paramVisible = p.utf8("RuntimeVisibleParameterAnnotations");
    const uint16_t number = p.integer(-7);
    const uint16_t ratio = p.floating(0.5f);
    const uint16_t big = p.longValue(1LL << 40);
    const uint16_t height = p.doubleValue(2.25);
    p.unicode({'u', 'n', 'i'});
    const uint16_t text = p.stringOf("hello");
    const uint16_t field = p.fieldrefOf("com/velmor/gc/Color", "RED", "Lcom/velmor/gc/Color;");
    const uint16_t call = p.methodrefOf("com/velmor/gc/Builtins", "box", "(DD)V");
    p.interfaceMethodref(object, p.nameAndTypeOf("area", "()D"));
    const uint16_t marker = p.utf8("Lcom/velmor/gc/TKAAnnotations;");
    const uint16_t valueName = p.utf8("value");
    const uint16_t nameName = p.utf8("name");
    const uint16_t rule = p.utf8("_$RULE");
    const uint16_t desc = p.utf8("(D)V");
    const uint16_t param = p.utf8("size");
    const uint16_t dtype = p.utf8("D");

    Annotation nested{marker, {{nameName, ElementValue::constant('s', rule)}}, {}};
    Annotation top{marker, {}, {}};
    top.pairs.push_back({valueName, ElementValue::array({ElementValue::annotation(nested)})});
    for (char tag : std::string("BCISZ"))
        top.pairs.push_back({nameName, ElementValue::constant(tag, number)});
    top.pairs.push_back({nameName, ElementValue::constant('F', ratio)});
    top.pairs.push_back({nameName, ElementValue::constant('D', height)});
    top.pairs.push_back({nameName, ElementValue::constant('J', big)});
    top.pairs.push_back({nameName, ElementValue::enumConstant(dtype, rule)});
    top.pairs.push_back({nameName, ElementValue::classInfo(dtype)});

    Code body;
    body.maxStack = 4;
    body.maxLocals = 3;
    body.code = {0x12, static_cast<uint8_t>(text), 0xB2, 0x00, static_cast<uint8_t>(field),  0xB8,
                 0x00, static_cast<uint8_t>(call), 0x14, 0x00, static_cast<uint8_t>(height), 0xB1};
    body.exceptions = {{0, 4, 8, 0}, {1, 4, 9, object}};
    body.attributes = {lineNumberTable(lnt, {{0, 10}, {8, 11}}),
                       localVariableTable(lvt, {{0, 12, param, dtype, 0}}),
                       stackMap(stack, {{0, {{1, 0}, {7, 2}, {8, 5}}, {{0, 0}}}})};

    Member method;
    method.accessFlags = 0x0009;
    method.nameIndex = p.utf8("box");
    method.descriptorIndex = desc;
    method.attributes = {codeAttribute(code, body), annotations(visible, {top}),
                         parameterAnnotations(paramVisible, {{nested}, {}}),
                         parameterAnnotations(p.utf8("RuntimeInvisibleParameterAnnotations"),
                                              {{}, {nested, nested}}),
                         exceptions(p.utf8("Exceptions"), {object})};
    w.methods.push_back(method);

    Member constant;
    constant.accessFlags = 0x0018;
    constant.nameIndex = p.utf8("LIMIT");
    constant.descriptorIndex = p.utf8("I");
    constant.attributes = {constantValue(p.utf8("ConstantValue"), number),
                           emptyAttribute(p.utf8("Synthetic"))};
    w.fields.push_back(constant);

    w.attributes = {sourceFile(p.utf8("SourceFile"), p.utf8("Foo.rules")),
                    innerClasses(p.utf8("InnerClasses"), {{object, 2, 1, 0x0019}}),
                    emptyAttribute(p.utf8("Deprecated")),
                    rawAttribute(p.utf8("Signature"), {1, 2, 3}),
                    annotations(p.utf8("RuntimeInvisibleAnnotations"), {nested})};
    return w;
}

TEST(ClassInfoTest, HeaderChecksTheMagicAndTheMajorVersionAsSigned) {
    for (uint16_t major : {0, 50, 0x8000, 0xFFFF}) {
        classwriter::ClassWriter w = minimalClass();
        w.majorVersion = major;
        w.minorVersion = 0xFFFF;
        EXPECT_EQ(major, readClass(w.bytes())->major_version);
    }
    classwriter::ClassWriter w = minimalClass();
    w.majorVersion = 51;
    DiagnosticsCapture err;
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
    DiagnosticsCapture err;
    EXPECT_EQ("Reading TKB failed (class index 3 not in pool (count 3)).",
              errorOf([&] { readClass(w.bytes()); }));
    EXPECT_EQ("this_class_index not in pool: 3 >= 3\n", err.text());
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

// The dumps of kov dump: every section, every entry, attribute and element value kind.
TEST(ClassInfoTest, EmptyAndRichClassesPrintTheirGoldenTexts) {
    classwriter::ClassWriter empty = minimalClass();
    empty.accessFlags = 0x0421; // public, synchronized, abstract
    auto info = readClass(empty.bytes());
    EXPECT_TRUE(info->allRead);
    EXPECT_EQ(info->constant_pool->get(2), info->this_class);
    kovtest::expectGolden(KOVTEST_GOLDEN_DIR "/empty-class.txt", textOf(*info));

    const classwriter::ClassWriter rich = richClass();
    DiagnosticsCapture err;
    info = readClass(rich.bytes());
    EXPECT_TRUE(info->allRead);
    EXPECT_EQ(rich.pool.count() + 1, info->constant_pool_count); // the StackMap's own name entry
    kovtest::expectGolden(KOVTEST_GOLDEN_DIR "/rich-class.txt", textOf(*info));

    // Class entries never compare equal, so even an interface displays as a class; each
    // comparison with an interface entry leaves its warning.
    DiagnosticsCapture comparisons;
    EXPECT_EQ("Class com.velmor.Shape", info->interfaces.at(0)->toLiteral());
    EXPECT_EQ("operator== not implemented! always return false\n", comparisons.text());
}

// A decode lets the model go but its pool before the rule file info's entries are built: the
// pool must read as before, its entries made again from the input and the added one kept.
TEST(ClassInfoTest, KeepingOnlyThePoolLeavesItsReadsAndEntriesWhole) {
    const classwriter::ClassWriter rich = richClass();
    DiagnosticsCapture err;
    auto info = readClass(rich.bytes());
    const std::string listing = textOf(*info->constant_pool);
    const uint32_t size = info->constant_pool->size();
    ASSERT_GT(info->constant_pool->entryObjectCount(), 1u);

    const std::unique_ptr<ConstantPool> pool = ClassInfo::keepPoolOnly(std::move(info));
    ASSERT_NE(nullptr, pool);
    EXPECT_EQ(nullptr, pool->owner);
    EXPECT_EQ(1u, pool->entryObjectCount()); // the StackMap's name entry, which lives on the heap
    EXPECT_EQ(size, pool->size());
    std::string scratch;
    EXPECT_EQ("StackMap", pool->textAt(size - 1, "the added name", scratch));
    EXPECT_EQ(listing, textOf(*pool));
}

// kov check decodes a file in a helper process when the prediction says yes: a miss ends the whole
// run, a false alarm only costs a process. Entries of every width come before the class entry.
TEST(CheckPassTest, PredictionMatchesTheReaderOnEitherSideOfThePoolCount) {
    const auto withClassNaming = [](uint16_t pastLastIndex) {
        classwriter::ClassWriter w = minimalClass();
        w.pool.unicode({'u'});
        w.pool.longValue(1);
        w.pool.stringOf("s");
        const uint16_t last = w.pool.count();
        w.pool.classEntry(static_cast<uint16_t>(last + pastLastIndex));
        return w.bytes();
    };
    const auto predicts = [](const std::vector<uint8_t>& bytes) {
        return ClassInfo::mayEndProcessInCheckPass(
            Bytes({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
    };

    const std::vector<uint8_t> countItself = withClassNaming(1);
    EXPECT_TRUE(predicts(countItself));
    EXPECT_EXIT(readClass(countItself), ::testing::ExitedWithCode(1), "nameIndex not in pool");

    const std::vector<uint8_t> lastIndex = withClassNaming(0);
    EXPECT_FALSE(predicts(lastIndex));
    EXPECT_TRUE(readClass(lastIndex)->allRead);

    // Files the reader refuses before the check pass are let through, however they end.
    std::vector<uint8_t> unknownTag = countItself;
    unknownTag[10] = 13;
    EXPECT_FALSE(predicts(unknownTag));
    const std::vector<uint8_t> cut(countItself.begin(), countItself.end() - 15);
    EXPECT_FALSE(predicts(cut));
}

// The fuzz targets rely on this to survive the check pass.
TEST(CheckPassTest, ASinkThatThrowsInsteadOfEndingTheProcessSeesTheLineFirst) {
    struct Refused {};
    struct ThrowingSink : kovtest::DiagnosticsCapture {
        [[noreturn]] void endProcess() override { throw Refused(); }
    } sink;
    classwriter::ClassWriter w = minimalClass();
    w.pool.classEntry(40);
    EXPECT_THROW(readClass(w.bytes()), Refused);
    EXPECT_EQ("nameIndex not in pool\n", sink.text());
}

TEST(TruncationTest, EveryCutOfARichFileFailsCleanly) {
    const std::vector<uint8_t> bytes = richClass().bytes();
    DiagnosticsCapture err;
    for (size_t cut = 0; cut < bytes.size(); ++cut) {
        const std::vector<uint8_t> prefix(bytes.begin(), bytes.begin() + cut);
        const std::string message = errorOf([&] { readClass(prefix); });
        EXPECT_EQ(0u, message.find("Reading TKB failed: unexpected end of file at offset " +
                                   std::to_string(cut)))
            << "cut at " << cut << ": " << message;
    }
}

TEST(TruncationTest, MessagesSayWhatWasBeingRead) {
    cw::ClassWriter w = minimalClass();
    w.pool.utf8("long text");
    const std::vector<uint8_t> bytes = w.bytes();
    const auto cut = [&](size_t size) { readClass({bytes.begin(), bytes.begin() + size}); };
    DiagnosticsCapture err;
    const std::string failed = "Reading TKB failed: ", eof = "unexpected end of file at offset ";
    const std::string inPool = eof + "24 while reading the constant pool entry at index 3";
    EXPECT_EQ(failed + inPool, errorOf([&] { cut(24); }));
    EXPECT_EQ(inPool + "\n", err.text());
    EXPECT_EQ(failed + eof + "3 while reading the class file header", errorOf([&] { cut(3); }));
    EXPECT_EQ(failed + eof + "32 while reading the class access flags and indices",
              errorOf([&] { cut(32); }));
}

TEST(TruncationTest, HugeDeclaredSizesFailAtTheEndOfInput) {
    cw::Code hugeCode;
    hugeCode.codeLength = 0x7FFFFFFF;
    const std::pair<std::function<void(cw::ClassWriter&)>, const char*> cases[] = {
        {[&](cw::ClassWriter& w) {
             w.attributes = {cw::codeAttribute(w.pool.utf8("Code"), hugeCode)};
         },
         "while reading the code bytes, in the \"Code\" attribute at position 0, in class "
         "attribute 0"},
        {[](cw::ClassWriter& w) {
             w.attributes = {cw::rawAttribute(w.pool.utf8("Blob"), {1, 2}, 0x7FFFFFFF)};
         },
         "the \"Blob\" attribute"},
        {[](cw::ClassWriter& w) { w.pool.raw(1, {0xFF, 0xFF, 'a'}); },
         "constant pool entry at index 3"},
        {[](cw::ClassWriter& w) { w.pool.raw(2, {0xFF, 0xFF, 0xFF, 0xFF}); },
         "unexpected end of file"},
        {[](cw::ClassWriter& w) { w.fieldsCount = 0xFFFF; }, "while reading field 0"},
    };
    DiagnosticsCapture err;
    for (const auto& [declare, expected] : cases) {
        cw::ClassWriter w = minimalClass();
        declare(w);
        const std::string error = errorOf([&] { readClass(w.bytes()); });
        EXPECT_NE(std::string::npos, error.find(expected)) << error;
    }
}

// Hands out the first limit bytes of data, then fails the way a broken device would.
class FailingBuffer : public std::streambuf {
public:
    FailingBuffer(std::string data, size_t limit) : mData(std::move(data)), mLimit(limit) {}

protected:
    int_type underflow() override {
        if (mGiven >= mLimit)
            throw std::runtime_error("device failed");
        char* at = &mData[mGiven];
        setg(at, at, at + 1);
        ++mGiven;
        return traits_type::to_int_type(*at);
    }

private:
    std::string mData;
    size_t mLimit;
    size_t mGiven = 0;
};

TEST(TruncationTest, AFailingStreamEndsTheInputWhereItFailed) {
    const std::vector<uint8_t> bytes = minimalClass().bytes();
    const std::string data(bytes.begin(), bytes.end());
    DiagnosticsCapture err;
    // Inside a four-byte read the message names where that read began, inside two-byte reads
    // where input ended.
    for (const auto& [limit, offset] : {std::pair<size_t, size_t>{2, 0}, {9, 9}, {12, 12}}) {
        FailingBuffer buffer(data, limit);
        std::istream in(&buffer);
        const std::string message = errorOf([&] {
            ByteStream stream(in);
            ClassInfo info(stream);
        });
        EXPECT_EQ(0u, message.find("Reading TKB failed: unexpected end of file at offset " +
                                   std::to_string(offset) + " "))
            << limit << ": " << message;
        EXPECT_TRUE(in.bad());
    }
    // A stream that asks for exceptions on bad gets the stream buffer's own.
    FailingBuffer buffer(data, 5);
    std::istream in(&buffer);
    in.exceptions(std::ios_base::badbit);
    EXPECT_EQ("device failed", errorOf([&] { ByteStream stream(in); }));
}

} // namespace

#include <gtest/gtest.h>

#include "ClassFileTestSupport.h"

using namespace classfile;
using namespace classfiletest;
namespace cw = classwriter;

namespace {

TEST(TruncationTest, EveryCutOfARichFileFailsCleanly) {
    const std::vector<uint8_t> bytes = richClass().bytes();
    CerrCapture err;
    auto full = readClass(bytes);
    ASSERT_TRUE(full->allRead);
    EXPECT_FALSE(textOf(*full).empty());
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
    CerrCapture err;
    const std::string failed = "Reading TKB failed: ", eof = "unexpected end of file at offset ";
    const std::string inPool = eof + "24 while reading the constant pool entry at index 3";
    EXPECT_EQ(failed + inPool, errorOf([&] { cut(24); }));
    EXPECT_EQ(inPool + "\n", err.text());
    EXPECT_EQ(failed + eof + "3 while reading the class file header", errorOf([&] { cut(3); }));
    EXPECT_EQ(failed + eof + "32 while reading the class access flags and indices",
              errorOf([&] { cut(32); }));
}

TEST(TruncationTest, HugeDeclaredSizesFailAtTheEndOfInput) {
    cw::ClassWriter w = minimalClass();
    const uint16_t code = w.pool.utf8("Code");
    const uint16_t unknown = w.pool.utf8("Blob");
    CerrCapture err;

    cw::Code body;
    body.codeLength = 0x7FFFFFFF;
    cw::ClassWriter withCode = w;
    withCode.attributes = {cw::codeAttribute(code, body)};
    EXPECT_NE(std::string::npos,
              errorOf([&] { readClass(withCode.bytes()); })
                  .find("while reading the code bytes, in the \"Code\" attribute at position 0, "
                        "in class attribute 0"));

    cw::ClassWriter withBlob = w;
    withBlob.attributes = {cw::rawAttribute(unknown, {1, 2}, 0x7FFFFFFF)};
    EXPECT_NE(std::string::npos,
              errorOf([&] { readClass(withBlob.bytes()); }).find("the \"Blob\" attribute"));

    cw::ClassWriter withText = minimalClass();
    withText.pool.raw(1, {0xFF, 0xFF, 'a'});
    EXPECT_NE(std::string::npos,
              errorOf([&] { readClass(withText.bytes()); }).find("constant pool entry at index 3"));

    cw::ClassWriter withUnicode = minimalClass();
    withUnicode.pool.raw(2, {0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_NE(std::string::npos,
              errorOf([&] { readClass(withUnicode.bytes()); }).find("unexpected end of file"));

    cw::ClassWriter manyFields = minimalClass();
    manyFields.fieldsCount = 0xFFFF;
    EXPECT_NE(std::string::npos,
              errorOf([&] { readClass(manyFields.bytes()); }).find("while reading field 0"));
}

} // namespace

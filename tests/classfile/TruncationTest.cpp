#include <functional>

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
    CerrCapture err;
    for (const auto& [declare, expected] : cases) {
        cw::ClassWriter w = minimalClass();
        declare(w);
        const std::string error = errorOf([&] { readClass(w.bytes()); });
        EXPECT_NE(std::string::npos, error.find(expected)) << error;
    }
}

} // namespace

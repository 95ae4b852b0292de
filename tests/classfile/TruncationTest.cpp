#include <gtest/gtest.h>

#include "ClassFileTestSupport.h"

using namespace classfile;
using namespace classfiletest;
namespace cw = classwriter;

namespace {

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
    {
        CerrCapture err;
        EXPECT_EQ("Reading TKB failed: unexpected end of file at offset 24 while reading the "
                  "constant pool entry "
                  "at index 3",
                  errorOf([&] {
                      readClass({bytes.begin(), bytes.begin() + 24});
                  }));
        EXPECT_EQ("unexpected end of file at offset 24 while reading the constant pool entry at "
                  "index 3\n",
                  err.text());
    }
    CerrCapture err;
    EXPECT_EQ("Reading TKB failed: unexpected end of file at offset 3 while reading the class file "
              "header",
              errorOf([&] {
                  readClass({bytes.begin(), bytes.begin() + 3});
              }));
    EXPECT_EQ("Reading TKB failed: unexpected end of file at offset 32 while reading the class "
              "access flags and "
              "indices",
              errorOf([&] {
                  readClass({bytes.begin(), bytes.begin() + 32});
              }));
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

TEST(TruncationTest, AFailingStreamEndsTheInputWhereItFailed) {
    const std::vector<uint8_t> bytes = minimalClass().bytes();
    const std::string data(bytes.begin(), bytes.end());
    CerrCapture err;
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

#include "classfile/ByteStream.h"

#include <algorithm>

#include "classfile/ReadError.h"

namespace classfile {

namespace {
// Upper bound of one buffer growth step when reading a length-prefixed block.
constexpr uint64_t CHUNK_SIZE = 64 * 1024;
} // namespace

ByteStream::ByteStream(std::istream& in) : stream(in) {}

ByteStream::~ByteStream() = default;

ByteStream::Section::Section(ByteStream& stream, std::string what) : mStream(stream) {
    mStream.mSections.push_back(std::move(what));
}

ByteStream::Section::~Section() {
    mStream.mSections.pop_back();
}

void ByteStream::failEndOfInput(uint64_t atOffset) const {
    std::string where;
    for (auto it = mSections.rbegin(); it != mSections.rend(); ++it)
        where += (where.empty() ? " while reading " : ", in ") + *it;
    if (where.empty())
        where = " while reading the class file";
    const std::string message =
        "unexpected end of file at offset " + std::to_string(atOffset) + where;
    failRead(message, "Reading TKB failed: " + message);
}

void ByteStream::readInto(char* dest, size_t count) {
    stream.read(dest, static_cast<std::streamsize>(count));
    const auto got = static_cast<uint64_t>(stream.gcount());
    if (got != count)
        failEndOfInput(mOffset + got);
    mOffset += count;
}

uint8_t ByteStream::readU1() {
    const auto c = stream.get();
    if (c == std::istream::traits_type::eof())
        failEndOfInput(mOffset);
    ++mOffset;
    return static_cast<uint8_t>(c);
}

uint16_t ByteStream::readU2() {
    const uint16_t high = readU1();
    return static_cast<uint16_t>((high << 8) | readU1());
}

uint32_t ByteStream::readU4() {
    unsigned char b[4];
    readInto(reinterpret_cast<char*>(b), sizeof b);
    return (uint32_t{b[0]} << 24) | (uint32_t{b[1]} << 16) | (uint32_t{b[2]} << 8) | uint32_t{b[3]};
}

uint64_t ByteStream::readU8() {
    const uint64_t high = readU4();
    return (high << 32) | readU4();
}

void ByteStream::readBytes(std::vector<uint8_t>& out, uint64_t count) {
    while (count > 0) {
        const size_t chunk = static_cast<size_t>(std::min(count, CHUNK_SIZE));
        const size_t start = out.size();
        out.resize(start + chunk);
        readInto(reinterpret_cast<char*>(out.data() + start), chunk);
        count -= chunk;
    }
}

std::string ByteStream::readString(uint64_t count) {
    std::string out;
    while (count > 0) {
        const size_t chunk = static_cast<size_t>(std::min(count, CHUNK_SIZE));
        const size_t start = out.size();
        out.resize(start + chunk);
        readInto(&out[start], chunk);
        count -= chunk;
    }
    return out;
}

} // namespace classfile

#include "classfile/ByteStream.h"

#include <algorithm>

#include <cxxabi.h>

#include "classfile/ReadError.h"

namespace classfile {

namespace {
// Upper bound of one buffer growth step when reading a length-prefixed block.
constexpr uint64_t CHUNK_SIZE = 64 * 1024;
} // namespace

ByteStream::ByteStream(std::istream& in) : stream(in) {}

ByteStream::~ByteStream() = default;

ByteStream::Section::Section(ByteStream& stream, const char* what) : mStream(stream) {
    mStream.mSections.push_back({what, {}, "", 0, false});
}

ByteStream::Section::Section(ByteStream& stream, const char* what, uint64_t number)
    : mStream(stream) {
    mStream.mSections.push_back({what, {}, "", number, true});
}

ByteStream::Section::Section(ByteStream& stream, const char* before, std::string_view name,
                             const char* after, uint64_t number)
    : mStream(stream) {
    mStream.mSections.push_back({before, name, after, number, true});
}

ByteStream::Section::~Section() {
    mStream.mSections.pop_back();
}

void ByteStream::failEndOfInput(uint64_t atOffset) const {
    std::string where;
    for (auto it = mSections.rbegin(); it != mSections.rend(); ++it) {
        where += where.empty() ? " while reading " : ", in ";
        where += it->before;
        where += it->name;
        where += it->after;
        if (it->numbered)
            where += std::to_string(it->number);
    }
    if (where.empty())
        where = " while reading the class file";
    const std::string message =
        "unexpected end of file at offset " + std::to_string(atOffset) + where;
    failRead(message, "Reading TKB failed: " + message);
}

// Bytes come straight from the stream buffer, without the sentry that the stream's own get and
// read build on every call; the stream's state bits end up as those calls would leave them.

bool ByteStream::readable() {
    if (!stream.good()) {
        stream.setstate(std::ios_base::failbit);
        return false;
    }
    if (stream.tie())
        stream.tie()->flush();
    return true;
}

void ByteStream::markBad() {
    const std::ios_base::iostate mask = stream.exceptions();
    stream.exceptions(std::ios_base::goodbit);
    stream.setstate(std::ios_base::badbit);
    try {
        stream.exceptions(mask);
    } catch (const std::ios_base::failure&) {
    }
}

void ByteStream::streamBufferFailed(std::ios_base::iostate state) {
    markBad();
    if (stream.exceptions() & std::ios_base::badbit)
        throw;
    stream.setstate(state);
}

void ByteStream::readInto(char* dest, size_t count) {
    if (!readable())
        failEndOfInput(mOffset);
    uint64_t got = 0;
    try {
        got = static_cast<uint64_t>(
            stream.rdbuf()->sgetn(dest, static_cast<std::streamsize>(count)));
    } catch (const abi::__forced_unwind&) {
        markBad();
        throw;
    } catch (...) {
        streamBufferFailed(std::ios_base::goodbit);
        failEndOfInput(mOffset);
    }
    if (got != count) {
        stream.setstate(std::ios_base::eofbit | std::ios_base::failbit);
        failEndOfInput(mOffset + got);
    }
    mOffset += count;
}

uint8_t ByteStream::readU1() {
    using Traits = std::istream::traits_type;
    if (!readable())
        failEndOfInput(mOffset);
    Traits::int_type c = Traits::eof();
    try {
        c = stream.rdbuf()->sbumpc();
    } catch (const abi::__forced_unwind&) {
        markBad();
        throw;
    } catch (...) {
        streamBufferFailed(std::ios_base::failbit);
        failEndOfInput(mOffset);
    }
    if (Traits::eq_int_type(c, Traits::eof())) {
        stream.setstate(std::ios_base::eofbit | std::ios_base::failbit);
        failEndOfInput(mOffset);
    }
    ++mOffset;
    return static_cast<uint8_t>(Traits::to_char_type(c));
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

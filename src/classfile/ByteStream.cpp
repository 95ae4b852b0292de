#include "classfile/ByteStream.h"

#include <algorithm>
#include <cstring>

#include <cxxabi.h>

#include "classfile/ReadError.h"

namespace classfile {

namespace {
// Block reads of a stream that failed report the start of the 64 KiB piece they were at, as the
// reader did when it read such blocks piece by piece.
constexpr uint64_t CHUNK_SIZE = 64 * 1024;
// First block of an input whose size the stream does not tell.
constexpr size_t FIRST_BLOCK = 64 * 1024;
} // namespace

ByteStream::ByteStream(std::istream& in) : stream(in) {
    readInput();
    mBegin = mPos = mInput->bytes.get();
    mEnd = mBegin + mInput->size;
}

ByteStream::~ByteStream() = default;

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

// Bytes come straight from the stream buffer, without the sentry that the stream's own read builds.
// They are taken as much as the buffer holds at a time, never more: a stream buffer can then fail
// only while it refills, before anything of the refill is lost, so the input ends exactly where it
// failed. The buffer grows geometrically unless the stream buffer tells how much is left.
void ByteStream::readInput() {
    using Traits = std::istream::traits_type;
    auto input = std::make_shared<Input>();
    size_t capacity = 0;
    const auto ensureRoom = [&](size_t room) {
        if (capacity - input->size >= room)
            return;
        const size_t grown = std::max(input->size + room, std::max(capacity * 2, FIRST_BLOCK));
        std::unique_ptr<char[]> bigger(new char[grown]);
        if (input->size)
            std::memcpy(bigger.get(), input->bytes.get(), input->size);
        input->bytes = std::move(bigger);
        capacity = grown;
    };
    if (readable()) {
        std::streambuf& buffer = *stream.rdbuf();
        try {
            // A stream buffer that tells what is left (a file, a buffer in memory) usually holds the
            // whole input: room for exactly that, not a first block far larger than a small file.
            const std::streamsize hint = buffer.in_avail();
            if (hint > 0) {
                input->bytes.reset(new char[static_cast<size_t>(hint)]);
                capacity = static_cast<size_t>(hint);
            }
            while (!Traits::eq_int_type(buffer.sgetc(), Traits::eof())) {
                const std::streamsize held = buffer.in_avail();
                if (held <= 0) {
                    // A stream buffer without a get area of its own: one byte at a time.
                    ensureRoom(1);
                    input->bytes[input->size++] = Traits::to_char_type(buffer.sbumpc());
                    continue;
                }
                ensureRoom(static_cast<size_t>(held));
                input->size += static_cast<size_t>(
                    buffer.sgetn(input->bytes.get() + input->size, held));
            }
        } catch (const abi::__forced_unwind&) {
            markBad();
            throw;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            markBad();
            if (stream.exceptions() & std::ios_base::badbit)
                throw;
            mEndedByError = true;
        }
    }
    if (!input->bytes)
        input->bytes.reset(new char[1]);
    mInput = std::move(input);
}

void ByteStream::failShort(size_t count) {
    // Two-byte reads were two one-byte reads: they end where the input does.
    if (mEndedByError && count > 2)
        failEndOfInput(offset());
    failEndOfInput(mInput->size);
}

void ByteStream::failShortBlock(uint64_t count) {
    (void)count;
    if (mEndedByError) {
        const uint64_t start = offset();
        failEndOfInput(start + (mInput->size - start) / CHUNK_SIZE * CHUNK_SIZE);
    }
    failEndOfInput(mInput->size);
}

void ByteStream::failEndOfInput(uint64_t atOffset) {
    if (!mEndedByError)
        stream.setstate(std::ios_base::eofbit | std::ios_base::failbit);
    std::string where;
    for (const Section* section = mTop; section; section = section->mOuter) {
        where += where.empty() ? " while reading " : ", in ";
        where += section->mBefore;
        where += section->mName;
        where += section->mAfter;
        if (section->mNumbered)
            where += std::to_string(section->mNumber);
    }
    if (where.empty())
        where = " while reading the class file";
    const std::string message =
        "unexpected end of file at offset " + std::to_string(atOffset) + where;
    failRead(message, "Reading TKB failed: " + message);
}

} // namespace classfile

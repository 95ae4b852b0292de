#pragma once

#include <cstddef>
#include <cstdint>

namespace classfile {

/// The big-endian u2 at p; p must hold two bytes.
inline uint16_t loadU2(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] << 8 | p[1]);
}

/// The big-endian u4 at p; p must hold four bytes.
inline uint32_t loadU4(const uint8_t* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

/// Big-endian reads over bytes already in memory, for walks that must not throw: a read past the
/// end yields 0, moves the cursor to the end and leaves it failed, so a walk can read on and test
/// ok() once where that is cheaper than testing every read.
class ByteCursor {
public:
    ByteCursor(const uint8_t* data, size_t size) : mBegin(data), mPos(data), mEnd(data + size) {}

    uint8_t u1() { return take(1) ? mPos[-1] : 0; }
    uint16_t u2() { return take(2) ? loadU2(mPos - 2) : 0; }
    uint32_t u4() { return take(4) ? loadU4(mPos - 4) : 0; }
    int8_t s1() { return static_cast<int8_t>(u1()); }
    int16_t s2() { return static_cast<int16_t>(u2()); }
    int32_t s4() { return static_cast<int32_t>(u4()); }

    /// Moves past count bytes; false, and failed, when fewer are left.
    bool skip(uint64_t count) { return take(count); }

    /// No read has run past the end.
    bool ok() const { return mOk; }
    /// Offset of the next byte from the start.
    size_t pos() const { return static_cast<size_t>(mPos - mBegin); }
    size_t remaining() const { return static_cast<size_t>(mEnd - mPos); }

private:
    bool take(uint64_t count) {
        if (count > remaining()) {
            mOk = false;
            mPos = mEnd;
            return false;
        }
        mPos += count;
        return true;
    }

    const uint8_t* mBegin;
    const uint8_t* mPos;
    const uint8_t* mEnd;
    bool mOk = true;
};

} // namespace classfile

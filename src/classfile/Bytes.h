#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace classfile {

/// A view of bytes that live in the input or in the arena of the class model.
class Bytes {
public:
    Bytes() = default;
    explicit Bytes(std::string_view bytes)
        : mData(reinterpret_cast<const uint8_t*>(bytes.data())), mSize(bytes.size()) {}

    const uint8_t* data() const { return mData; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    const uint8_t* begin() const { return mData; }
    const uint8_t* end() const { return mData + mSize; }
    uint8_t operator[](size_t i) const { return mData[i]; }

    friend bool operator==(const Bytes& a, const Bytes& b) {
        return a.mSize == b.mSize && (a.mSize == 0 || std::memcmp(a.mData, b.mData, a.mSize) == 0);
    }
    friend bool operator!=(const Bytes& a, const Bytes& b) { return !(a == b); }

private:
    const uint8_t* mData = nullptr;
    size_t mSize = 0;
};

} // namespace classfile

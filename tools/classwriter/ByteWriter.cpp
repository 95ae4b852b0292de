#include "classwriter/ByteWriter.h"

namespace classwriter {

ByteWriter& ByteWriter::u1(uint8_t v) {
    mData.push_back(v);
    return *this;
}

ByteWriter& ByteWriter::u2(uint16_t v) {
    return u1(static_cast<uint8_t>(v >> 8)).u1(static_cast<uint8_t>(v));
}

ByteWriter& ByteWriter::u4(uint32_t v) {
    return u2(static_cast<uint16_t>(v >> 16)).u2(static_cast<uint16_t>(v));
}

ByteWriter& ByteWriter::u8(uint64_t v) {
    return u4(static_cast<uint32_t>(v >> 32)).u4(static_cast<uint32_t>(v));
}

ByteWriter& ByteWriter::bytes(const std::vector<uint8_t>& v) {
    mData.insert(mData.end(), v.begin(), v.end());
    return *this;
}

ByteWriter& ByteWriter::text(const std::string& v) {
    mData.insert(mData.end(), v.begin(), v.end());
    return *this;
}

} // namespace classwriter

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace classwriter {

/// Big-endian byte sink.
class ByteWriter {
public:
    ByteWriter& u1(uint8_t v);
    ByteWriter& u2(uint16_t v);
    ByteWriter& u4(uint32_t v);
    ByteWriter& u8(uint64_t v);
    ByteWriter& bytes(const std::vector<uint8_t>& v);
    ByteWriter& text(const std::string& v);

    const std::vector<uint8_t>& data() const { return mData; }
    size_t size() const { return mData.size(); }

private:
    std::vector<uint8_t> mData;
};

} // namespace classwriter

#include "CheckPreScreen.h"

#include <cstdint>

#include "classfile/ConstantPoolEntry.h"

namespace kovhost {

using classfile::ConstantTag;

namespace {

// Reads big-endian numbers; past the end it reports so instead of reading.
class Cursor {
public:
    explicit Cursor(const std::string& bytes) : mBytes(bytes) {}

    bool skip(uint64_t count) {
        if (count > mBytes.size() - mAt)
            return false;
        mAt += count;
        return true;
    }
    bool read(unsigned width, uint64_t& value) {
        if (width > mBytes.size() - mAt)
            return false;
        value = 0;
        for (unsigned i = 0; i < width; ++i)
            value = value << 8 | static_cast<uint8_t>(mBytes[mAt++]);
        return true;
    }

private:
    const std::string& mBytes;
    size_t mAt = 0;
};

} // namespace

bool mayEndProcessInCheckPass(const std::string& bytes) {
    Cursor in(bytes);
    uint64_t count = 0;
    // Magic and versions: whatever they hold, the pool comes next or the reader stops first.
    if (!in.skip(8) || !in.read(2, count))
        return false;
    for (uint64_t i = 1; i < count;) {
        uint64_t tagByte = 0;
        uint64_t value = 0;
        // A cut pool or an unknown tag fails the read before the check pass.
        if (!in.read(1, tagByte) || tagByte == 0 ||
            tagByte > static_cast<uint64_t>(ConstantTag::NameAndType))
            return false;
        const auto tag = static_cast<ConstantTag>(tagByte);
        switch (tag) {
        case ConstantTag::Utf8:
            if (!in.read(2, value) || !in.skip(value))
                return false;
            break;
        case ConstantTag::Unicode:
            if (!in.read(4, value) || !in.skip(value))
                return false;
            break;
        case ConstantTag::Class:
            if (!in.read(2, value))
                return false;
            if (value >= count)
                return true;
            break;
        case ConstantTag::String:
            if (!in.skip(2))
                return false;
            break;
        case ConstantTag::Integer:
        case ConstantTag::Float:
            if (!in.skip(4))
                return false;
            break;
        case ConstantTag::Long:
        case ConstantTag::Double:
            if (!in.skip(8))
                return false;
            break;
        default: // the references and the name-and-type entry: two indices
            if (!in.skip(4))
                return false;
        }
        i += tag == ConstantTag::Long || tag == ConstantTag::Double ? 2 : 1;
    }
    return false;
}

} // namespace kovhost

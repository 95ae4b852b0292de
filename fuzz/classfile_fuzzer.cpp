// libFuzzer entry: reads a class file from the input and prints it, expecting only clean errors.
//
// Run: classfile_fuzzer [-max_len=4096] CORPUS_DIR

#include <cstddef>
#include <cstdint>
#include <exception>
#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>

#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"

namespace {

class NullBuffer : public std::streambuf {
protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

uint32_t be(const uint8_t* p, size_t bytes) {
    uint32_t v = 0;
    for (size_t i = 0; i < bytes; ++i)
        v = (v << 8) | p[i];
    return v;
}

// The reader's final check ends the whole process, by design, when a class entry names an index
// outside the pool. Such inputs are skipped: this scan walks the pool the way the reader does and
// reports any class entry whose name index is not below the pool count.
bool classEntryWouldEndProcess(const uint8_t* data, size_t size) {
    if (size < 10)
        return false;
    const uint32_t count = be(data + 8, 2);
    size_t pos = 10;
    for (uint32_t index = 1; index < count;) {
        if (pos >= size)
            return false;
        const uint8_t tag = data[pos++];
        size_t payload = 0;
        uint32_t slots = 1;
        switch (tag) {
        case 1:
        case 2: {
            const size_t width = tag == 1 ? 2 : 4;
            if (size - pos < width)
                return false;
            payload = width + be(data + pos, width);
            break;
        }
        case 3:
        case 4:
        case 9:
        case 10:
        case 11:
        case 12: payload = 4; break;
        case 5:
        case 6:
            payload = 8;
            slots = 2;
            break;
        case 7:
            if (size - pos < 2)
                return false;
            if (be(data + pos, 2) >= count)
                return true;
            payload = 2;
            break;
        case 8: payload = 2; break;
        default: return false;
        }
        if (payload > size - pos)
            return false;
        pos += payload;
        index += slots;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static NullBuffer sink;
    // The reader writes a diagnostic line before most errors; keep them off the fuzzer's output.
    static const bool quiet = (std::cerr.rdbuf(&sink), true);
    (void)quiet;
    if (classEntryWouldEndProcess(data, size))
        return 0;
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    try {
        classfile::ByteStream stream(in);
        classfile::ClassInfo info(stream);
        std::ostream out(&sink);
        info.print(out);
    } catch (const std::exception&) {
    }
    return 0;
}

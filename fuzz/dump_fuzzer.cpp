// libFuzzer entry: the text dump of the class model as `kov dump` writes it, with the instruction
// listing of every Code attribute. Only clean errors are expected.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::silenceDiagnostics();
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    fuzz::tolerateErrors([&] {
        classfile::ByteStream bytes(in);
        const classfile::ClassInfo classInfo(bytes);
        // Written out for real, so that every text of the dump is built and copied.
        std::ostringstream out;
        classInfo.print(out);
        out << "\n";
        FUZZ_EXPECT(out.str().compare(0, 11, "ClassFile {") == 0);
    });
    return 0;
}

#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"
#include "classfile/ConstantPool.h"
#include "classwriter/ClassWriter.h"

namespace classfiletest {

using kovtest::DiagnosticsCapture;
using kovtest::errorOf;

inline std::unique_ptr<classfile::ClassInfo> readClass(const std::vector<uint8_t>& bytes) {
    std::istringstream in(std::string(bytes.begin(), bytes.end()));
    classfile::ByteStream stream(in);
    return std::make_unique<classfile::ClassInfo>(stream);
}

/// A pool read on its own from the builder's entries.
inline std::unique_ptr<classfile::ConstantPool>
readPool(const classwriter::ConstantPoolBuilder& builder) {
    std::istringstream in(std::string(builder.bytes().begin(), builder.bytes().end()));
    classfile::ByteStream stream(in);
    return std::make_unique<classfile::ConstantPool>(nullptr, stream, builder.count());
}

template <typename T> std::string textOf(const T& object) {
    std::ostringstream out;
    object.print(out);
    return out.str();
}

/// A class "Foo" (pool index 2) with nothing else.
inline classwriter::ClassWriter minimalClass() {
    classwriter::ClassWriter writer;
    writer.pool.utf8("Foo");
    writer.thisClass = writer.pool.classEntry(1);
    return writer;
}

} // namespace classfiletest

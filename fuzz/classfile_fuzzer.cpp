// libFuzzer entry: reads a class file, then asks the model for what the translator and the code
// listing ask it for: every entry's value and display form, every member's name and descriptor and
// the descriptor's types. Only clean errors are expected.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"

namespace {

using classfile::ConstantPool;

// Splits a method descriptor into its field types the way the code listing does.
void parseDescriptor(const std::string& descriptor) {
    std::vector<std::string> types;
    std::string rest = descriptor;
    if (!rest.empty() && rest[0] == '(') {
        rest.erase(0, 1);
        while (!rest.empty() && rest[0] != ')')
            rest = ConstantPool::parseFieldType(rest, types);
        if (rest.empty())
            return;
        rest.erase(0, 1);
    }
    ConstantPool::parseFieldType(rest, types);
}

void walkMember(const classfile::MemberInfo& member) {
    fuzz::tolerateErrors([&] { member.name(); });
    fuzz::tolerateErrors([&] { parseDescriptor(member.descriptor()); });
    for (const auto& attribute : member.attributes)
        FUZZ_EXPECT(attribute != nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::silenceDiagnostics();
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    std::unique_ptr<classfile::ClassInfo> info;
    fuzz::tolerateErrors([&] {
        classfile::ByteStream stream(in);
        info = std::make_unique<classfile::ClassInfo>(stream);
    });
    if (!info)
        return 0;

    const ConstantPool& pool = *info->constant_pool;
    FUZZ_EXPECT(pool.size() == info->constant_pool_count);
    for (uint32_t i = 0; i < pool.size(); ++i) {
        const classfile::ConstantPoolEntry* entry = pool.get(i);
        if (!entry)
            continue;
        FUZZ_EXPECT(entry->index == i && entry->pool == &pool);
        fuzz::tolerateErrors([&] { entry->getValue(); });
        fuzz::tolerateErrors([&] { entry->toLiteral(); });
        pool.displayValue(i);
    }
    for (const auto& field : info->fields)
        walkMember(*field);
    for (const auto& method : info->methods)
        walkMember(*method);
    return 0;
}

#include "classwriter/ClassWriter.h"

#include "classwriter/ByteWriter.h"

namespace classwriter {

namespace {

uint16_t countOf(size_t size, const std::optional<uint16_t>& override) {
    return override.value_or(static_cast<uint16_t>(size));
}

void writeMembers(ByteWriter& out, const std::vector<Member>& members,
                  const std::optional<uint16_t>& count) {
    out.u2(countOf(members.size(), count));
    for (const auto& member : members) {
        out.u2(member.accessFlags).u2(member.nameIndex).u2(member.descriptorIndex);
        out.u2(countOf(member.attributes.size(), member.attributesCount));
        for (const auto& attribute : member.attributes)
            attribute.writeTo(out);
    }
}

} // namespace

std::vector<uint8_t> ClassWriter::bytes() const {
    ByteWriter out;
    out.u4(magic).u2(minorVersion).u2(majorVersion);
    out.u2(constantPoolCount.value_or(pool.count())).bytes(pool.bytes());
    out.u2(accessFlags).u2(thisClass).u2(superClass);
    out.u2(countOf(interfaces.size(), interfacesCount));
    for (uint16_t index : interfaces)
        out.u2(index);
    writeMembers(out, fields, fieldsCount);
    writeMembers(out, methods, methodsCount);
    out.u2(countOf(attributes.size(), attributesCount));
    for (const auto& attribute : attributes)
        attribute.writeTo(out);
    return out.data();
}

} // namespace classwriter

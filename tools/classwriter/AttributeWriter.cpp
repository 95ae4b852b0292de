#include "classwriter/AttributeWriter.h"

#include "classwriter/ByteWriter.h"

namespace classwriter {

namespace {

void writeTypes(ByteWriter& out, const std::vector<VerificationType>& types) {
    out.u2(static_cast<uint16_t>(types.size()));
    for (const auto& type : types) {
        out.u1(type.tag);
        if (type.tag == 7 || type.tag == 8)
            out.u2(type.operand);
    }
}

void writeAnnotationList(ByteWriter& out, const std::vector<Annotation>& list) {
    out.u2(static_cast<uint16_t>(list.size()));
    for (const auto& annotation : list)
        out.bytes(annotation.bytes());
}

} // namespace

void Attribute::writeTo(ByteWriter& out) const {
    out.u2(nameIndex)
        .u4(declaredLength.value_or(static_cast<uint32_t>(payload.size())))
        .bytes(payload);
}

Attribute rawAttribute(uint16_t nameIndex, std::vector<uint8_t> payload,
                       std::optional<uint32_t> declaredLength) {
    return Attribute{nameIndex, std::move(payload), declaredLength};
}

Attribute emptyAttribute(uint16_t nameIndex) {
    return rawAttribute(nameIndex, {});
}

Attribute constantValue(uint16_t nameIndex, uint16_t valueIndex) {
    return rawAttribute(nameIndex, ByteWriter().u2(valueIndex).data());
}

Attribute sourceFile(uint16_t nameIndex, uint16_t fileNameIndex) {
    return rawAttribute(nameIndex, ByteWriter().u2(fileNameIndex).data());
}

Attribute exceptions(uint16_t nameIndex, const std::vector<uint16_t>& classIndices) {
    ByteWriter out;
    out.u2(static_cast<uint16_t>(classIndices.size()));
    for (uint16_t index : classIndices)
        out.u2(index);
    return rawAttribute(nameIndex, out.data());
}

Attribute codeAttribute(uint16_t nameIndex, const Code& code) {
    ByteWriter out;
    out.u2(code.maxStack).u2(code.maxLocals);
    out.u4(code.codeLength.value_or(static_cast<uint32_t>(code.code.size()))).bytes(code.code);
    out.u2(static_cast<uint16_t>(code.exceptions.size()));
    for (const auto& row : code.exceptions)
        out.u2(row.startPc).u2(row.endPc).u2(row.handlerPc).u2(row.catchType);
    out.u2(static_cast<uint16_t>(code.attributes.size()));
    for (const auto& attribute : code.attributes)
        attribute.writeTo(out);
    return rawAttribute(nameIndex, out.data());
}

Attribute lineNumberTable(uint16_t nameIndex, const std::vector<LineNumber>& rows) {
    ByteWriter out;
    out.u2(static_cast<uint16_t>(rows.size()));
    for (const auto& row : rows)
        out.u2(row.startPc).u2(row.line);
    return rawAttribute(nameIndex, out.data());
}

Attribute localVariableTable(uint16_t nameIndex, const std::vector<LocalVariable>& rows) {
    ByteWriter out;
    out.u2(static_cast<uint16_t>(rows.size()));
    for (const auto& row : rows)
        out.u2(row.startPc).u2(row.length).u2(row.nameIndex).u2(row.descriptorIndex).u2(row.index);
    return rawAttribute(nameIndex, out.data());
}

Attribute innerClasses(uint16_t nameIndex, const std::vector<InnerClass>& rows) {
    ByteWriter out;
    out.u2(static_cast<uint16_t>(rows.size()));
    for (const auto& row : rows)
        out.u2(row.innerClassInfoIndex)
            .u2(row.outerClassInfoIndex)
            .u2(row.innerNameIndex)
            .u2(row.accessFlags);
    return rawAttribute(nameIndex, out.data());
}

Attribute stackMap(uint16_t nameIndex, const std::vector<StackMapFrame>& frames) {
    ByteWriter out;
    out.u2(static_cast<uint16_t>(frames.size()));
    for (const auto& frame : frames) {
        out.u2(frame.offset);
        writeTypes(out, frame.locals);
        writeTypes(out, frame.stack);
    }
    return rawAttribute(nameIndex, out.data());
}

Attribute annotations(uint16_t nameIndex, const std::vector<Annotation>& list) {
    ByteWriter out;
    writeAnnotationList(out, list);
    return rawAttribute(nameIndex, out.data());
}

Attribute parameterAnnotations(uint16_t nameIndex,
                               const std::vector<std::vector<Annotation>>& perParameter) {
    ByteWriter out;
    out.u1(static_cast<uint8_t>(perParameter.size()));
    for (const auto& list : perParameter)
        writeAnnotationList(out, list);
    return rawAttribute(nameIndex, out.data());
}

} // namespace classwriter

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "classwriter/AnnotationWriter.h"

namespace classwriter {

class ByteWriter;

/// One attribute: its name index, its payload and, if set, a declared length that differs from the
/// payload's size.
struct Attribute {
    uint16_t nameIndex = 0;
    std::vector<uint8_t> payload;
    std::optional<uint32_t> declaredLength;

    void writeTo(ByteWriter& out) const;
};

struct ExceptionRow {
    uint16_t startPc = 0;
    uint16_t endPc = 0;
    uint16_t handlerPc = 0;
    uint16_t catchType = 0;
};

struct Code {
    uint16_t maxStack = 0;
    uint16_t maxLocals = 0;
    std::vector<uint8_t> code;
    /// Overrides the written code_length.
    std::optional<uint32_t> codeLength;
    std::vector<ExceptionRow> exceptions;
    std::vector<Attribute> attributes;
};

struct LineNumber {
    uint16_t startPc = 0;
    uint16_t line = 0;
};

struct LocalVariable {
    uint16_t startPc = 0;
    uint16_t length = 0;
    uint16_t nameIndex = 0;
    uint16_t descriptorIndex = 0;
    uint16_t index = 0;
};

struct InnerClass {
    uint16_t innerClassInfoIndex = 0;
    uint16_t outerClassInfoIndex = 0;
    uint16_t innerNameIndex = 0;
    uint16_t accessFlags = 0;
};

/// A verification type: tags 0 to 6 alone, 7 (object) and 8 (new object) with their u2 operand.
struct VerificationType {
    uint8_t tag = 0;
    uint16_t operand = 0;
};

struct StackMapFrame {
    uint16_t offset = 0;
    std::vector<VerificationType> locals;
    std::vector<VerificationType> stack;
};

Attribute rawAttribute(uint16_t nameIndex, std::vector<uint8_t> payload,
                       std::optional<uint32_t> declaredLength = {});
/// For Synthetic and Deprecated.
Attribute emptyAttribute(uint16_t nameIndex);
Attribute constantValue(uint16_t nameIndex, uint16_t valueIndex);
Attribute sourceFile(uint16_t nameIndex, uint16_t fileNameIndex);
Attribute exceptions(uint16_t nameIndex, const std::vector<uint16_t>& classIndices);
Attribute codeAttribute(uint16_t nameIndex, const Code& code);
Attribute lineNumberTable(uint16_t nameIndex, const std::vector<LineNumber>& rows);
Attribute localVariableTable(uint16_t nameIndex, const std::vector<LocalVariable>& rows);
Attribute innerClasses(uint16_t nameIndex, const std::vector<InnerClass>& rows);
Attribute stackMap(uint16_t nameIndex, const std::vector<StackMapFrame>& frames);
/// RuntimeVisibleAnnotations or RuntimeInvisibleAnnotations, as the name index says.
Attribute annotations(uint16_t nameIndex, const std::vector<Annotation>& list);
/// The parameter annotation kinds: one list of annotations per parameter.
Attribute parameterAnnotations(uint16_t nameIndex,
                               const std::vector<std::vector<Annotation>>& perParameter);

} // namespace classwriter

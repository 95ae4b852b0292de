#include "classwriter/RuleFileBuilder.h"

#include <algorithm>
#include <cstring>

#include "classwriter/ByteWriter.h"

namespace classwriter {

const char* const RuleFileBuilder::BUILTINS_CLASS = "com/velmor/gc/Builtins";
const char* const RuleFileBuilder::MARKER_TYPE = "Lcom/velmor/gc/TKAAnnotations;";

namespace {

const char* const NESTED_TYPE = "Lcom/velmor/gc/TKAAnnotation;";
const char* const ENUM_PACKAGE = "com/velmor/gc/";
const char* const ATTRIBUTE_MARK = "_$ATTR";
const char* const RULE_MARK = "_$RULE";

enum Opcode : uint8_t {
    LDC = 0x12,
    LDC_W = 0x13,
    LDC2_W = 0x14,
    IRETURN = 0xAC,
    LRETURN = 0xAD,
    FRETURN = 0xAE,
    DRETURN = 0xAF,
    ARETURN = 0xB0,
    RETURN = 0xB1,
    GETSTATIC = 0xB2,
    INVOKESTATIC = 0xB8,
};

// The field types of a method descriptor's parameters and its return type.
struct Signature {
    std::vector<std::string> parameters;
    std::string result;
};

std::string fieldTypeAt(const std::string& descriptor, size_t& pos) {
    const size_t start = pos;
    while (pos < descriptor.size() && descriptor[pos] == '[')
        ++pos;
    if (pos < descriptor.size() && descriptor[pos] == 'L') {
        const size_t end = descriptor.find(';', pos);
        pos = end == std::string::npos ? descriptor.size() : end + 1;
    } else if (pos < descriptor.size()) {
        ++pos;
    }
    return descriptor.substr(start, pos - start);
}

Signature parseSignature(const std::string& descriptor) {
    Signature signature;
    size_t pos = descriptor.find('(');
    pos = pos == std::string::npos ? descriptor.size() : pos + 1;
    while (pos < descriptor.size() && descriptor[pos] != ')')
        signature.parameters.push_back(fieldTypeAt(descriptor, pos));
    if (++pos < descriptor.size())
        signature.result = fieldTypeAt(descriptor, pos);
    return signature;
}

int slotsOf(const std::string& fieldType) {
    if (fieldType.empty() || fieldType == "V")
        return 0;
    return fieldType == "D" || fieldType == "J" ? 2 : 1;
}

uint8_t returnOpcode(const std::string& result) {
    switch (result.empty() ? 'V' : result[0]) {
    case 'V': return RETURN;
    case 'D': return DRETURN;
    case 'J': return LRETURN;
    case 'F': return FRETURN;
    case 'L':
    case '[': return ARETURN;
    default: return IRETURN;
    }
}

} // namespace

RuleAnnotation& RuleAnnotation::withBool(bool value, std::string key) {
    Argument argument;
    argument.type = 'b';
    argument.key = std::move(key);
    argument.boolValue = value;
    arguments.push_back(std::move(argument));
    return *this;
}

RuleAnnotation& RuleAnnotation::withFloat(double value, std::string key) {
    Argument argument;
    argument.type = 'f';
    argument.key = std::move(key);
    argument.floatValue = value;
    arguments.push_back(std::move(argument));
    return *this;
}

RuleAnnotation& RuleAnnotation::withString(std::string value, std::string key) {
    Argument argument;
    argument.type = 's';
    argument.key = std::move(key);
    argument.stringValue = std::move(value);
    arguments.push_back(std::move(argument));
    return *this;
}

RuleAnnotation& RuleAnnotation::withUnknown(char type, std::string key) {
    Argument argument;
    argument.type = type;
    argument.key = std::move(key);
    arguments.push_back(std::move(argument));
    return *this;
}

RuleCode& RuleCode::pushString(std::string text) {
    mSteps.push_back({Op::String, std::move(text), {}});
    return *this;
}

RuleCode& RuleCode::pushInt(int32_t value) {
    mSteps.push_back({Op::Int, {}, {}, value});
    return *this;
}

RuleCode& RuleCode::pushDouble(double value) {
    mSteps.push_back({Op::Double, {}, {}, 0, value});
    return *this;
}

RuleCode& RuleCode::callBuiltin(std::string name, std::string descriptor) {
    mSteps.push_back({Op::Builtin, std::move(name), std::move(descriptor)});
    return *this;
}

RuleCode& RuleCode::callRule(std::string name, std::string descriptor) {
    mSteps.push_back({Op::Rule, std::move(name), std::move(descriptor)});
    return *this;
}

RuleCode& RuleCode::readEnum(std::string type, std::string member) {
    mSteps.push_back({Op::Enum, std::move(member), std::move(type)});
    return *this;
}

RuleCode& RuleCode::enumValueOf(std::string type) {
    mSteps.push_back({Op::ValueOf, {}, std::move(type)});
    return *this;
}

RuleCode& RuleCode::readField(std::string name, std::string descriptor) {
    mSteps.push_back({Op::Field, std::move(name), std::move(descriptor)});
    return *this;
}

RuleFileBuilder::RuleFileBuilder(const std::string& className) {
    mWriter.thisClass = classNamed(className);
    mWriter.superClass = classNamed("java/lang/Object");
    classNamed(BUILTINS_CLASS);
}

uint16_t RuleFileBuilder::utf8(const std::string& text) {
    auto it = mUtf8.find(text);
    if (it == mUtf8.end())
        it = mUtf8.emplace(text, mWriter.pool.utf8(text)).first;
    return it->second;
}

uint16_t RuleFileBuilder::unicode(const std::string& text) {
    const uint16_t index = mWriter.pool.unicode(std::vector<uint8_t>(text.begin(), text.end()));
    mUtf8[text] = index;
    return index;
}

uint16_t RuleFileBuilder::classNamed(const std::string& name) {
    const uint16_t nameIndex = utf8(name);
    auto it = mClasses.find(nameIndex);
    if (it == mClasses.end())
        it = mClasses.emplace(nameIndex, mWriter.pool.classEntry(nameIndex)).first;
    return it->second;
}

uint16_t RuleFileBuilder::string(const std::string& text) {
    const uint16_t textIndex = utf8(text);
    auto it = mStrings.find(textIndex);
    if (it == mStrings.end())
        it = mStrings.emplace(textIndex, mWriter.pool.string(textIndex)).first;
    return it->second;
}

uint16_t RuleFileBuilder::integer(int32_t value) {
    auto it = mIntegers.find(value);
    if (it == mIntegers.end())
        it = mIntegers.emplace(value, mWriter.pool.integer(value)).first;
    return it->second;
}

uint16_t RuleFileBuilder::doubleValue(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    auto it = mDoubles.find(bits);
    if (it == mDoubles.end())
        it = mDoubles.emplace(bits, mWriter.pool.doubleValue(value)).first;
    return it->second;
}

uint16_t RuleFileBuilder::nameAndType(const std::string& name, const std::string& descriptor) {
    const auto key = std::make_pair(utf8(name), utf8(descriptor));
    auto it = mNameAndTypes.find(key);
    if (it == mNameAndTypes.end())
        it = mNameAndTypes.emplace(key, mWriter.pool.nameAndType(key.first, key.second)).first;
    return it->second;
}

uint16_t RuleFileBuilder::methodref(uint16_t classIndex, const std::string& name,
                                    const std::string& descriptor) {
    const auto key = std::make_tuple(uint8_t{10}, classIndex, nameAndType(name, descriptor));
    auto it = mRefs.find(key);
    if (it == mRefs.end())
        it = mRefs.emplace(key, mWriter.pool.methodref(classIndex, std::get<2>(key))).first;
    return it->second;
}

uint16_t RuleFileBuilder::fieldref(uint16_t classIndex, const std::string& name,
                                   const std::string& descriptor) {
    const auto key = std::make_tuple(uint8_t{9}, classIndex, nameAndType(name, descriptor));
    auto it = mRefs.find(key);
    if (it == mRefs.end())
        it = mRefs.emplace(key, mWriter.pool.fieldref(classIndex, std::get<2>(key))).first;
    return it->second;
}

uint16_t RuleFileBuilder::addAttribute(const std::string& name, const std::string& descriptor,
                                       const std::vector<RuleAnnotation>& annotations,
                                       const RuleCode& code, uint16_t accessFlags) {
    return addMethod(ATTRIBUTE_MARK, name, descriptor, {}, annotations, code, accessFlags);
}

uint16_t RuleFileBuilder::addRule(const std::string& name, const std::string& descriptor,
                                  const std::vector<std::string>& paramNames,
                                  const std::vector<RuleAnnotation>& annotations,
                                  const RuleCode& code, uint16_t accessFlags) {
    return addMethod(RULE_MARK, name, descriptor, paramNames, annotations, code, accessFlags);
}

uint16_t RuleFileBuilder::addFunction(const std::string& name, const std::string& descriptor,
                                      const std::vector<std::string>& paramNames,
                                      const RuleCode& code, uint16_t accessFlags) {
    return addMethod(nullptr, name, descriptor, paramNames, {}, code, accessFlags);
}

void RuleFileBuilder::addFileAnnotation(const RuleAnnotation& annotation) {
    mFileAnnotations.push_back(nested(annotation));
    Attribute attribute =
        annotations(utf8("RuntimeVisibleAnnotations"), {marker(mFileAnnotations)});
    if (mFileAnnotationAttribute < 0) {
        mFileAnnotationAttribute = static_cast<int>(mWriter.attributes.size());
        mWriter.attributes.push_back(std::move(attribute));
    } else {
        mWriter.attributes[static_cast<size_t>(mFileAnnotationAttribute)] = std::move(attribute);
    }
}

uint16_t RuleFileBuilder::addMethod(const char* mark, const std::string& name,
                                    const std::string& descriptor,
                                    const std::vector<std::string>& paramNames,
                                    const std::vector<RuleAnnotation>& annotationList,
                                    const RuleCode& code, uint16_t accessFlags) {
    Member method;
    method.accessFlags = accessFlags;
    method.nameIndex = utf8(name);
    method.descriptorIndex = utf8(descriptor);
    method.attributes.push_back(codeFor(descriptor, paramNames, code));
    if (mark) {
        // The entry's own mark comes first, then the rule language's annotations.
        std::vector<ElementValue> list{nested(RuleAnnotation(mark))};
        for (const auto& annotation : annotationList)
            list.push_back(nested(annotation));
        method.attributes.push_back(annotations(utf8("RuntimeVisibleAnnotations"), {marker(list)}));
    }
    mWriter.methods.push_back(std::move(method));
    return static_cast<uint16_t>(mWriter.methods.size() - 1);
}

Attribute RuleFileBuilder::codeFor(const std::string& descriptor,
                                   const std::vector<std::string>& paramNames,
                                   const RuleCode& ruleCode) {
    ByteWriter out;
    int depth = 0;
    int maxDepth = 0;
    auto push = [&](int slots) {
        depth = std::max(0, depth + slots);
        maxDepth = std::max(maxDepth, depth);
    };
    auto pushConstant = [&](uint16_t index) {
        if (index <= 0xFF)
            out.u1(LDC).u1(static_cast<uint8_t>(index));
        else
            out.u1(LDC_W).u2(index);
        push(1);
    };
    auto invoke = [&](uint16_t index, const std::string& calledDescriptor) {
        out.u1(INVOKESTATIC).u2(index);
        const Signature called = parseSignature(calledDescriptor);
        for (const auto& parameter : called.parameters)
            push(-slotsOf(parameter));
        push(slotsOf(called.result));
    };
    for (const RuleCode::Step& step : ruleCode.mSteps) {
        switch (step.op) {
        case RuleCode::Op::String: pushConstant(string(step.name)); break;
        case RuleCode::Op::Int: pushConstant(integer(step.intValue)); break;
        case RuleCode::Op::Double:
            out.u1(LDC2_W).u2(doubleValue(step.doubleValue));
            push(2);
            break;
        case RuleCode::Op::Builtin:
            invoke(methodref(classNamed(BUILTINS_CLASS), step.name, step.descriptor),
                   step.descriptor);
            break;
        case RuleCode::Op::Rule:
            invoke(methodref(OWN_CLASS_INDEX, step.name, step.descriptor), step.descriptor);
            break;
        case RuleCode::Op::Enum: {
            const std::string type = ENUM_PACKAGE + step.descriptor;
            out.u1(GETSTATIC).u2(fieldref(classNamed(type), step.name, "L" + type + ";"));
            push(1);
            break;
        }
        case RuleCode::Op::ValueOf: {
            const std::string type = ENUM_PACKAGE + step.descriptor;
            const std::string called = "(Ljava/lang/String;)L" + type + ";";
            invoke(methodref(classNamed(type), "valueOf", called), called);
            break;
        }
        case RuleCode::Op::Field:
            out.u1(GETSTATIC).u2(fieldref(OWN_CLASS_INDEX, step.name, step.descriptor));
            push(slotsOf(step.descriptor));
            break;
        }
    }
    const Signature signature = parseSignature(descriptor);
    out.u1(returnOpcode(signature.result));

    Code code;
    code.maxStack = static_cast<uint16_t>(maxDepth);
    code.code = out.data();
    std::vector<LocalVariable> locals;
    uint16_t slot = 0;
    for (size_t k = 0; k < signature.parameters.size(); ++k) {
        if (k < paramNames.size())
            locals.push_back({0, static_cast<uint16_t>(code.code.size()), utf8(paramNames[k]),
                              utf8(signature.parameters[k]), slot});
        slot = static_cast<uint16_t>(slot + slotsOf(signature.parameters[k]));
    }
    code.maxLocals = slot;
    if (writeLocalVariableTables)
        code.attributes.push_back(localVariableTable(utf8("LocalVariableTable"), locals));
    return codeAttribute(utf8("Code"), code);
}

ElementValue RuleFileBuilder::nested(const RuleAnnotation& annotation) {
    std::vector<ElementValue> types, names, bvals, dvals, svals;
    for (const auto& argument : annotation.arguments) {
        types.push_back(ElementValue::constant('C', integer(argument.type)));
        names.push_back(ElementValue::constant('s', utf8(argument.key)));
        bvals.push_back(ElementValue::constant('Z', integer(argument.boolValue ? 1 : 0)));
        dvals.push_back(ElementValue::constant('D', doubleValue(argument.floatValue)));
        svals.push_back(ElementValue::constant('s', utf8(argument.stringValue)));
    }
    Annotation out;
    out.typeIndex = utf8(NESTED_TYPE);
    out.pairs.emplace_back(utf8("name"), ElementValue::constant('s', utf8(annotation.name)));
    out.pairs.emplace_back(utf8("types"), ElementValue::array(types));
    out.pairs.emplace_back(utf8("names"), ElementValue::array(names));
    out.pairs.emplace_back(utf8("bvals"), ElementValue::array(bvals));
    out.pairs.emplace_back(utf8("dvals"), ElementValue::array(dvals));
    out.pairs.emplace_back(utf8("svals"), ElementValue::array(svals));
    return ElementValue::annotation(out);
}

Annotation RuleFileBuilder::marker(const std::vector<ElementValue>& nestedAnnotations) {
    Annotation out;
    out.typeIndex = utf8(MARKER_TYPE);
    out.pairs.emplace_back(utf8("value"), ElementValue::array(nestedAnnotations));
    return out;
}

} // namespace classwriter

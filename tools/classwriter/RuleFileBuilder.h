#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "classwriter/ClassWriter.h"

namespace classwriter {

/// One annotation of the rule language as the rule compiler records it: a name and arguments of
/// type 'b' (bool), 'f' (float) or 's' (string), each with an optional key.
struct RuleAnnotation {
    struct Argument {
        char type = 's';
        std::string key;
        bool boolValue = false;
        double floatValue = 0.0;
        std::string stringValue;
    };

    explicit RuleAnnotation(std::string annotationName) : name(std::move(annotationName)) {}
    RuleAnnotation& withBool(bool value, std::string key = {});
    RuleAnnotation& withFloat(double value, std::string key = {});
    RuleAnnotation& withString(std::string value, std::string key = {});
    /// An argument whose type code is none of the three.
    RuleAnnotation& withUnknown(char type, std::string key = {});

    std::string name;
    std::vector<Argument> arguments;
};

/// A method body as the rule compiler emits it, step by step. The builder turns the steps into
/// instructions on its pool and ends them with the return that the descriptor asks for.
class RuleCode {
  public:
    RuleCode& pushString(std::string text);
    RuleCode& pushInt(int32_t value);
    RuleCode& pushDouble(double value);
    /// invokestatic on a method of the builtins class.
    RuleCode& callBuiltin(std::string name, std::string descriptor);
    /// invokestatic on a method of the file's own class (a rule, attribute or function).
    RuleCode& callRule(std::string name, std::string descriptor);
    /// getstatic of a member of com/velmor/gc/<type>.
    RuleCode& readEnum(std::string type, std::string member);
    /// invokestatic of com/velmor/gc/<type>.valueOf.
    RuleCode& enumValueOf(std::string type);
    /// getstatic of a field of the file's own class.
    RuleCode& readField(std::string name, std::string descriptor);

  private:
    friend class RuleFileBuilder;
    enum class Op { String, Int, Double, Builtin, Rule, Enum, ValueOf, Field };
    struct Step {
        Op op;
        std::string name;
        std::string descriptor;
        int32_t intValue = 0;
        double doubleValue = 0.0;
    };
    std::vector<Step> mSteps;
};

/// Writes compiled rule files laid out the way the rule compiler does: the file's own class at pool
/// index 2, the builtins class, attributes and rules as static methods with the marker annotation,
/// local variable tables naming the parameters. Pool entries are shared: asking twice for the same
/// entry gives the same index.
class RuleFileBuilder {
  public:
    static constexpr uint16_t OWN_CLASS_INDEX = 2;
    static constexpr uint16_t PUBLIC_STATIC = 0x0009;
    static constexpr uint16_t PRIVATE_STATIC = 0x000A;
    static const char* const BUILTINS_CLASS;
    static const char* const MARKER_TYPE;

    explicit RuleFileBuilder(const std::string& className = "Rules");

    /// Each returns the new method's position in the method table.
    uint16_t addAttribute(const std::string& name, const std::string& descriptor,
                          const std::vector<RuleAnnotation>& annotations = {},
                          const RuleCode& code = {}, uint16_t accessFlags = PUBLIC_STATIC);
    uint16_t addRule(const std::string& name, const std::string& descriptor,
                     const std::vector<std::string>& paramNames,
                     const std::vector<RuleAnnotation>& annotations = {}, const RuleCode& code = {},
                     uint16_t accessFlags = PUBLIC_STATIC);
    /// A method without the marker annotation: callable, but neither attribute nor rule.
    uint16_t addFunction(const std::string& name, const std::string& descriptor,
                         const std::vector<std::string>& paramNames, const RuleCode& code = {},
                         uint16_t accessFlags = PUBLIC_STATIC);
    void addFileAnnotation(const RuleAnnotation& annotation);

    // Shared pool entries.
    uint16_t utf8(const std::string& text);
    /// A tag-2 (Unicode) entry holding text, which from then on backs every use of text that asks
    /// for a Utf8 entry: names, descriptors, strings and annotation texts alike.
    uint16_t unicode(const std::string& text);
    uint16_t classNamed(const std::string& name);
    uint16_t string(const std::string& text);
    uint16_t integer(int32_t value);
    uint16_t doubleValue(double value);
    uint16_t nameAndType(const std::string& name, const std::string& descriptor);
    uint16_t methodref(uint16_t classIndex, const std::string& name, const std::string& descriptor);
    uint16_t fieldref(uint16_t classIndex, const std::string& name, const std::string& descriptor);

    /// Whether Code attributes get a LocalVariableTable (on by default, as the compiler does).
    bool writeLocalVariableTables = true;

    /// The underlying writer, for variations that the builder does not offer.
    ClassWriter& writer() { return mWriter; }
    std::vector<uint8_t> bytes() const { return mWriter.bytes(); }

  private:
    uint16_t addMethod(const char* mark, const std::string& name, const std::string& descriptor,
                       const std::vector<std::string>& paramNames,
                       const std::vector<RuleAnnotation>& annotations, const RuleCode& code,
                       uint16_t accessFlags);
    Attribute codeFor(const std::string& descriptor, const std::vector<std::string>& paramNames,
                      const RuleCode& code);
    ElementValue nested(const RuleAnnotation& annotation);
    Annotation marker(const std::vector<ElementValue>& nestedAnnotations);

    ClassWriter mWriter;
    std::vector<ElementValue> mFileAnnotations;
    int mFileAnnotationAttribute = -1;

    std::map<std::string, uint16_t> mUtf8;
    std::map<uint16_t, uint16_t> mClasses;
    std::map<uint16_t, uint16_t> mStrings;
    std::map<int32_t, uint16_t> mIntegers;
    std::map<uint64_t, uint16_t> mDoubles;
    std::map<std::pair<uint16_t, uint16_t>, uint16_t> mNameAndTypes;
    std::map<std::tuple<uint8_t, uint16_t, uint16_t>, uint16_t> mRefs;
};

} // namespace classwriter

// "constants": the translated rule program as text, one line per filled slot.
#include <algorithm>
#include <string>
#include <utility>

#include "Commands.h"
#include "ConstantView.h"
#include "RuleFileSource.h"
#include "TextFormat.h"
#include "codecs/tkb/BuiltinTables.h"

namespace kovhost {

namespace {

std::string methodText(const kovx::TKBMethod& method) {
    std::string text = utf8(method.name) + utf8(method.descriptor);
    if (method.undefined)
        text += " undefined";
    else
        text += " position=" + std::to_string(method.methodPosition);
    text += " maxStack=" + std::to_string(method.maxStack) +
            " paramCount=" + std::to_string(method.paramCount) +
            " localSlots=" + std::to_string(method.localSlots) + " localTypes=[";
    for (size_t i = 0; i < method.localTypes.size(); ++i)
        text += (i ? "," : "") + std::to_string(method.localTypes[i]);
    text += std::string("] ") + (method.isPublic ? "public" : "private");
    if (!method.baseName.empty())
        text += " baseName=" + utf8(method.baseName);
    return text + " code=" + hexBytes(method.code);
}

std::string builtinText(int32_t id) {
    std::string text = std::to_string(id);
    if (id >= 0 && static_cast<size_t>(id) < tkb::BUILTIN_FUNCTIONS_COUNT)
        text += std::string(" ") + tkb::BUILTIN_FUNCTIONS[id].name +
                tkb::BUILTIN_FUNCTIONS[id].descriptor;
    return text;
}

// The kind word and the value of one slot.
std::pair<std::string, std::string> describe(const programview::ConstantView& c,
                                             const kovx::TKBProgram& program) {
    using programview::ConstantKind;
    const std::string unknown = "kind " + std::to_string(c.code());
    if (c.missingValue())
        return {unknown, "(no value)"};
    const std::string word = programview::kindWord(c.kind());
    switch (c.kind()) {
    case ConstantKind::STRING: return {word, c.text() ? quoted(utf8(*c.text())) : "(null)"};
    case ConstantKind::DOUBLE: return {word, shortestDouble(c.number())};
    case ConstantKind::INTEGER: return {word, std::to_string(c.integer())};
    case ConstantKind::RULE: return {word, methodText(*c.rule())};
    case ConstantKind::BUILTIN: return {word, builtinText(c.builtinId())};
    case ConstantKind::CREATE_SHAPE: return {word, ""};
    case ConstantKind::ENUM_TYPE: {
        const std::string* name = c.enumTypeName(program);
        return {word, std::to_string(c.enumTypeIndex()) + (name ? " " + *name : "")};
    }
    case ConstantKind::ENUM_VALUE: {
        const kovx::TKB::Enum* value = c.enumValue();
        if (!value)
            return {word, "(null)"};
        return {word, utf8(value->name) + " = " + std::to_string(value->value)};
    }
    default: return {unknown, "?"};
    }
}

int printConstants(Host& host, const Invocation& invocation, std::ostream& out) {
    if (invocation.has("json"))
        return printConstantsJson(host, invocation, out);
    const boost::shared_ptr<kovx::TKB> rules = decodeRuleFile(host, invocation.args.front());
    const kovx::TKBProgram& program = rules->getProgram();

    const size_t filled = static_cast<size_t>(std::count_if(
        program.constants.begin(), program.constants.end(), [](auto* c) { return c != nullptr; }));
    const size_t indexWidth = std::to_string(program.constants.size()).size();
    out << "constants (" << program.constants.size() << " slots, " << filled << " filled):\n";
    for (size_t i = 0; i < program.constants.size(); ++i) {
        if (!program.constants[i])
            continue;
        const auto [kind, value] =
            describe(programview::ConstantView(*program.constants[i]), program);
        const std::string index = std::to_string(i);
        out << "  [" << std::string(indexWidth - index.size(), ' ') << index << "] " << kind;
        if (!value.empty())
            out << std::string(kind.size() < 12 ? 12 - kind.size() : 1, ' ') << value;
        out << "\n";
    }

    out << "fieldRefs:";
    for (const int32_t index : program.fieldRefs)
        out << " " << index;
    out << "\nenumTypes:";
    for (const std::string& type : program.enumTypes)
        out << " " << type;
    out << "\nmethodIndex (" << program.methodIndex.size() << "):\n";
    for (const auto& [key, index] : program.methodIndex)
        out << "  " << utf8(key) << " -> " << index << "\n";
    return 0;
}

} // namespace

extern const Command CONSTANTS_COMMAND = {
    "constants", "[--json] FILE...", "print the translated rule program",
    "Decodes FILE and prints the translated rule program: one line per filled slot of the\n"
    "constant table (its pool index, kind and value), then the field references of the file's\n"
    "own class, the enumeration types and the method index.\n"
    "With --json the same as one JSON object:\n"
    "  {\"constants\": [null | {\"kind\": ..., ...}...], \"fieldRefs\": [...],\n"
    "   \"enumTypes\": [...], \"methodIndex\": {\"name+descriptor\": poolIndex...}}\n"
    "with one element per slot; kinds are string, double, integer, method, builtin, createShape,\n"
    "enumType and enum.",
    {{"json", "print one JSON object instead of text"}}, 1, ANY, true, &printConstants};

} // namespace kovhost

// "constants": the translated rule program as text, one line per filled slot.
#include <algorithm>
#include <string>
#include <utility>

#include "Commands.h"
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
std::pair<std::string, std::string> describe(const kovx::TKBConstant& c,
                                             const kovx::TKBProgram& program) {
    using K = kovx::TKBConstant;
    if (c.kind != K::CREATE_SHAPE && !c.value)
        return {"kind " + std::to_string(c.kind), "(no value)"};
    switch (c.kind) {
    case K::STRING: {
        const auto& text = *static_cast<const boost::shared_ptr<std::wstring>*>(c.value);
        return {"string", text ? quoted(utf8(*text)) : "(null)"};
    }
    case K::DOUBLE: return {"double", shortestDouble(*static_cast<const double*>(c.value))};
    case K::INTEGER: return {"integer", std::to_string(*static_cast<const int32_t*>(c.value))};
    case K::METHOD: return {"method", methodText(*static_cast<const kovx::TKBMethod*>(c.value))};
    case K::BUILTIN: return {"builtin", builtinText(*static_cast<const int32_t*>(c.value))};
    case K::CREATE_SHAPE: return {"createShape", ""};
    case K::ENUM_TYPE: {
        const int32_t index = *static_cast<const int32_t*>(c.value);
        std::string text = std::to_string(index);
        if (index >= 0 && static_cast<size_t>(index) < program.enumTypes.size())
            text += " " + program.enumTypes[static_cast<size_t>(index)];
        return {"enumType", text};
    }
    case K::ENUM_VALUE: {
        const auto& value = *static_cast<const boost::shared_ptr<kovx::TKB::Enum>*>(c.value);
        if (!value)
            return {"enum", "(null)"};
        return {"enum", utf8(value->name) + " = " + std::to_string(value->value)};
    }
    default: return {"kind " + std::to_string(c.kind), "?"};
    }
}

} // namespace

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
        const auto [kind, value] = describe(*program.constants[i], program);
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

} // namespace kovhost

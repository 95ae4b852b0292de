// "json" and "constants --json": the rule file info and the rule program for scripts and UIs.
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "ConstantView.h"
#include "JsonForms.h"
#include "RuleFileSource.h"
#include "TextFormat.h"

namespace kovhost {

namespace {

void write(std::ostream& out, const Json& json) {
    // Texts are valid UTF-8 already; replace guards against what the conversion let through.
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

Json argumentJson(const kov::AnnotationArgument& argument) {
    Json json = {{"key", utf8(argument.getKey())}, {"type", valueTypeWord(argument.getType())}};
    switch (argument.getType()) {
    case kov::VT_BOOL: json["value"] = argument.getBool(); break;
    case kov::VT_FLOAT: json["value"] = argument.getFloat(); break;
    case kov::VT_STR: json["value"] = utf8(argument.getStr()); break;
    default: json["value"] = nullptr; break;
    }
    return json;
}

Json annotationJson(const kov::Annotation& annotation) {
    Json arguments = Json::array();
    for (size_t i = 0; i < annotation.getNumArguments(); ++i)
        arguments.push_back(argumentJson(*annotation.getArgument(i)));
    return {{"name", utf8(annotation.getName())}, {"arguments", std::move(arguments)}};
}

template <typename Owner> Json annotationsJson(const Owner& owner) {
    Json annotations = Json::array();
    for (size_t i = 0; i < owner.getNumAnnotations(); ++i)
        annotations.push_back(annotationJson(*owner.getAnnotation(i)));
    return annotations;
}

Json entryJson(const kov::RuleFileInfo::Entry& entry) {
    Json parameters = Json::array();
    for (size_t i = 0; i < entry.getNumParameters(); ++i) {
        const kov::RuleFileInfo::Parameter& parameter = *entry.getParameter(i);
        parameters.push_back({{"name", utf8(parameter.getName())},
                              {"type", valueTypeWord(parameter.getType())},
                              {"annotations", annotationsJson(parameter)}});
    }
    return {{"name", utf8(entry.getName())},
            {"type", valueTypeWord(entry.getReturnType())},
            {"parameters", std::move(parameters)},
            {"annotations", annotationsJson(entry)}};
}

Json methodJson(const kovx::TKBMethod& method) {
    return {{"kind", "method"},
            {"poolIndex", method.poolIndex},
            {"methodPosition", method.methodPosition},
            {"undefined", method.undefined != 0},
            {"maxStack", method.maxStack},
            {"paramCount", method.paramCount},
            {"localSlots", method.localSlots},
            {"localTypes", method.localTypes},
            {"code", hexBytes(method.code)},
            {"isPublic", method.isPublic != 0},
            {"name", utf8(method.name)},
            {"baseName", utf8(method.baseName)},
            {"descriptor", utf8(method.descriptor)}};
}

Json constantJson(const programview::ConstantView& c) {
    using programview::ConstantKind;
    if (c.missingValue() || c.kind() == ConstantKind::UNKNOWN)
        return {{"kind", "unknown"}, {"code", c.code()}};
    if (c.kind() == ConstantKind::RULE)
        return methodJson(*c.rule());
    Json json = {{"kind", programview::kindWord(c.kind())}};
    switch (c.kind()) {
    case ConstantKind::STRING: json["value"] = c.text() ? utf8(*c.text()) : std::string(); break;
    case ConstantKind::DOUBLE: json["value"] = c.number(); break;
    case ConstantKind::INTEGER: json["value"] = c.integer(); break;
    case ConstantKind::BUILTIN: json["id"] = c.builtinId(); break;
    case ConstantKind::ENUM_TYPE: json["index"] = c.enumTypeIndex(); break;
    case ConstantKind::ENUM_VALUE:
        if (const kovx::TKB::Enum* value = c.enumValue()) {
            json["value"] = value->value;
            json["name"] = utf8(value->name);
        } else {
            json["value"] = nullptr;
            json["name"] = nullptr;
        }
        break;
    default: break;
    }
    return json;
}

int printInfoJson(Host& host, const Invocation& invocation, std::ostream& out) {
    const boost::shared_ptr<kovx::TKB> program = decodeRuleFile(host, invocation.args.front());
    write(out, ruleFileInfoJson(*program->getProgram().ruleFileInfo));
    return 0;
}

} // namespace

Json ruleFileInfoJson(const kov::RuleFileInfo& info) {
    Json attributes = Json::array();
    for (size_t i = 0; i < info.getNumAttributes(); ++i)
        attributes.push_back(entryJson(*info.getAttribute(i)));
    Json rules = Json::array();
    for (size_t i = 0; i < info.getNumRules(); ++i)
        rules.push_back(entryJson(*info.getRule(i)));
    return {{"attributes", std::move(attributes)},
            {"rules", std::move(rules)},
            {"annotations", annotationsJson(info)}};
}

Json ruleProgramJson(const kovx::TKBProgram& program) {
    Json constants = Json::array();
    for (const kovx::TKBConstant* c : program.constants)
        constants.push_back(c ? constantJson(programview::ConstantView(*c)) : Json(nullptr));
    Json methodIndex = Json::object();
    for (const auto& [key, index] : program.methodIndex)
        methodIndex[utf8(key)] = index;
    return {{"constants", std::move(constants)},
            {"fieldRefs", program.fieldRefs},
            {"enumTypes", program.enumTypes},
            {"methodIndex", std::move(methodIndex)}};
}

int printConstantsJson(Host& host, const Invocation& invocation, std::ostream& out) {
    const boost::shared_ptr<kovx::TKB> rules = decodeRuleFile(host, invocation.args.front());
    write(out, ruleProgramJson(rules->getProgram()));
    return 0;
}

extern const Command JSON_COMMAND = {
    "json", "FILE...", "print the rule file info as JSON",
    "Decodes FILE and prints its rule file info as one JSON object:\n"
    "  {\"attributes\": [ENTRY...], \"rules\": [ENTRY...], \"annotations\": [ANNOTATION...]}\n"
    "  ENTRY      {\"name\", \"type\",\n"
    "              \"parameters\": [{\"name\", \"type\", \"annotations\"}...],\n"
    "              \"annotations\"}\n"
    "  ANNOTATION {\"name\", \"arguments\": [{\"key\", \"type\", \"value\"}...]}\n"
    "Types are \"void\", \"bool\", \"float\", \"string\", \"integer\" or \"unknown\"; an entry's\n"
    "type is the attribute's value type or the rule's return type. A key is \"\" when the\n"
    "argument has none. Values are typed: true or false, a number, a string, or null for an\n"
    "unknown type.",
    {}, 1, ANY, true, &printInfoJson};

} // namespace kovhost

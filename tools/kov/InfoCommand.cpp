// "info": the rule file info laid out for a person.
#include <string>

#include "Commands.h"
#include "RuleFileSource.h"
#include "TextFormat.h"
#include "TextTable.h"

namespace kovhost {

namespace {

std::string annotationsText(const kov::RuleFileInfo::Entry& entry) {
    std::string text;
    for (size_t i = 0; i < entry.getNumAnnotations(); ++i) {
        const kov::Annotation& annotation = *entry.getAnnotation(i);
        if (!isCompilerMarker(annotation))
            text += (text.empty() ? "" : " ") + annotationText(annotation);
    }
    return text;
}

std::string parametersText(const kov::RuleFileInfo::Entry& entry) {
    std::string text = "(";
    for (size_t i = 0; i < entry.getNumParameters(); ++i) {
        const kov::RuleFileInfo::Parameter& parameter = *entry.getParameter(i);
        text += (i ? ", " : "") + std::string(valueTypeWord(parameter.getType())) + " " +
                utf8(parameter.getName());
    }
    return text + ")";
}

std::string counted(size_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void printSection(std::ostream& out, const char* title, size_t count, const TextTable& table) {
    out << "\n" << title << " (" << count << ")\n";
    if (count == 0)
        out << "  (none)\n";
    else
        table.print(out);
}

int printInfo(Host& host, const Invocation& invocation, std::ostream& out) {
    const std::string& file = invocation.args.front();
    const boost::shared_ptr<kovx::TKB> program = decodeRuleFile(host, file);
    const kov::RuleFileInfo& info = *program->getProgram().ruleFileInfo;

    TextTable attributes({"NAME", "TYPE", "ANNOTATIONS"});
    for (size_t i = 0; i < info.getNumAttributes(); ++i) {
        const kov::RuleFileInfo::Entry& entry = *info.getAttribute(i);
        attributes.addRow(
            {utf8(entry.getName()), valueTypeWord(entry.getReturnType()), annotationsText(entry)});
    }
    TextTable rules({"NAME", "RETURNS", "PARAMETERS", "ANNOTATIONS"});
    for (size_t i = 0; i < info.getNumRules(); ++i) {
        const kov::RuleFileInfo::Entry& entry = *info.getRule(i);
        rules.addRow({utf8(entry.getName()), valueTypeWord(entry.getReturnType()),
                      parametersText(entry), annotationsText(entry)});
    }
    TextTable annotations({"NAME", "ARGUMENTS"});
    for (size_t i = 0; i < info.getNumAnnotations(); ++i) {
        const kov::Annotation& annotation = *info.getAnnotation(i);
        std::string arguments;
        for (size_t k = 0; k < annotation.getNumArguments(); ++k)
            arguments += (k ? ", " : "") + argumentText(*annotation.getArgument(k));
        annotations.addRow({utf8(annotation.getName()), arguments});
    }

    out << "Rule file " << file << ": " << counted(info.getNumAttributes(), "attribute") << ", "
        << counted(info.getNumRules(), "rule") << ", "
        << counted(info.getNumAnnotations(), "file annotation") << "\n";
    printSection(out, "Attributes", info.getNumAttributes(), attributes);
    printSection(out, "Rules", info.getNumRules(), rules);
    printSection(out, "File annotations", info.getNumAnnotations(), annotations);
    return 0;
}

} // namespace

extern const Command INFO_COMMAND = {
    "info", "FILE...", "summarise a rule file's attributes, rules and annotations",
    "Decodes FILE and prints what it offers: its attributes and rules in their presentation\n"
    "order, each with its type, parameters and annotations, as aligned tables, then the\n"
    "file's own annotations. The compiler's markers (annotations named \"_$...\") are left\n"
    "out; 'kov xml' and 'kov json' show everything.",
    {}, 1, ANY, true, &printInfo};

} // namespace kovhost

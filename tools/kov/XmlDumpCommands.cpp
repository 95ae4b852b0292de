// "xml" and "dump": the texts that the library itself writes, passed through unchanged.
#include <vector>

#include "Commands.h"
#include "RuleFileSource.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"

namespace kovhost {

namespace {

int printXml(Host& host, const Invocation& invocation, std::ostream& out) {
    const boost::shared_ptr<kovx::TKB> program = decodeRuleFile(host, invocation.args.front());
    const kov::RuleFileInfo& info = *program->getProgram().ruleFileInfo;

    // The first call only asks for the size the whole text needs.
    size_t size = 0;
    info.toXML(nullptr, &size);
    std::vector<char> text(size > 0 ? size : 1);
    size = text.size();
    info.toXML(text.data(), &size);
    out.write(text.data(), static_cast<std::streamsize>(text.size() - 1));
    out << "\n";
    return 0;
}

int printDump(Host& host, const Invocation& invocation, std::ostream& out) {
    const boost::shared_ptr<std::istream> input = openRuleFile(host, invocation.args.front());
    classfile::ByteStream bytes(*input);
    const classfile::ClassInfo classInfo(bytes);
    classInfo.print(out);
    out << "\n";
    return 0;
}

} // namespace

extern const Command XML_COMMAND = {
    "xml", "FILE...", "print the rule file info as XML",
    "Decodes FILE and prints the XML text of its rule file info exactly as the library writes it,\n"
    "followed by one line feed.",
    {}, 1, ANY, true, &printXml};

extern const Command DUMP_COMMAND = {
    "dump", "FILE...", "print the class model of a rule file with its code",
    "Reads FILE into the class model, without translating it, and prints the model's text form\n"
    "with the code listing of every method, followed by one line feed.",
    {}, 1, ANY, true, &printDump};

} // namespace kovhost

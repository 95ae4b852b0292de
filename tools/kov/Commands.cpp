#include "Commands.h"

#include <algorithm>

#include "Host.h"
#include "RuleFileSource.h"
#include "TextTable.h"

namespace kovhost {

namespace {

const char* const INFO_DETAILS =
    "Decodes FILE and prints what it offers: its attributes and rules in their presentation\n"
    "order, each with its type, parameters and annotations, as aligned tables, then the\n"
    "file's own annotations. The compiler's markers (annotations named \"_$...\") are left\n"
    "out; 'kov xml' and 'kov json' show everything.";

const char* const XML_DETAILS =
    "Decodes FILE and prints the XML text of its rule file info exactly as the library writes it,\n"
    "followed by one line feed.";

const char* const JSON_DETAILS =
    "Decodes FILE and prints its rule file info as one JSON object:\n"
    "  {\"attributes\": [ENTRY...], \"rules\": [ENTRY...], \"annotations\": [ANNOTATION...]}\n"
    "  ENTRY      {\"name\", \"type\",\n"
    "              \"parameters\": [{\"name\", \"type\", \"annotations\"}...],\n"
    "              \"annotations\"}\n"
    "  ANNOTATION {\"name\", \"arguments\": [{\"key\", \"type\", \"value\"}...]}\n"
    "Types are \"void\", \"bool\", \"float\", \"string\", \"integer\" or \"unknown\"; an entry's\n"
    "type is the attribute's value type or the rule's return type. A key is \"\" when the\n"
    "argument has none. Values are typed: true or false, a number, a string, or null for an\n"
    "unknown type.";

const char* const DUMP_DETAILS =
    "Reads FILE into the class model, without translating it, and prints the model's text form\n"
    "with the code listing of every method, followed by one line feed.";

const char* const CONSTANTS_DETAILS =
    "Decodes FILE and prints the translated rule program: one line per filled slot of the\n"
    "constant table (its pool index, kind and value), then the field references of the file's\n"
    "own class, the enumeration types and the method index.\n"
    "With --json the same as one JSON object:\n"
    "  {\"constants\": [null | {\"kind\": ..., ...}...], \"fieldRefs\": [...],\n"
    "   \"enumTypes\": [...], \"methodIndex\": {\"name+descriptor\": poolIndex...}}\n"
    "with one element per slot; kinds are string, double, integer, method, builtin, createShape,\n"
    "enumType and enum.";

const char* const EXTENSIONS_DETAILS =
    "Prints the listing of the extensions that were loaded from the default extension directory\n"
    "and from every -p PATH, with their merit and description.";

const char* const CHECK_DETAILS =
    "Decodes every rule file under the paths (files, or directories searched recursively for\n"
    ".tkb and .class files) as the runtime does, through the stream adaptor and the decoder that\n"
    "the extension manager picks, on several threads. Prints \"PATH: reason\" for each file that\n"
    "fails, then a summary: files checked, succeeded and failed, the failures grouped by reason,\n"
    "the bytes read and the throughput. On a terminal a progress bar runs on standard error.\n"
    "A file that would end the process in the class file reader's check is decoded in a helper\n"
    "process and reported with the reader's message.\n"
    "With --json: one object per file {\"path\", \"ok\", \"bytes\", \"milliseconds\", \"error\",\n"
    "\"attributes\", \"rules\"}, one a line, then {\"summary\": {...}}.\n"
    "Exit status: 0 when every file decoded, 1 when any failed, 2 on a usage error or a path\n"
    "that cannot be read.";

const char* const DIFF_DETAILS =
    "Compares the rule file info of OLD and NEW, two rule files or two directories (files paired\n"
    "by their path below them; files only on one side are reported as added or removed). Lists\n"
    "attributes and rules added or removed, changed value and return types, parameters added,\n"
    "removed, renamed or retyped, and annotations added, removed or with changed arguments.\n"
    "Each change is breaking (something removed or retyped, a changed parameter list),\n"
    "compatible (an addition) or presentation (annotations only; $Group, $Order and $StartRule\n"
    "are named as such).\n"
    "Exit status: 0 when the interfaces are the same, 1 when they differ, 2 on an error. With\n"
    "--breaking only breaking changes are reported and only they give status 1.";

const size_t ANY = static_cast<size_t>(-1);

void report(std::ostream& out, std::ostream& err, const std::string& file, const char* reason) {
    out.flush();
    err << "kov: " << (file.empty() ? "" : file + ": ") << reason << "\n";
}

} // namespace

const char* const FILES_NOTE =
    "FILE is a path, a file: URI, a URI of a scheme that an extension's stream adaptor serves,\n"
    "or - for standard input. Given several files, a command handles each in turn and prints\n"
    "\"==> FILE <==\" before each one's output (\"standard input\" for -); a file that fails is\n"
    "reported on standard error as \"kov: FILE: reason\", the others are still handled, and the\n"
    "exit status is 1.";

const std::vector<Command>& commands() {
    static const std::vector<Command> all = {
        {"info", "FILE...", "summarise a rule file's attributes, rules and annotations",
         INFO_DETAILS, {}, 1, ANY, true, &printInfo},
        {"xml", "FILE...", "print the rule file info as XML", XML_DETAILS, {}, 1, ANY, true,
         &printXml},
        {"json", "FILE...", "print the rule file info as JSON", JSON_DETAILS, {}, 1, ANY, true,
         &printInfoJson},
        {"dump", "FILE...", "print the class model of a rule file with its code", DUMP_DETAILS,
         {}, 1, ANY, true, &printDump},
        {"constants", "[--json] FILE...", "print the translated rule program", CONSTANTS_DETAILS,
         {{"json", "print one JSON object instead of text"}}, 1, ANY, true, &printConstants},
        {"check", "[-j N] [--quiet] [--json] PATH...",
         "decode every rule file under the paths and report those that fail", CHECK_DETAILS,
         {{"jobs", "decode on N threads (default: one per core)", "N", 'j'},
          {"quiet", "no progress bar"},
          {"json", "one JSON object per file, then a summary object"}},
         1, ANY, false, &checkRuleFiles, 2},
        {"diff", "[--breaking] [--json] OLD NEW",
         "compare the interfaces of two rule files or two directories of them", DIFF_DETAILS,
         {{"breaking", "report only breaking changes"}, {"json", "print one JSON object"}}, 2, 2,
         false, &diffRuleFiles, 2},
        {"extensions", "", "list the extensions that were loaded, with merit and description",
         EXTENSIONS_DETAILS, {}, 0, 0, false, &listExtensions},
    };
    return all;
}

void Command::checkArguments(const std::vector<std::string>& args) const {
    if (args.size() >= minArgs && args.size() <= maxArgs)
        return;
    if (maxArgs == 0)
        throw UsageError("'" + std::string(name) + "' takes no arguments, got '" + args.front() +
                         "'");
    throw UsageError("usage: kov " + std::string(name) + " " + arguments);
}

void Command::printHelp(std::ostream& out) const {
    out << "Usage: kov [-p PATH]... " << name << (*arguments ? " " : "") << arguments << "\n\n"
        << details << "\n";
    if (onFiles)
        out << "\n" << FILES_NOTE << "\n";
    if (!flags.empty()) {
        out << "\nOptions:\n";
        TextTable table(2);
        for (const Flag& flag : flags) {
            std::string head = flag.shortName ? std::string("-") + flag.shortName + ", " : "";
            head += std::string("--") + flag.name + (flag.valueName ? " " : "") +
                    (flag.valueName ? flag.valueName : "");
            table.addRow({head, flag.description});
        }
        table.print(out);
    }
}

int Command::execute(Host& host, const Invocation& invocation, std::ostream& out,
                     std::ostream& err) const {
    if (!onFiles)
        return run(host, invocation, out);
    const bool several = invocation.args.size() > 1;
    int status = 0;
    for (size_t i = 0; i < invocation.args.size(); ++i) {
        const std::string& file = invocation.args[i];
        if (several)
            out << (i > 0 ? "\n" : "") << "==> " << displayName(file) << " <==\n";
        // Keeps the header before whatever the libraries write to standard error.
        out.flush();
        const std::string label = several ? displayName(file) : std::string();
        try {
            Invocation single = invocation;
            single.args = {file};
            status = std::max(status, run(host, single, out));
        } catch (const std::exception& e) {
            report(out, err, label, e.what());
            status = 1;
        } catch (...) {
            report(out, err, label, "unknown failure");
            status = 1;
        }
    }
    return status;
}

const Command* findCommand(const std::string& name) {
    for (const Command& command : commands()) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

int listExtensions(Host& host, const Invocation& /*invocation*/, std::ostream& out) {
    // Loading the extensions logged the listing; it is the only informational output so far.
    for (const std::string& line : host.infoMessages())
        out << line << "\n";
    return 0;
}

} // namespace kovhost

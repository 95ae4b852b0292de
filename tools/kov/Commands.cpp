#include "Commands.h"

#include <algorithm>

#include "Host.h"
#include "RuleFileSource.h"
#include "TextTable.h"

namespace kovhost {

namespace {

const char* const EXTENSIONS_DETAILS =
    "Prints the listing of the extensions that were loaded from the default extension directory\n"
    "and from every -p PATH, with their merit and description.";

// "extensions": the listing of the extensions that were loaded.
int listExtensions(Host& host, const Invocation& /*invocation*/, std::ostream& out) {
    // Loading the extensions logged the listing; it is the only informational output so far.
    for (const std::string& line : host.infoMessages())
        out << line << "\n";
    return 0;
}

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

// Each command is defined beside its code.
extern const Command INFO_COMMAND, XML_COMMAND, JSON_COMMAND, DUMP_COMMAND, CONSTANTS_COMMAND,
    CHECK_COMMAND, DIFF_COMMAND, SERVE_COMMAND;

const Command EXTENSIONS_COMMAND = {
    "extensions", "", "list the extensions that were loaded, with merit and description",
    EXTENSIONS_DETAILS, {}, 0, 0, false, &listExtensions};

const std::vector<Command>& commands() {
    static const std::vector<Command> all = {
        INFO_COMMAND,  XML_COMMAND,  JSON_COMMAND, DUMP_COMMAND, CONSTANTS_COMMAND,
        CHECK_COMMAND, DIFF_COMMAND, SERVE_COMMAND, EXTENSIONS_COMMAND};
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

} // namespace kovhost

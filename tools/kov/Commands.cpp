#include "Commands.h"

#include "Host.h"

namespace kovhost {

const std::vector<Command>& commands() {
    static const std::vector<Command> all = {
        {"extensions", "", "list the extensions that were loaded, with merit and description", 0, 0,
         &listExtensions},
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

const Command* findCommand(const std::string& name) {
    for (const Command& command : commands()) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

int listExtensions(Host& host, const std::vector<std::string>& /*args*/, std::ostream& out) {
    // Loading the extensions logged the listing; it is the only informational output so far.
    for (const std::string& line : host.infoMessages())
        out << line << "\n";
    return 0;
}

} // namespace kovhost

#pragma once

#include <cstddef>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace kovhost {

class Host;

/// A mistake on the command line; reported with a hint to --help.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One command of the host. run gets the host with its extensions loaded and the command's own
/// arguments (already checked against minArgs and maxArgs), writes its result to out and returns
/// the exit status.
struct Command {
    const char* name;
    const char* arguments; ///< as the usage text shows them, e.g. "FILE"
    const char* summary;
    size_t minArgs;
    size_t maxArgs;
    int (*run)(Host& host, const std::vector<std::string>& args, std::ostream& out);

    /// Throws UsageError when args do not fit the command.
    void checkArguments(const std::vector<std::string>& args) const;
};

/// Every command, in the order the usage text lists them.
const std::vector<Command>& commands();
/// The command called name, or null.
const Command* findCommand(const std::string& name);

/// "extensions": prints the listing of the extensions that were loaded.
int listExtensions(Host& host, const std::vector<std::string>& args, std::ostream& out);

} // namespace kovhost

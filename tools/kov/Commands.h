#pragma once

#include <cstddef>
#include <map>
#include <ostream>
#include <set>
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

/// What the command line asked of one command: its arguments and the flags that were given.
struct Invocation {
    std::vector<std::string> args;
    std::set<std::string> flags;
    /// The options that take a value, such as --jobs 4, by their long name.
    std::map<std::string, std::string> values;
    /// The -p paths of kov itself, for a command that runs kov again in a helper process.
    std::vector<std::string> pluginPaths;

    bool has(const std::string& flag) const { return flags.count(flag) != 0; }
    /// The value of an option, or null when it was not given.
    const std::string* value(const std::string& name) const {
        const auto it = values.find(name);
        return it == values.end() ? nullptr : &it->second;
    }
};

/// A switch of one command, such as --json, or an option with a value, such as -j N.
struct Flag {
    const char* name;
    const char* description;
    const char* valueName = nullptr; ///< set for an option that takes a value
    char shortName = 0;              ///< its one-letter form, or 0
};

/// One command of the host, defined beside its code and listed in commands(). run gets the host
/// with its extensions loaded and the invocation (arguments already checked against minArgs and
/// maxArgs), writes its result to out and returns the exit status. A command on files gets one
/// file at a time.
struct Command {
    const char* name;
    const char* arguments; ///< as the usage text shows them, e.g. "FILE..."
    const char* summary;
    const char* details; ///< the text of 'kov help <name>'
    std::vector<Flag> flags;
    size_t minArgs;
    size_t maxArgs;
    bool onFiles; ///< the arguments are files, handled each in turn
    int (*run)(Host& host, const Invocation& invocation, std::ostream& out);
    /// The exit status of a usage error or of a failure that ends the command.
    int errorStatus = 1;

    /// Throws UsageError when args do not fit the command.
    void checkArguments(const std::vector<std::string>& args) const;
    /// The usage line, the details and the flags.
    void printHelp(std::ostream& out) const;
    /// Runs the command. On files: once per file, after a "==> FILE <==" line when there are
    /// several; a file that fails is reported on err and the others are still handled. Returns
    /// 1 when any file failed.
    int execute(Host& host, const Invocation& invocation, std::ostream& out,
                std::ostream& err) const;
};

/// maxArgs of a command that takes any number of arguments.
inline constexpr size_t ANY = static_cast<size_t>(-1);

/// What FILE may be and how several are handled, for the help texts.
extern const char* const FILES_NOTE;

/// Every command, in the order the usage text lists them.
const std::vector<Command>& commands();
/// The command called name, or null.
const Command* findCommand(const std::string& name);

/// "constants --json", which the text form hands over to.
int printConstantsJson(Host& host, const Invocation& invocation, std::ostream& out);

} // namespace kovhost

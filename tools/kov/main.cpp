// kov: a command-line host for the loader library. It loads the library and its extensions as
// the runtime's core does, then runs one command.
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/program_options.hpp>

#include "Commands.h"
#include "Host.h"
#include "kov/Version.h"
#include "loader/ProbeProtocol.h"

namespace po = boost::program_options;

namespace {

// What a failure exits with: 1, or the status that the command named for its errors.
int gErrorStatus = 1;

void printUsage(std::ostream& out, const po::options_description& options) {
    out << "Usage: kov [options] <command> [arguments]\n\n"
           "Loads the loader library and the extensions in its default extension directory\n"
           "(<kov's directory>/../lib/kov-extensions) and in every PATH given with -p, then runs\n"
           "the command.\n\n"
        << kovhost::FILES_NOTE << "\n\nCommands:\n";
    auto head = [](const kovhost::Command& command) {
        return std::string(command.name) +
               (*command.arguments ? std::string(" ") + command.arguments : "");
    };
    size_t width = 28;
    for (const kovhost::Command& command : kovhost::commands())
        width = std::max(width, head(command).size() + 2);
    auto line = [&out, width](const std::string& text, const char* summary) {
        out << "  " << text << std::string(width - text.size(), ' ') << summary << "\n";
    };
    for (const kovhost::Command& command : kovhost::commands())
        line(head(command), command.summary);
    line("help [COMMAND]", "explain kov or one command (also: kov COMMAND --help)");
    out << "\n" << options;
}

const kovhost::Command& commandNamed(const std::string& name) {
    const kovhost::Command* command = kovhost::findCommand(name);
    if (!command)
        throw kovhost::UsageError("unknown command '" + name + "'");
    return *command;
}

// The tokens after the command that the first pass did not take: the command's own flags and
// its arguments, in their order.
std::vector<std::string> commandTokens(const po::parsed_options& parsed) {
    std::vector<std::string> tokens;
    bool commandSeen = false;
    for (const po::option& option : parsed.options) {
        const bool positional = option.position_key >= 0;
        if (positional && !commandSeen) {
            commandSeen = true;
            continue;
        }
        if (positional || option.unregistered)
            tokens.insert(tokens.end(), option.original_tokens.begin(),
                          option.original_tokens.end());
    }
    return tokens;
}

// Second pass: the command's flags and its positional arguments.
kovhost::Invocation parseInvocation(const kovhost::Command& command,
                                    const std::vector<std::string>& tokens) {
    po::options_description own;
    for (const kovhost::Flag& flag : command.flags) {
        const std::string optionName =
            std::string(flag.name) + (flag.shortName ? std::string(",") + flag.shortName : "");
        if (flag.valueName)
            own.add_options()(optionName.c_str(),
                              po::value<std::string>()->value_name(flag.valueName),
                              flag.description);
        else
            own.add_options()(optionName.c_str(), flag.description);
    }
    own.add_options()("args", po::value<std::vector<std::string>>());
    po::positional_options_description order;
    order.add("args", -1);

    po::variables_map vm;
    po::store(po::command_line_parser(tokens).options(own).positional(order).run(), vm);
    po::notify(vm);

    kovhost::Invocation invocation;
    if (vm.count("args"))
        invocation.args = vm["args"].as<std::vector<std::string>>();
    for (const kovhost::Flag& flag : command.flags) {
        if (!vm.count(flag.name))
            continue;
        if (flag.valueName)
            invocation.values[flag.name] = vm[flag.name].as<std::string>();
        else
            invocation.flags.insert(flag.name);
    }
    return invocation;
}

int runWithHost(const kovhost::Command& command, const kovhost::Invocation& invocation,
                const std::vector<std::string>& paths) {
    kovhost::Host host(kovhost::Host::defaultLibraryDir() + "/libkov_loader.so");
    try {
        host.loadExtensions(paths);
        // Everything the command took from the libraries is released when it returns, before
        // the host unloads them.
        return command.execute(host, invocation, std::cout, std::cerr);
    } catch (const std::exception& e) {
        // The exception's class may live in a plug-in, which goes with the manager: keep only
        // its text.
        throw std::runtime_error(e.what());
    } catch (...) {
        throw std::runtime_error("unknown failure");
    }
}

int run(int argc, char** argv) {
    po::options_description options("Options");
    options.add_options()("help,h", "show this help, or the command's, and exit")(
        "version", "print kov's version and exit")(
        "plugin-path,p", po::value<std::vector<std::string>>()->value_name("PATH"),
        "also load extensions from PATH, a directory or a .so file (repeatable)")(
        "probe-plugins", "try every plug-in in a helper process first and skip those that kill it");
    po::options_description positionals;
    positionals.add_options()("command", po::value<std::string>())(
        "args", po::value<std::vector<std::string>>());
    po::options_description all;
    all.add(options).add(positionals);
    po::positional_options_description order;
    order.add("command", 1).add("args", -1);

    // First pass: the options of kov itself, wherever they stand; the rest belongs to the command.
    const po::parsed_options parsed = po::command_line_parser(argc, argv)
                                          .options(all)
                                          .positional(order)
                                          .allow_unregistered()
                                          .run();
    po::variables_map vm;
    po::store(parsed, vm);
    po::notify(vm);

    if (vm.count("version")) {
        std::cout << "kov " KOV_VERSION_STRING "\n";
        return 0;
    }
    const bool help = vm.count("help") != 0;
    if (!vm.count("command")) {
        printUsage(help ? std::cout : std::cerr, options);
        return help ? 0 : 1;
    }
    const std::string name = vm["command"].as<std::string>();
    std::vector<std::string> tokens = commandTokens(parsed);

    if (name == "help") {
        if (tokens.empty()) {
            printUsage(std::cout, options);
        } else if (tokens.size() == 1) {
            commandNamed(tokens.front()).printHelp(std::cout);
        } else {
            throw kovhost::UsageError("usage: kov help [COMMAND]");
        }
        return 0;
    }
    const kovhost::Command& command = commandNamed(name);
    gErrorStatus = command.errorStatus;
    kovhost::Invocation invocation = parseInvocation(command, tokens);
    if (help) {
        command.printHelp(std::cout);
        return 0;
    }
    command.checkArguments(invocation.args);

    std::vector<std::string> paths{kovhost::Host::defaultLibraryDir() + "/kov-extensions"};
    if (vm.count("plugin-path")) {
        invocation.pluginPaths = vm["plugin-path"].as<std::vector<std::string>>();
        paths.insert(paths.end(), invocation.pluginPaths.begin(), invocation.pluginPaths.end());
    }
    // The extension manager reads this when it loads the plug-ins.
    if (vm.count("probe-plugins"))
        setenv(loader::probe::ENABLE_VARIABLE, "1", 1);
    return runWithHost(command, invocation, paths);
}

} // namespace

int main(int argc, char** argv) {
    try {
        const int status = run(argc, argv);
        std::cout.flush();
        if (!std::cout) {
            std::cerr << "kov: cannot write the output\n";
            return gErrorStatus;
        }
        return status;
    } catch (const po::error& e) {
        std::cerr << "kov: " << e.what() << "\nTry 'kov --help'.\n";
    } catch (const kovhost::UsageError& e) {
        std::cerr << "kov: " << e.what() << "\nTry 'kov --help'.\n";
    } catch (const std::exception& e) {
        std::cerr << "kov: " << e.what() << "\n";
    } catch (...) {
        std::cerr << "kov: unknown failure\n";
    }
    return gErrorStatus;
}

// kov: a command-line host for the loader library. It loads the library and its extensions as
// the runtime's core does, then runs one command.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <boost/program_options.hpp>

#include "Commands.h"
#include "Host.h"

namespace po = boost::program_options;

namespace {

void printUsage(std::ostream& out, const po::options_description& options) {
    out << "Usage: kov [options] <command> [arguments]\n\n"
           "Loads the loader library and the extensions in its default extension directory\n"
           "(<kov's directory>/../lib/kov-extensions) and in every PATH given with -p, then runs\n"
           "the command.\n\nCommands:\n";
    for (const kovhost::Command& command : kovhost::commands()) {
        std::string head = std::string(command.name) +
                           (*command.arguments ? std::string(" ") + command.arguments : "");
        out << "  " << head << std::string(head.size() < 20 ? 20 - head.size() : 1, ' ')
            << command.summary << "\n";
    }
    out << "\n" << options;
}

int run(int argc, char** argv) {
    po::options_description options("Options");
    options.add_options()("help,h", "show this help and exit")(
        "plugin-path,p", po::value<std::vector<std::string>>()->value_name("PATH"),
        "also load extensions from PATH, a directory or a .so file (repeatable)");
    po::options_description positionals;
    positionals.add_options()("command", po::value<std::string>())(
        "args", po::value<std::vector<std::string>>());
    po::options_description all;
    all.add(options).add(positionals);
    po::positional_options_description order;
    order.add("command", 1).add("args", -1);

    po::variables_map vm;
    po::store(po::command_line_parser(argc, argv).options(all).positional(order).run(), vm);
    po::notify(vm);

    if (vm.count("help")) {
        printUsage(std::cout, options);
        return 0;
    }
    if (!vm.count("command")) {
        printUsage(std::cerr, options);
        return 1;
    }
    const std::string name = vm["command"].as<std::string>();
    const kovhost::Command* command = kovhost::findCommand(name);
    if (!command)
        throw kovhost::UsageError("unknown command '" + name + "'");

    std::vector<std::string> paths{kovhost::Host::defaultLibraryDir() + "/kov-extensions"};
    if (vm.count("plugin-path")) {
        for (const std::string& path : vm["plugin-path"].as<std::vector<std::string>>())
            paths.push_back(path);
    }
    std::vector<std::string> args;
    if (vm.count("args"))
        args = vm["args"].as<std::vector<std::string>>();
    command->checkArguments(args);

    kovhost::Host host(kovhost::Host::defaultLibraryDir() + "/libkov_loader.so");
    host.loadExtensions(paths);
    return command->run(host, args, std::cout);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const po::error& e) {
        std::cerr << "kov: " << e.what() << "\nTry 'kov --help'.\n";
    } catch (const kovhost::UsageError& e) {
        std::cerr << "kov: " << e.what() << "\nTry 'kov --help'.\n";
    } catch (const std::exception& e) {
        std::cerr << "kov: " << e.what() << "\n";
    }
    return 1;
}

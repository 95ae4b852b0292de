// "serve": a rule library on a local web server, for the pages and for scripts.
#include <iostream>
#include <stdexcept>
#include <thread>

#include "Commands.h"
#include "serve/Api.h"
#include "serve/HttpServer.h"
#include "serve/Library.h"
#include "serve/WebFolder.h"

namespace kovhost {

namespace {

// The option's value as a number from low to high, or fallback when it was not given.
unsigned long numberOption(const Invocation& invocation, const char* name, const char* shown,
                           unsigned long low, unsigned long high, unsigned long fallback) {
    const std::string* text = invocation.value(name);
    if (!text)
        return fallback;
    size_t used = 0;
    unsigned long number = 0;
    try {
        if (!text->empty() && (*text)[0] != '-')
            number = std::stoul(*text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != text->size() || number < low || number > high)
        throw UsageError(std::string(shown) + " takes a number from " + std::to_string(low) +
                         " to " + std::to_string(high) + ", got '" + *text + "'");
    return number;
}

void requireFile(const std::string& path) {
    std::error_code ec;
    const bool regular = std::filesystem::is_regular_file(path, ec);
    if (ec)
        throw std::runtime_error("cannot read '" + path + "': " + ec.message());
    if (!regular)
        throw UsageError("--diff takes two rule files, '" + path + "' is not one");
}

int serveLibrary(Host& host, const Invocation& invocation, std::ostream& out) {
    const size_t jobs = numberOption(invocation, "jobs", "-j", 1, 1024,
                                     std::max(1u, std::thread::hardware_concurrency()));
    const auto port =
        static_cast<unsigned short>(numberOption(invocation, "port", "--port", 0, 65535, 8080));
    const std::string* bind = invocation.value("bind");

    std::vector<std::string> roots = invocation.args;
    serve::DefaultDiff defaultDiff;
    if (invocation.has("diff")) {
        if (roots.size() < 3)
            throw UsageError("usage: kov serve --diff OLD NEW PATH...");
        defaultDiff = {roots[0], roots[1]};
        roots.erase(roots.begin(), roots.begin() + 2);
        requireFile(defaultDiff.oldFile);
        requireFile(defaultDiff.newFile);
    }

    serve::Library library(host, invocation.pluginPaths, roots, jobs);
    serve::Api api(host, invocation.pluginPaths, library, jobs,
                   serve::WebFolder(serve::WebFolder::installed()), defaultDiff);
    // Two threads more than decodes, so that the listing answers while every decode slot is taken.
    serve::HttpServer server(
        bind ? *bind : "127.0.0.1", port,
        [&api](const std::string& target) { return api.handle(target); }, jobs + 2);
    out << "kov serve: " << server.url() << std::endl;
    server.run();
    return 0;
}

} // namespace

extern const Command SERVE_COMMAND = {
    "serve", "[--bind ADDR] [--port N] [-j N] PATH...",
    "serve the rule files under the paths to a web browser and to scripts",
    "Serves the rule files under the paths (found as 'kov check' finds them) over HTTP, by\n"
    "default at http://127.0.0.1:8080/, and prints \"kov serve: URL\" once it listens. The\n"
    "files are checked in the background on several threads; a file that changes on disk is\n"
    "checked again. The pages of share/kov/web beside kov are served at /, a JSON API at /api/:\n"
    "  /api/library                the files with their status, and the progress of the check\n"
    "  /api/file?path=ID           the 'kov json' object of one file\n"
    "  /api/dump?path=ID           {\"text\": the 'kov dump' text}\n"
    "  /api/constants?path=ID      the 'kov constants --json' object\n"
    "  /api/diff?old=ID&new=ID     the 'kov diff --json' object of two files\n"
    "ID is the index of the PATH it was found under, counted from 0, a slash and its path below\n"
    "PATH (for a PATH that is a file: its name), as /api/library lists it. With --diff, the first\n"
    "two arguments are OLD and NEW, which /api/diff compares when it names no files.\n"
    "Only GET and HEAD are answered, only to requests for the address served, and only rule files\n"
    "of the library are read. Runs until interrupted (SIGINT or SIGTERM), then exits with 0.",
    {{"bind", "listen on ADDR (default: 127.0.0.1)", "ADDR"},
     {"port", "listen on port N; 0 picks a free one (default: 8080)", "N"},
     {"jobs", "check and decode on N threads (default: one per core)", "N", 'j'},
     {"diff", "--diff OLD NEW PATH...: the first two arguments are the pair to compare"}},
    1, ANY, false, &serveLibrary, 2};

} // namespace kovhost

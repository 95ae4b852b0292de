// kov-plugin-probe LIBRARY: loads one plug-in library the way the extension manager does, lets it
// register its factories, lists them, lets it unregister them and unloads it again, all in this
// process of its own. The manager runs it before it loads a plug-in itself when probing is
// switched on: a plug-in that kills this process would have killed the host.
//
// Prints its reply on standard output when it is done; what the plug-in writes to standard output
// goes nowhere. Exceptions of the plug-in do not matter here, the host handles them when it loads
// the library itself; neither does anything logged, which the host logs again.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "kovx/Log.h"
#include "loader/ExtensionManagerImpl.h"
#include "loader/ProbeProtocol.h"
#include "util/StringUtils.h"

// GCC announces AddressSanitizer with __SANITIZE_ADDRESS__, Clang only through __has_feature.
#if defined(__SANITIZE_ADDRESS__)
#define KOV_PROBE_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KOV_PROBE_UNDER_ASAN 1
#endif
#endif

#if defined(KOV_PROBE_UNDER_ASAN)
// A fault of the plug-in must end this process the way it would end the host, by its signal, and
// not in a sanitizer's report with exit status 1.
extern "C" const char* __asan_default_options() {
    return "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0";
}
#endif

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: kov-plugin-probe LIBRARY\n";
        return 2;
    }
    // Probing from the probe would never end.
    unsetenv(loader::probe::ENABLE_VARIABLE);
    const int report = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (report < 0 || nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) {
        std::cerr << "kov-plugin-probe: cannot set up its standard output\n";
        return 2;
    }
    close(nowhere);
    kovx::Log::removeHandler(kovx::Log::DEFAULT_HANDLER);

    try {
        // The whole scan, not only the library's entry points: the listing at its end calls into
        // the factories that the library registered.
        loader::ExtensionManagerImpl manager;
        const std::wstring path = util::StringUtils::toUTF32FromUTF8(argv[1]);
        const wchar_t* const paths[] = {path.c_str()};
        manager.loadExtensions(paths, 1);
    } catch (...) {
        // The teardown's failure to unregister: the host reports it when it happens there.
    }
    const ssize_t replySize = sizeof loader::probe::SURVIVED_REPLY - 1;
    if (write(report, loader::probe::SURVIVED_REPLY, replySize) != replySize)
        return 2;
    return 0;
}

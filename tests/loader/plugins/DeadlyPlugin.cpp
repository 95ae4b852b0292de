// Plug-ins that end the process that loads them, for the probe, never to be loaded by a test
// itself: KOVTEST_ABORT_ON_LOAD aborts in a static constructor; from registration,
// KOVTEST_EXIT_STATUS calls exit with that status, KOVTEST_NULL_WRITE writes through a null
// pointer and KOVTEST_HANG never returns.
#include <unistd.h>

#include <cstdlib>

#include "kovx/ExtensionManager.h"

#ifdef KOVTEST_ABORT_ON_LOAD
namespace {
struct AbortOnLoad {
    AbortOnLoad() { std::abort(); }
} abortOnLoad;
} // namespace
#endif

extern "C" __attribute__((visibility("default"))) void
registerExtensionFactories(kovx::ExtensionManager*) {
#if defined(KOVTEST_EXIT_STATUS)
    std::exit(KOVTEST_EXIT_STATUS);
#elif defined(KOVTEST_NULL_WRITE)
    // A volatile store through a volatile pointer: the compiler can neither drop the store nor
    // treat it as unreachable.
    volatile int* volatile target = nullptr;
    *target = 1;
#elif defined(KOVTEST_HANG)
    for (;;)
        pause();
#endif
}

extern "C" __attribute__((visibility("default"))) void
unregisterExtensionFactories(kovx::ExtensionManager*) {}

// A library whose registration fails: with a standard exception, or with KOVTEST_THROW_UNKNOWN
// with something that is not one.
#include <stdexcept>

#include "kovx/ExtensionManager.h"

extern "C" __attribute__((visibility("default"))) void
registerExtensionFactories(kovx::ExtensionManager*) {
#ifdef KOVTEST_THROW_UNKNOWN
    throw 42;
#else
    throw std::runtime_error("registration refused");
#endif
}

extern "C" __attribute__((visibility("default"))) void
unregisterExtensionFactories(kovx::ExtensionManager*) {}

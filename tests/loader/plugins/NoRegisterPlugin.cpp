// A valid library that forgot registerExtensionFactories. Its unregistration leaves a mark in the
// environment, which outlives the library.
#include <cstdlib>

#include "kovx/ExtensionManager.h"

extern "C" __attribute__((visibility("default"))) void
unregisterExtensionFactories(kovx::ExtensionManager*) {
    setenv("KOVTEST_NOREGISTER_UNREGISTERED", "1", 1);
}

// A valid library that forgot registerExtensionFactories.
#include "kovx/ExtensionManager.h"

extern "C" __attribute__((visibility("default"))) void
unregisterExtensionFactories(kovx::ExtensionManager*) {}

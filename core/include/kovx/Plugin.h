#pragma once

// The two entry points of an extension library. Including this header gives them C linkage and
// default visibility, so that the extension manager finds them in a library built with hidden
// visibility, and lets the compiler check their signatures.

namespace kovx {
class ExtensionManager;
}

#define KOVX_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

/// Adds the library's factories through manager->addFactory; the manager owns them from then on.
KOVX_PLUGIN_EXPORT void registerExtensionFactories(kovx::ExtensionManager* manager);
/// Called when the manager goes away, before it deletes the factories.
KOVX_PLUGIN_EXPORT void unregisterExtensionFactories(kovx::ExtensionManager* manager);

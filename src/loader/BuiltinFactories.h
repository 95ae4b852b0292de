#pragma once

namespace kovx {
class ExtensionManager;
}

namespace loader {

/// Registers the factories that the library itself provides. loadExtensions calls this before it
/// scans any plug-in path.
void addBuiltinFactories(kovx::ExtensionManager& manager);

} // namespace loader

#include "loader/BuiltinFactories.h"

#include "kovx/ExtensionManager.h"

namespace loader {

void addBuiltinFactories(kovx::ExtensionManager& /*manager*/) {
    // The rule file decoder factory is registered here, before any plug-in is loaded, so that a
    // plug-in registering the same id replaces it.
}

} // namespace loader

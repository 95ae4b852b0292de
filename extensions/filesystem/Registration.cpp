// The two entry points that every plug-in exports. The manager owns the registered factory and
// deletes it itself, so unregistering has nothing to do here.
#include <memory>

#include "FileSystemAdaptor.h"
#include "kovx/ExtensionManager.h"
#include "kovx/Plugin.h"

KOVX_PLUGIN_EXPORT void registerExtensionFactories(kovx::ExtensionManager* manager) {
    std::unique_ptr<fsadaptor::FileSystemAdaptorFactory> factory(
        new fsadaptor::FileSystemAdaptorFactory());
    manager->addFactory(factory.get());
    factory.release();
}

KOVX_PLUGIN_EXPORT void unregisterExtensionFactories(kovx::ExtensionManager* /*manager*/) {}

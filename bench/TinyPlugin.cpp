// The smallest plug-in: it registers nothing. The plug-in benchmark loads 200 copies of it.
namespace kovx {
class ExtensionManager;
}

extern "C" __attribute__((visibility("default"))) void
registerExtensionFactories(kovx::ExtensionManager*) {}

extern "C" __attribute__((visibility("default"))) void
unregisterExtensionFactories(kovx::ExtensionManager*) {}

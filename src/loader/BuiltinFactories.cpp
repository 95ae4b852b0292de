#include "loader/BuiltinFactories.h"

#include <memory>

#include "codecs/tkb/TKBDecoderFactory.h"
#include "kovx/ExtensionManager.h"

namespace loader {

void addBuiltinFactories(kovx::ExtensionManager& manager) {
    // Registered before any plug-in is loaded, so that a plug-in registering the same id replaces
    // it. The manager owns the factory once addFactory returns.
    auto factory = std::make_unique<tkb::TKBDecoderFactory>();
    manager.addFactory(factory.get());
    factory.release();
}

} // namespace loader

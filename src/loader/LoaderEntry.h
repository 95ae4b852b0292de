#pragma once

namespace kovx {
class ExtensionManager;
}

extern "C" {
/// The library's only export: a new extension manager, owned by the caller. core is not used.
__attribute__((visibility("default"))) kovx::ExtensionManager* init(void* core);
}

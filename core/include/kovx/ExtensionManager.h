#pragma once

#include <cstddef>
#include <string>

#include "kovx/Extension.h"
#include "kovx/ExtensionFactory.h"

namespace kovx {

/// The core's view of the extension manager that the loader library returns from init. The
/// virtual slots keep this order: the core and the plug-ins are built against it.
class KOV_CORE_API ExtensionManager {
public:
    ExtensionManager();
    /// May throw: the loader lets an unregistration failure of a plug-in escape.
    virtual ~ExtensionManager() noexcept(false);

    /// Registers factory under its id; the manager owns it from now on.
    virtual void addFactory(ExtensionFactory* factory) = 0;
    /// Copies "id;id;..." into result (at most *resultSize characters) and sets *resultSize to
    /// the full length + 1.
    virtual void listEncoderIds(wchar_t* result, size_t* resultSize) const = 0;
    virtual void listDecoderIds(wchar_t* result, size_t* resultSize) const = 0;
    virtual EncoderInfoPtr createEncoderInfo(const std::wstring& id) const = 0;
    virtual DecoderInfoPtr createDecoderInfo(const std::wstring& id) const = 0;
    virtual EncoderPtr createEncoder(const std::wstring& id, const kov::AttributeMap* options,
                                     void* context) const = 0;
    virtual DecoderPtr createMatchingDecoder(kov::ContentType contentType, URIPtr uri) const = 0;
    virtual DecoderPtr createDecoder(const std::wstring& id) const = 0;
    virtual StreamAdaptorPtr createStreamAdaptor(URIPtr uri) const = 0;
    /// Registers the built-in factories, then loads the plug-ins found on the given paths.
    virtual void loadExtensions(const wchar_t* const* paths, size_t count) = 0;
    /// Loads one plug-in library file and lets it register its factories.
    virtual void loadExtensionLibrary(const std::string& path) = 0;

    ExtensionManager(const ExtensionManager&) = delete;
    ExtensionManager& operator=(const ExtensionManager&) = delete;
};

} // namespace kovx

extern "C" {
/// Entry points that every plug-in library exports.
typedef void (*KovRegisterExtensionFactories)(kovx::ExtensionManager* manager);
typedef void (*KovUnregisterExtensionFactories)(kovx::ExtensionManager* manager);
/// The loader library's entry point.
typedef kovx::ExtensionManager* (*KovLoaderInit)(void* core);
}

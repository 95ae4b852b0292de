#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "kovx/ExtensionManager.h"

namespace loader {

class ExtensionLibrary;

/// The registry of extension factories and the plug-in libraries that provided them.
class ExtensionManagerImpl : public kovx::ExtensionManager {
public:
    static const wchar_t* const FILE_SYSTEM_ADAPTOR_ID;

    ExtensionManagerImpl();
    /// Unregisters every library, deletes the factories, then unloads the libraries. A library
    /// that lacks unregisterExtensionFactories (or never opened) makes this throw, once the rest
    /// of the teardown is done.
    ~ExtensionManagerImpl() noexcept(false) override;

    void addFactory(kovx::ExtensionFactory* factory) override;
    void listEncoderIds(wchar_t* result, size_t* resultSize) const override;
    void listDecoderIds(wchar_t* result, size_t* resultSize) const override;
    kovx::EncoderInfoPtr createEncoderInfo(const std::wstring& id) const override;
    kovx::DecoderInfoPtr createDecoderInfo(const std::wstring& id) const override;
    kovx::EncoderPtr createEncoder(const std::wstring& id, const kov::AttributeMap* options,
                                   void* context) const override;
    kovx::DecoderPtr createMatchingDecoder(kov::ContentType contentType,
                                           kovx::URIPtr uri) const override;
    kovx::DecoderPtr createDecoder(const std::wstring& id) const override;
    kovx::StreamAdaptorPtr createStreamAdaptor(kovx::URIPtr uri) const override;
    void loadExtensions(const wchar_t* const* paths, size_t count) override;
    /// With KOV_PROBE_PLUGINS=1, a helper process loads the library first, and a library that
    /// kills it is skipped with a warning instead of being loaded here.
    void loadExtensionLibrary(const std::string& path) override;

private:
    // std::wstring orders by code unit (wmemcmp over the shorter length, a prefix first). Every
    // walk of the registry runs in this order, which is what makes the tie-breaks deterministic.
    using FactoryMap = std::map<std::wstring, kovx::ExtensionFactory*>;
    using LibraryMap = std::map<std::string, boost::shared_ptr<ExtensionLibrary>>;
    // What one registration added, each factory under the id it had then.
    using AddedFactories = std::vector<std::pair<std::wstring, kovx::ExtensionFactory*>>;

    void listIds(kovx::Extension::ExtensionType type, wchar_t* result, size_t* resultSize) const;
    void scanPath(const std::wstring& path);
    void logListing() const;
    bool holdsAny(const AddedFactories& added) const;

    LibraryMap mLibraries;
    FactoryMap mFactories;
    // Libraries whose registration threw after adding factories that are still registered. They
    // are not in the library map, so nobody asks them to unregister, but their code stays loaded
    // until those factories are deleted.
    std::vector<boost::shared_ptr<ExtensionLibrary>> mFailedLibraries;
    // Set while a library registers its factories.
    AddedFactories* mAdded = nullptr;
};

} // namespace loader

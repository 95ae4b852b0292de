#include "loader/ExtensionManagerImpl.h"

#include <algorithm>
#include <chrono>
#include <cwchar>
#include <exception>
#include <limits>
#include <stdexcept>
#include <utility>

#include <boost/filesystem.hpp>
#include <boost/format.hpp>

#include "kovx/Log.h"
#include "kovx/StatusException.h"
#include "loader/BuiltinFactories.h"
#include "loader/ExtensionLibrary.h"
#include "loader/PluginFailure.h"
#include "loader/PluginProbe.h"
#include "util/StringUtils.h"

namespace fs = boost::filesystem;

namespace loader {

const wchar_t* const ExtensionManagerImpl::FILE_SYSTEM_ADAPTOR_ID =
    L"com.velmor.kov.adaptors.FileSystemAdaptor";

namespace {

const float LOWEST_MERIT = std::numeric_limits<float>::lowest();
// Loading a library takes milliseconds; a probe that runs this long hangs.
const std::chrono::seconds PROBE_TIMEOUT(10);

std::string uriText(const kovx::URIPtr& uri) {
    return uri ? uri->str() : std::string();
}

// Probes the library in a helper process; false, after reporting why, when it killed the helper.
bool survivesProbe(const std::string& path) {
    const ProbeResult probe = probePlugin(path, PROBE_TIMEOUT);
    if (probe.outcome == ProbeResult::DIED) {
        reportPluginFailure(PluginFailure::PROBE_DIED, path, probe.detail);
        return false;
    }
    // Not knowing is no reason to lose a good plug-in: it is loaded as without probing.
    if (probe.outcome == ProbeResult::NOT_PROBED)
        reportPluginFailure(PluginFailure::PROBE_UNAVAILABLE, path, probe.detail);
    return true;
}

} // namespace

ExtensionManagerImpl::ExtensionManagerImpl() = default;

ExtensionManagerImpl::~ExtensionManagerImpl() noexcept(false) {
    // The first unregister failure is raised, but only after every library had its turn and the
    // factories are gone, so that the failure leaks nothing. It is kept as a copy of its text: an
    // exception object of a plug-in must not outlive the plug-in's code.
    std::exception_ptr failure;
    for (auto& entry : mLibraries) {
        try {
            entry.second->unregisterFactories(this);
        } catch (const std::exception& e) {
            if (!failure)
                failure = std::make_exception_ptr(std::runtime_error(e.what()));
        } catch (...) {
            if (!failure)
                failure = std::make_exception_ptr(std::runtime_error(
                    "unknown exception while unregistering the extensions of '" + entry.first +
                    "'"));
        }
    }
    // Factories die while the code of their libraries is still loaded.
    for (auto& entry : mFactories)
        delete entry.second;
    mFactories.clear();
    // Released in path order: clear() alone would go by the shape of the tree.
    for (auto& entry : mLibraries)
        entry.second.reset();
    mLibraries.clear();
    mFailedLibraries.clear();
    if (failure)
        std::rethrow_exception(failure);
}

void ExtensionManagerImpl::addFactory(kovx::ExtensionFactory* factory) {
    if (!factory)
        throw std::invalid_argument("cannot register a null extension factory");
    const std::wstring& id = factory->getID();
    if (mAdded)
        mAdded->emplace_back(id, factory);
    // A replaced factory is deliberately neither deleted nor reported.
    mFactories[id] = factory;
}

bool ExtensionManagerImpl::holdsAny(const AddedFactories& added) const {
    return std::any_of(added.begin(), added.end(), [this](const auto& entry) {
        auto it = mFactories.find(entry.first);
        return it != mFactories.end() && it->second == entry.second;
    });
}

void ExtensionManagerImpl::listIds(kovx::Extension::ExtensionType type, wchar_t* result,
                                   size_t* resultSize) const {
    std::wstring ids;
    for (const auto& entry : mFactories) {
        if (entry.second && entry.second->getExtensionType() == type)
            ids += entry.first + L";";
    }
    if (!resultSize)
        return;
    // Cut short, the copy carries no terminator; the size tells the caller what to retry with.
    if (result && *resultSize > 0)
        std::wcsncpy(result, ids.c_str(), *resultSize);
    *resultSize = ids.length() + 1;
}

void ExtensionManagerImpl::listEncoderIds(wchar_t* result, size_t* resultSize) const {
    listIds(kovx::Extension::ET_ENCODER, result, resultSize);
}

void ExtensionManagerImpl::listDecoderIds(wchar_t* result, size_t* resultSize) const {
    listIds(kovx::Extension::ET_DECODER, result, resultSize);
}

kovx::EncoderInfoPtr ExtensionManagerImpl::createEncoderInfo(const std::wstring& id) const {
    auto it = mFactories.find(id);
    auto* factory =
        it == mFactories.end() ? nullptr : dynamic_cast<kovx::EncoderFactory*>(it->second);
    if (!factory)
        throw kovx::StatusException(kov::STATUS_ENCODER_NOT_AVAILABLE);
    return factory->createEncoderInfo();
}

kovx::DecoderInfoPtr ExtensionManagerImpl::createDecoderInfo(const std::wstring& id) const {
    // The codes are swapped with respect to createEncoderInfo on purpose: an unknown id is 17,
    // a registered null factory 18.
    auto it = mFactories.find(id);
    if (it == mFactories.end())
        throw kovx::StatusException(kov::STATUS_DECODER_NOT_AVAILABLE);
    if (!it->second)
        throw kovx::StatusException(kov::STATUS_ENCODER_NOT_AVAILABLE);
    auto* factory = dynamic_cast<kovx::DecoderFactory*>(it->second);
    if (!factory)
        throw kovx::StatusException(kov::STATUS_DECODER_NOT_AVAILABLE);
    return factory->createDecoderInfo();
}

kovx::EncoderPtr ExtensionManagerImpl::createEncoder(const std::wstring& id,
                                                     const kov::AttributeMap* options,
                                                     void* context) const {
    auto it = mFactories.find(id);
    if (it == mFactories.end()) {
        kovx::LogFormatterW(kov::LOG_ERROR, L"Unknown encoder id '%ls'.") % id;
        throw kovx::StatusException(kov::STATUS_ENCODER_NOT_AVAILABLE);
    }
    if (!it->second)
        throw kovx::StatusException(kov::STATUS_ENCODER_NOT_AVAILABLE);
    auto* factory = dynamic_cast<kovx::EncoderFactory*>(it->second);
    if (!factory) {
        kovx::LogFormatterW(kov::LOG_ERROR, L"Unknown encoder id '%ls'.") % id;
        throw kovx::StatusException(kov::STATUS_ENCODER_NOT_AVAILABLE);
    }

    if (!factory->checkOptionKeys(options))
        throw std::invalid_argument("The specified default options for '" +
                                    util::StringUtils::toUTF8FromUTF32(id) +
                                    "' do not match the supported option key set.");

    kovx::Extension* extension = factory->create(options, context);
    auto* encoder = dynamic_cast<kovx::Encoder*>(extension);
    if (!encoder) {
        kovx::LogFormatterW(kov::LOG_ERROR, L"Creating encoder '%s' failed!") % id;
        delete extension;
        throw kovx::StatusException(kov::STATUS_ENCODER_NOT_AVAILABLE);
    }
    return kovx::EncoderPtr(encoder);
}

kovx::DecoderPtr ExtensionManagerImpl::createMatchingDecoder(kov::ContentType contentType,
                                                             kovx::URIPtr uri) const {
    float bestMerit = LOWEST_MERIT;
    const std::wstring* bestId = nullptr;
    for (const auto& entry : mFactories) {
        const kovx::ExtensionFactory* factory = entry.second;
        if (!factory || factory->getExtensionType() != kovx::Extension::ET_DECODER ||
            factory->getContentType() != contentType)
            continue;
        // Strictly greater: of equal merits the id that comes first wins.
        if (factory->canHandleURI(uri) && factory->getMerit() > bestMerit) {
            bestMerit = factory->getMerit();
            bestId = &entry.first;
        }
    }
    if (!bestId)
        throw std::invalid_argument(
            "could not find a decoder which matches content type '" +
            util::StringUtils::toUTF8FromUTF32(kovx::Extension::toString(contentType)) +
            "' and can handle the uri '" + uriText(uri) + "'");
    return createDecoder(*bestId);
}

kovx::DecoderPtr ExtensionManagerImpl::createDecoder(const std::wstring& id) const {
    // Deliberately 18 for an unknown id and 17 for a null factory or a failed creation.
    auto it = mFactories.find(id);
    if (it == mFactories.end() || !it->second) {
        kovx::LogFormatterW(kov::LOG_ERROR, L"Unknown decoder id '%ls'.") % id;
        throw kovx::StatusException(it == mFactories.end() ? kov::STATUS_ENCODER_NOT_AVAILABLE
                                                           : kov::STATUS_DECODER_NOT_AVAILABLE);
    }
    kovx::Extension* extension = it->second->create();
    auto* decoder = dynamic_cast<kovx::Decoder*>(extension);
    if (!decoder) {
        kovx::LogFormatterW(kov::LOG_ERROR, L"Creating decoder '%ls' failed!") % id;
        delete extension;
        throw kovx::StatusException(kov::STATUS_DECODER_NOT_AVAILABLE);
    }
    return kovx::DecoderPtr(decoder);
}

kovx::StreamAdaptorPtr ExtensionManagerImpl::createStreamAdaptor(kovx::URIPtr uri) const {
    float bestMerit = LOWEST_MERIT;
    const kovx::ExtensionFactory* best = nullptr;
    const kovx::ExtensionFactory* fallback = nullptr;
    for (const auto& entry : mFactories) {
        const kovx::ExtensionFactory* factory = entry.second;
        if (!factory || factory->getExtensionType() != kovx::Extension::ET_STREAM_ADAPTOR)
            continue;
        // The file-system adaptor competes like any other when it accepts the URI, and is the
        // fallback only when it does not.
        if (factory->canHandleURI(uri)) {
            if (factory->getMerit() > bestMerit) {
                bestMerit = factory->getMerit();
                best = factory;
            }
        } else if (entry.first == FILE_SYSTEM_ADAPTOR_ID) {
            fallback = factory;
        }
    }

    const kovx::ExtensionFactory* chosen = best ? best : fallback;
    if (!chosen)
        throw std::invalid_argument(
            "could not find an adaptor which can handle the scheme or uri: '" + uriText(uri) + "'");
    kovx::Extension* extension = chosen->create();
    auto* adaptor = dynamic_cast<kovx::StreamAdaptor*>(extension);
    if (!adaptor) {
        delete extension;
        if (best)
            throw std::runtime_error(
                (boost::format("Resolving URI '%s': could not create adaptor '%s'") % uriText(uri) %
                 util::StringUtils::toUTF8FromUTF32(best->getID()))
                    .str());
        throw std::runtime_error((boost::format("Resolving URI '%s': could not create fallback "
                                                "'com.velmor.kov.adaptors.FileSystemAdaptor'") %
                                  uriText(uri))
                                     .str());
    }
    return kovx::StreamAdaptorPtr(adaptor);
}

void ExtensionManagerImpl::loadExtensions(const wchar_t* const* paths, size_t count) {
    // First, so that a plug-in registering the same id replaces a built-in factory.
    addBuiltinFactories(*this);
    for (size_t i = 0; paths && i < count; ++i) {
        if (paths[i])
            scanPath(paths[i]);
    }
    logListing();
}

void ExtensionManagerImpl::scanPath(const std::wstring& widePath) {
    fs::path path;
    try {
        path = fs::path(widePath);
    } catch (const std::exception&) {
        // The path has no narrow form in the current locale.
        reportPluginFailure(PluginFailure::INVALID_PATH,
                            util::StringUtils::toUTF8FromUTF32(widePath));
        return;
    }

    boost::system::error_code ec;
    fs::file_status status = fs::status(path, ec);
    switch (status.type()) {
    case fs::regular_file:
        loadExtensionLibrary(path.string());
        return;
    case fs::directory_file:
        break;
    case fs::status_error:
    case fs::file_not_found:
    case fs::type_unknown:
        reportPluginFailure(PluginFailure::INVALID_PATH, path.string());
        return;
    default:
        return;
    }

    fs::directory_iterator it(path, ec);
    if (ec) {
        reportPluginFailure(PluginFailure::INVALID_PATH, path.string());
        return;
    }
    for (; !ec && it != fs::directory_iterator(); it.increment(ec)) {
        boost::system::error_code entryError;
        if (fs::is_regular_file(it->status(entryError)))
            loadExtensionLibrary(it->path().string());
    }
}

void ExtensionManagerImpl::loadExtensionLibrary(const std::string& path) {
    if (fs::path(path).extension() != ".so") {
        reportPluginFailure(PluginFailure::NOT_A_LIBRARY, path);
        return;
    }
    // Outside the try: what the library throws may be an object of its own class, whose what()
    // and destructor are its code. The library stays loaded until the handler is done with it.
    boost::shared_ptr<ExtensionLibrary> library;
    AddedFactories added;
    try {
        if (pluginProbingEnabled() && !survivesProbe(path))
            return;
        library.reset(new ExtensionLibrary(path));
        if (!library->getHandle()) {
            reportPluginFailure(PluginFailure::OPEN_FAILED, path, library->openError());
        } else {
            mAdded = &added;
            library->registerFactories(this);
        }
        // A library that failed to open is kept too; a path seen before keeps its first library,
        // and this one closes again when it goes out of scope.
        mLibraries.insert(std::make_pair(path, library));
    } catch (const std::exception& e) {
        reportPluginFailure(PluginFailure::REGISTRATION_THREW, path, e.what());
    } catch (...) {
        reportPluginFailure(PluginFailure::REGISTRATION_THREW_UNKNOWN, path);
    }
    mAdded = nullptr;
    // A failed library that left nothing registered closes here, as the last owner lets go.
    if (library && mLibraries.find(path) == mLibraries.end() && holdsAny(added))
        mFailedLibraries.push_back(library);
}

void ExtensionManagerImpl::logListing() const {
    kovx::LogFormatterW(kov::LOG_INFO, L"Available Extensions:");
    for (const auto& entry : mFactories) {
        if (!entry.second)
            continue;
        kovx::LogFormatterW(kov::LOG_INFO, L"    %-45ls (%.1f) %ls") % entry.first %
            static_cast<double>(entry.second->getMerit()) % entry.second->getDescription();
    }
}

} // namespace loader

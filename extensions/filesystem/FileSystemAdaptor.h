#pragma once

#include <string>

#include "kovx/ExtensionFactory.h"

namespace fsadaptor {

/// Opens local files, named by a plain path or a "file:" URI, as binary input streams.
class FileSystemAdaptor : public kovx::StreamAdaptor {
public:
    boost::shared_ptr<std::istream> openInput(const kovx::URIPtr& uri) const override;
};

class FileSystemAdaptorFactory : public kovx::ExtensionFactory {
public:
    kovx::Extension* create() const override { return new FileSystemAdaptor(); }
    const std::wstring& getID() const override;
    const std::wstring& getName() const override;
    const std::wstring& getDescription() const override;
    kov::ContentType getContentType() const override { return kov::CT_UNDEFINED; }
    kovx::Extension::ExtensionType getExtensionType() const override {
        return kovx::Extension::ET_STREAM_ADAPTOR;
    }
    float getMerit() const override { return getDefaultMerit(); }
    /// True for "file:" URIs and plain paths.
    bool canHandleURI(kovx::URIPtr uri) const override;
};

} // namespace fsadaptor

#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "kov/AttributeMap.h"
#include "kovx/Extension.h"
#include "kovx/FileExtensions.h"
#include "kovx/URI.h"

namespace kovx {

/// What a client may learn about an extension without creating it.
struct KOV_CORE_API ExtensionInfo {
    std::wstring id;
    std::wstring name;
    std::wstring description;
    kov::ContentType contentType = kov::CT_UNDEFINED;
    Extension::ExtensionType extensionType = Extension::ET_UNDEFINED;
    float merit = 0.0f;
    virtual ~ExtensionInfo();
};

struct KOV_CORE_API DecoderInfo : ExtensionInfo {
    std::vector<std::wstring> fileExtensions;
};

struct KOV_CORE_API EncoderInfo : ExtensionInfo {
    /// The option keys the encoder understands, with their default values.
    kov::AttributeMap defaultOptions;
};

using DecoderInfoPtr = boost::shared_ptr<const DecoderInfo>;
using EncoderInfoPtr = boost::shared_ptr<const EncoderInfo>;

/// Creates extensions of one kind. The virtual slots keep the order below: the extension manager
/// and the plug-ins rely on it.
class KOV_CORE_API ExtensionFactory {
public:
    virtual ~ExtensionFactory();
    /// A new extension owned by the caller, or null.
    virtual Extension* create() const = 0;
    virtual const std::wstring& getID() const = 0;
    virtual const std::wstring& getName() const = 0;
    virtual const std::wstring& getDescription() const = 0;
    virtual kov::ContentType getContentType() const = 0;
    virtual Extension::ExtensionType getExtensionType() const = 0;
    virtual float getMerit() const = 0;
    virtual bool canHandleURI(URIPtr uri) const = 0;

    /// The merit of a factory that claims no special preference.
    static float getDefaultMerit();
};

class KOV_CORE_API DecoderFactory : public ExtensionFactory {
public:
    DecoderFactory(kov::ContentType contentType, const std::wstring& id, const std::wstring& name,
                   const std::wstring& description, const FileExtensions& fileExtensions,
                   const wchar_t* extra = nullptr);
    ~DecoderFactory() override;

    const std::wstring& getID() const override { return mID; }
    const std::wstring& getName() const override { return mName; }
    const std::wstring& getDescription() const override { return mDescription; }
    kov::ContentType getContentType() const override { return mContentType; }
    Extension::ExtensionType getExtensionType() const override { return Extension::ET_DECODER; }
    float getMerit() const override { return getDefaultMerit(); }
    /// Answers through isSupportedFileExtension.
    bool canHandleURI(URIPtr uri) const override;
    /// True when the URI's file extension is one this factory was built with.
    virtual bool isSupportedFileExtension(URIPtr uri) const;

    /// A new description of this factory, owned by the caller.
    virtual DecoderInfoPtr createDecoderInfo() const;
    const FileExtensions& getFileExtensions() const { return mFileExtensions; }

private:
    kov::ContentType mContentType;
    std::wstring mID;
    std::wstring mName;
    std::wstring mDescription;
    FileExtensions mFileExtensions;
    std::wstring mExtra;
};

class KOV_CORE_API EncoderFactory : public ExtensionFactory {
public:
    using ExtensionFactory::create;
    Extension::ExtensionType getExtensionType() const override { return Extension::ET_ENCODER; }
    /// A new encoder for the given options, or null; context is passed through from the caller.
    virtual Extension* create(const kov::AttributeMap* options, void* context) const = 0;
    /// True when every key of options is one this encoder understands (null: no options).
    virtual bool checkOptionKeys(const kov::AttributeMap* options) const = 0;
    virtual EncoderInfoPtr createEncoderInfo() const = 0;
};

} // namespace kovx

#include "kovx/ExtensionFactory.h"

namespace kovx {

ExtensionInfo::~ExtensionInfo() = default;
ExtensionFactory::~ExtensionFactory() = default;

float ExtensionFactory::getDefaultMerit() { return 1.0f; }

DecoderFactory::DecoderFactory(kov::ContentType contentType, const std::wstring& id,
                               const std::wstring& name, const std::wstring& description,
                               const FileExtensions& fileExtensions, const wchar_t* extra)
    : mContentType(contentType), mID(id), mName(name), mDescription(description),
      mFileExtensions(fileExtensions), mExtra(extra ? extra : L"") {}

DecoderFactory::~DecoderFactory() = default;

bool DecoderFactory::canHandleURI(URIPtr uri) const { return isSupportedFileExtension(uri); }

bool DecoderFactory::isSupportedFileExtension(URIPtr uri) const {
    return uri && mFileExtensions.contains(uri->getFileExtension());
}

DecoderInfoPtr DecoderFactory::createDecoderInfo() const {
    boost::shared_ptr<DecoderInfo> info(new DecoderInfo);
    info->id = getID();
    info->name = getName();
    info->description = getDescription();
    info->contentType = getContentType();
    info->extensionType = getExtensionType();
    info->merit = getMerit();
    info->fileExtensions = mFileExtensions.list();
    return info;
}

} // namespace kovx

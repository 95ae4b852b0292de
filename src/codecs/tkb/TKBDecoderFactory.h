#pragma once

#include <string>

#include "kovx/ExtensionFactory.h"
#include "kovx/FileExtensions.h"

namespace tkb {

/// Describes the rule file decoder to the extension manager and creates TKBDecoder objects.
class TKBDecoderFactory : public kovx::DecoderFactory {
  public:
    static const std::wstring ID;
    static const std::wstring NAME;
    static const std::wstring DESCRIPTION;
    /// ".tkb" and ".class", in this order.
    static const kovx::FileExtensions FILE_EXTENSIONS;

    TKBDecoderFactory();
    ~TKBDecoderFactory() override;

    /// A new TKBDecoder, owned by the caller.
    kovx::Extension* create() const override;
    float getMerit() const override;
    bool isSupportedFileExtension(kovx::URIPtr uri) const override;
};

} // namespace tkb

#include "codecs/tkb/TKBDecoderFactory.h"

#include "codecs/tkb/TKBDecoder.h"

namespace tkb {

const std::wstring TKBDecoderFactory::ID = L"com.velmor.kov.core.TKBDecoder";
const std::wstring TKBDecoderFactory::NAME = L"TKB Decoder";
const std::wstring TKBDecoderFactory::DESCRIPTION = L"TKB Byte Stream Reader";
const kovx::FileExtensions TKBDecoderFactory::FILE_EXTENSIONS{L".tkb", L".class"};

TKBDecoderFactory::TKBDecoderFactory()
    : kovx::DecoderFactory(kov::CT_RULEFILE, ID, NAME, DESCRIPTION, FILE_EXTENSIONS, nullptr) {
}

TKBDecoderFactory::~TKBDecoderFactory() = default;

kovx::Extension* TKBDecoderFactory::create() const {
    return new TKBDecoder;
}

float TKBDecoderFactory::getMerit() const {
    return kovx::ExtensionFactory::getDefaultMerit();
}

bool TKBDecoderFactory::isSupportedFileExtension(kovx::URIPtr uri) const {
    return uri && FILE_EXTENSIONS.contains(uri->getFileExtension());
}

} // namespace tkb

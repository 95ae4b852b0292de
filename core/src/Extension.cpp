#include "kovx/Extension.h"
#include "kovx/ExtensionManager.h"

#include <string>

namespace kovx {

Content::~Content() = default;
Extension::~Extension() = default;
Decoder::~Decoder() = default;
Encoder::~Encoder() = default;
StreamAdaptor::~StreamAdaptor() = default;

ExtensionManager::ExtensionManager() = default;
ExtensionManager::~ExtensionManager() noexcept(false) = default;

std::wstring Extension::toString(kov::ContentType ct) {
    switch (ct) {
    case kov::CT_UNDEFINED: return L"CT_UNDEFINED";
    case kov::CT_MODEL: return L"CT_MODEL";
    case kov::CT_GEOMETRY: return L"CT_GEOMETRY";
    case kov::CT_MATERIAL: return L"CT_MATERIAL";
    case kov::CT_TEXTURE: return L"CT_TEXTURE";
    case kov::CT_RULEFILE: return L"CT_RULEFILE";
    }
    return L"CT_UNKNOWN(" + std::to_wstring(static_cast<int32_t>(ct)) + L")";
}

} // namespace kovx

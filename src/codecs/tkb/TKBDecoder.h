#pragma once

#include "kovx/Extension.h"

namespace tkb {

/// Decodes a compiled rule file into one rule program (kovx::TKB). Stateless.
class TKBDecoder : public kovx::Decoder {
  public:
    ~TKBDecoder() override;
    ExtensionType getExtensionType() const override { return ET_DECODER; }
    kov::ContentType getContentType() const override { return kov::CT_RULEFILE; }
    /// Appends exactly one rule program on success. Any failure of the translation passes on
    /// unchanged and leaves results as they were; the rule program made for it is abandoned, not
    /// released, as the core expects.
    void decode(kovx::ContentPtrVector& results, std::istream& stream) const override;
};

} // namespace tkb

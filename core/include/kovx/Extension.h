#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "kov/Types.h"
#include "kovx/URI.h"

namespace kovx {

/// Something an extension produces or consumes, such as a rule program.
class KOV_CORE_API Content {
public:
    virtual ~Content();
    virtual kov::ContentType getContentType() const = 0;
};

using ContentPtr = boost::shared_ptr<Content>;
using ContentPtrVector = std::vector<ContentPtr>;

class KOV_CORE_API Extension {
public:
    enum ExtensionType : int32_t {
        ET_UNDEFINED = 0,
        ET_STREAM_ADAPTOR = 1,
        ET_ENCODER = 2,
        ET_DECODER = 3,
    };

    virtual ~Extension();
    virtual ExtensionType getExtensionType() const = 0;
    virtual kov::ContentType getContentType() const = 0;

    /// The enumerator's name, e.g. "CT_RULEFILE"; "CT_UNKNOWN(<n>)" for other values.
    static std::wstring toString(kov::ContentType ct);
};

class KOV_CORE_API Decoder : public Extension {
public:
    ~Decoder() override;
    ExtensionType getExtensionType() const override { return ET_DECODER; }
    /// Reads one resource from stream and appends what it produced to results.
    virtual void decode(ContentPtrVector& results, std::istream& stream) const = 0;
};

class KOV_CORE_API Encoder : public Extension {
public:
    ~Encoder() override;
    ExtensionType getExtensionType() const override { return ET_ENCODER; }
    virtual void encode(const ContentPtrVector& content, std::ostream& stream) const = 0;
};

class KOV_CORE_API StreamAdaptor : public Extension {
public:
    ~StreamAdaptor() override;
    ExtensionType getExtensionType() const override { return ET_STREAM_ADAPTOR; }
    kov::ContentType getContentType() const override { return kov::CT_UNDEFINED; }
    /// Opens the resource for reading; throws std::runtime_error when it cannot.
    virtual boost::shared_ptr<std::istream> openInput(const URIPtr& uri) const = 0;
};

using DecoderPtr = boost::shared_ptr<Decoder>;
using EncoderPtr = boost::shared_ptr<Encoder>;
using StreamAdaptorPtr = boost::shared_ptr<StreamAdaptor>;

} // namespace kovx

#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "kov/Api.h"

namespace kovx {

/// A resource name: a URI with a scheme ("file:/a/b.tkb", "file:///a/b.tkb") or a plain path.
class KOV_CORE_API URI {
public:
    /// text is UTF-8.
    explicit URI(const std::string& text);
    explicit URI(const std::wstring& text);
    virtual ~URI();

    /// The text the URI was made from (UTF-8).
    const std::string& str() const { return mText; }
    /// The scheme in lower case without ":", empty for a plain path.
    const std::string& getScheme() const { return mScheme; }
    /// The path: for "file:" URIs without authority and with %XX escapes decoded; for a plain
    /// path the text itself.
    const std::string& getPath() const { return mPath; }
    /// The extension of the last path segment from its last dot, e.g. ".tkb"; empty if none.
    std::wstring getFileExtension() const;

private:
    std::string mText;
    std::string mScheme;
    std::string mPath;
};

using URIPtr = boost::shared_ptr<URI>;

} // namespace kovx

#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "HttpServer.h"
#include "WebFolder.h"

namespace kovhost {

class Host;

namespace serve {

class Library;

/// The pair of files that GET /api/diff compares when it names none.
struct DefaultDiff {
    std::string oldFile;
    std::string newFile;
};

/// The server's answers: the JSON API under /api/ and the pages of the web folder elsewhere.
/// A rule file is named by its library id ("ROOT/relative/path"); only the library's files are
/// read. At most `decodes` rule files are decoded at once for the API.
class Api {
public:
    Api(Host& host, const std::vector<std::string>& pluginPaths, Library& library,
        size_t decodes, WebFolder web, DefaultDiff defaultDiff);

    HttpResponse handle(const std::string& target);

private:
    using Query = std::map<std::string, std::string>;

    HttpResponse library() const;
    HttpResponse file(const Query& query);
    HttpResponse dump(const Query& query);
    HttpResponse constants(const Query& query);
    HttpResponse diff(const Query& query);

    class Refusal;

    /// The file on disk of the query's parameter name; throws a Refusal when there is none.
    std::string fileOf(const Query& query, const std::string& name) const;

    /// Waits for one of the decode slots; gives it back when it goes.
    class DecodeSlot;

    Host& mHost;
    const std::vector<std::string> mPluginPaths;
    Library& mLibrary;
    WebFolder mWeb;
    DefaultDiff mDefaultDiff;

    std::mutex mMutex;
    std::condition_variable mSlotFree;
    size_t mFreeSlots;
};

/// The text with %XX escapes decoded, and '+' as a blank when plus is set; false when an
/// escape is malformed.
bool percentDecode(const std::string& text, bool plus, std::string& decoded);

} // namespace serve
} // namespace kovhost

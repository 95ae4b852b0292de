#include "Api.h"

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "FileChecker.h"
#include "HelperCheck.h"
#include "JsonForms.h"
#include "Library.h"
#include "RuleFileSource.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"

namespace kovhost {
namespace serve {

namespace {

HttpResponse json(unsigned status, const Json& body) {
    return {status, "application/json",
            body.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"};
}

HttpResponse error(unsigned status, const std::string& reason) {
    return json(status, {{"error", reason}});
}

const char* statusWord(LibraryFile::Status status) {
    switch (status) {
    case LibraryFile::Status::OK: return "ok";
    case LibraryFile::Status::FAILED: return "failed";
    default: return "pending";
    }
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The whole file, read through the stream adaptor as 'kov dump' reads it.
std::string readWhole(Host& host, const std::string& path) {
    // A pipe put in the file's place might never end.
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        throw std::runtime_error("not a regular file");
    const boost::shared_ptr<std::istream> input = openRuleFile(host, path);
    std::string bytes;
    char block[1 << 16];
    while (input->read(block, sizeof block) || input->gcount() > 0)
        bytes.append(block, static_cast<size_t>(input->gcount()));
    return bytes;
}

} // namespace

/// A request that the API refuses, with the status to answer.
class Api::Refusal : public std::runtime_error {
public:
    Refusal(unsigned status, const std::string& reason)
        : std::runtime_error(reason), mStatus(status) {}
    unsigned status() const { return mStatus; }

private:
    unsigned mStatus;
};

bool percentDecode(const std::string& text, bool plus, std::string& decoded) {
    decoded.clear();
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            if (i + 2 >= text.size())
                return false;
            const int high = hexValue(text[i + 1]);
            const int low = hexValue(text[i + 2]);
            if (high < 0 || low < 0)
                return false;
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            decoded += plus && text[i] == '+' ? ' ' : text[i];
        }
    }
    return true;
}

class Api::DecodeSlot {
public:
    explicit DecodeSlot(Api& api) : mApi(api) {
        std::unique_lock<std::mutex> lock(mApi.mMutex);
        mApi.mSlotFree.wait(lock, [this] { return mApi.mFreeSlots > 0; });
        --mApi.mFreeSlots;
    }
    ~DecodeSlot() {
        {
            std::lock_guard<std::mutex> lock(mApi.mMutex);
            ++mApi.mFreeSlots;
        }
        mApi.mSlotFree.notify_one();
    }
    DecodeSlot(const DecodeSlot&) = delete;
    DecodeSlot& operator=(const DecodeSlot&) = delete;

private:
    Api& mApi;
};

Api::Api(Host& host, const std::vector<std::string>& pluginPaths, Library& library,
         size_t decodes, WebFolder web, DefaultDiff defaultDiff)
    : mHost(host), mPluginPaths(pluginPaths), mLibrary(library), mWeb(std::move(web)),
      mDefaultDiff(std::move(defaultDiff)), mFreeSlots(decodes) {}

HttpResponse Api::handle(const std::string& target) {
    const size_t mark = target.find('?');
    std::string path;
    if (!percentDecode(target.substr(0, mark), false, path))
        return error(400, "malformed escape in the path");
    Query query;
    if (mark != std::string::npos) {
        std::istringstream pairs(target.substr(mark + 1));
        for (std::string pair; std::getline(pairs, pair, '&');) {
            const size_t equals = pair.find('=');
            std::string key, value;
            if (!percentDecode(pair.substr(0, equals), true, key) ||
                (equals != std::string::npos &&
                 !percentDecode(pair.substr(equals + 1), true, value)))
                return error(400, "malformed escape in the query");
            query[key] = value;
        }
    }
    if (path.compare(0, 5, "/api/") != 0)
        return mWeb.get(path);
    try {
        if (path == "/api/library")
            return library();
        if (path == "/api/file")
            return file(query);
        if (path == "/api/dump")
            return dump(query);
        if (path == "/api/constants")
            return constants(query);
        if (path == "/api/diff")
            return diff(query);
    } catch (const Refusal& refusal) {
        return error(refusal.status(), refusal.what());
    }
    return error(404, "no such resource");
}

HttpResponse Api::library() const {
    const Library::Snapshot snapshot = mLibrary.snapshot();
    Json files = Json::array();
    for (const LibraryFile& file : snapshot.files) {
        const bool ok = file.status == LibraryFile::Status::OK;
        files.push_back({{"path", file.id},
                         {"status", statusWord(file.status)},
                         {"error", file.status == LibraryFile::Status::FAILED ? Json(file.error)
                                                                             : Json(nullptr)},
                         {"bytes", file.bytes},
                         {"attributes", ok ? Json(file.attributes) : Json(nullptr)},
                         {"rules", ok ? Json(file.rules) : Json(nullptr)}});
    }
    return json(200, {{"generation", snapshot.generation},
                      {"progress", {{"done", snapshot.done}, {"total", snapshot.total}}},
                      {"files", std::move(files)}});
}

std::string Api::fileOf(const Query& query, const std::string& name) const {
    const auto it = query.find(name);
    if (it == query.end())
        throw Refusal(400, "the query needs " + name + "=ROOT/PATH");
    const std::string file = mLibrary.resolve(it->second);
    if (file.empty())
        throw Refusal(404, "no such rule file: " + it->second);
    return file;
}

HttpResponse Api::file(const Query& query) {
    const std::string path = fileOf(query, "path");
    DecodeSlot slot(*this);
    try {
        FileChecker loader(mHost, mPluginPaths, true);
        const auto program = loader.load(path);
        Json body = {{"path", query.at("path")}};
        body.update(ruleFileInfoJson(*program->getProgram().ruleFileInfo));
        return json(200, body);
    } catch (const std::exception& e) {
        return error(422, e.what());
    }
}

HttpResponse Api::constants(const Query& query) {
    const std::string path = fileOf(query, "path");
    DecodeSlot slot(*this);
    try {
        FileChecker loader(mHost, mPluginPaths, true);
        return json(200, ruleProgramJson(loader.load(path)->getProgram()));
    } catch (const std::exception& e) {
        return error(422, e.what());
    }
}

HttpResponse Api::dump(const Query& query) {
    const std::string path = fileOf(query, "path");
    DecodeSlot slot(*this);
    try {
        const std::string bytes = readWhole(mHost, path);
        // The reader's check would end the process: only a file that a helper survives is read.
        if (classfile::ClassInfo::mayEndProcessInCheckPass(classfile::Bytes(bytes))) {
            const CheckResult helped = checkInHelper(path, mPluginPaths);
            if (!helped.ok)
                return error(422, helped.error);
        }
        std::istringstream input(bytes);
        classfile::ByteStream stream(input);
        const classfile::ClassInfo classInfo(stream);
        std::ostringstream text;
        classInfo.print(text);
        text << "\n";
        return json(200, {{"text", text.str()}});
    } catch (const std::exception& e) {
        return error(422, e.what());
    }
}

HttpResponse Api::diff(const Query& query) {
    std::string oldFile, newFile, oldName, newName;
    if (!query.count("old") && !query.count("new") && !mDefaultDiff.oldFile.empty()) {
        oldFile = oldName = mDefaultDiff.oldFile;
        newFile = newName = mDefaultDiff.newFile;
    } else {
        oldFile = fileOf(query, "old");
        newFile = fileOf(query, "new");
        oldName = query.at("old");
        newName = query.at("new");
    }
    DecodeSlot slot(*this);
    try {
        return json(200, interfaceDiffJson(mHost, mPluginPaths, oldFile, newFile, oldName,
                                           newName));
    } catch (const std::exception& e) {
        // The reason names the file as it is on disk; the page knows it by its id.
        std::string reason = e.what();
        for (const auto& [file, name] : {std::pair(oldFile, oldName), std::pair(newFile, newName)})
            if (reason.compare(0, file.size() + 2, file + ": ") == 0) {
                reason = name + reason.substr(file.size());
                break;
            }
        return error(422, reason);
    }
}

} // namespace serve
} // namespace kovhost

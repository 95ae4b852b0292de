#include "FileChecker.h"

#include <cctype>
#include <chrono>
#include <filesystem>
#include <istream>
#include <streambuf>
#include <stdexcept>
#include <utility>

#include "HelperCheck.h"
#include "Host.h"
#include "RuleFileSource.h"
#include "classfile/ClassInfo.h"
#include "kovx/ExtensionManager.h"
#include "kovx/TKB.h"

namespace kovhost {

namespace {

std::string suffixOf(const std::string& path) {
    std::string suffix = std::filesystem::path(path).extension().string();
    for (char& c : suffix)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return suffix;
}

// Reads bytes where they are: the decoder makes its own copy, a string stream would make another.
class ViewBuffer : public std::streambuf {
public:
    explicit ViewBuffer(const std::string& bytes) {
        char* begin = const_cast<char*>(bytes.data());
        setg(begin, begin, begin + bytes.size());
    }
};

} // namespace

std::set<std::string> ruleFilesBelow(const std::string& directory) {
    namespace fs = std::filesystem;
    std::set<std::string> files;
    std::error_code ec;
    fs::recursive_directory_iterator it(directory, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        std::error_code typeError;
        if (!it->is_regular_file(typeError))
            continue;
        const std::string suffix = suffixOf(it->path().string());
        if (suffix == ".tkb" || suffix == ".class")
            files.insert(it->path().lexically_relative(directory).generic_string());
    }
    if (ec)
        throw std::runtime_error("cannot read '" + directory + "': " + ec.message());
    return files;
}

FileChecker::FileChecker(Host& host, const std::vector<std::string>& pluginPaths, bool isolate,
                         std::string helperProgram)
    : mHost(host), mPluginPaths(pluginPaths), mIsolate(isolate),
      mHelperProgram(std::move(helperProgram)) {}

const kovx::DecoderPtr& FileChecker::decoderFor(const std::string& path) {
    kovx::DecoderPtr& decoder = mDecoders[suffixOf(path)];
    if (!decoder)
        decoder = mHost.manager().createMatchingDecoder(kov::CT_RULEFILE,
                                                        kovx::URIPtr(new kovx::URI(path)));
    return decoder;
}

boost::shared_ptr<kovx::TKB> FileChecker::decode(const std::string& path,
                                                 const std::string& bytes) {
    ViewBuffer view(bytes);
    std::istream input(&view);
    kovx::ContentPtrVector contents;
    decoderFor(path)->decode(contents, input);
    for (const kovx::ContentPtr& content : contents) {
        if (!content || content->getContentType() != kov::CT_RULEFILE)
            continue;
        auto program = boost::dynamic_pointer_cast<kovx::TKB>(content);
        if (program && program->program && program->getProgram().ruleFileInfo)
            return program;
    }
    throw std::runtime_error("the decoder produced no rule program");
}

std::string FileChecker::read(const std::string& path) {
    // The file is read whole before it is decoded: a device or a pipe might never end.
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(path, ec);
    if (!ec && std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw std::runtime_error("not a regular file");
    // Read whole through the stream adaptor: the bytes are counted and screened first.
    const boost::shared_ptr<std::istream> stream = openRuleFile(mHost, path);
    std::string bytes;
    char block[1 << 16];
    while (stream->read(block, sizeof block) || stream->gcount() > 0)
        bytes.append(block, static_cast<size_t>(stream->gcount()));
    return bytes;
}

boost::shared_ptr<kovx::TKB> FileChecker::decodeBytes(const std::string& path,
                                                      const std::string& bytes) {
    if (mIsolate && classfile::ClassInfo::mayEndProcessInCheckPass(classfile::Bytes(bytes))) {
        // Only a file that the helper survives is decoded here too.
        const CheckResult helped = checkInHelper(path, mPluginPaths, mHelperProgram);
        if (!helped.ok)
            throw std::runtime_error(helped.error);
    }
    return decode(path, bytes);
}

boost::shared_ptr<kovx::TKB> FileChecker::load(const std::string& path, uint64_t* size) {
    const std::string bytes = read(path);
    if (size)
        *size = bytes.size();
    return decodeBytes(path, bytes);
}

CheckResult FileChecker::check(const std::string& path) {
    const auto start = std::chrono::steady_clock::now();
    CheckResult result;
    result.path = path;
    try {
        const boost::shared_ptr<kovx::TKB> program = load(path, &result.bytes);
        const kov::RuleFileInfo& info = *program->getProgram().ruleFileInfo;
        result.attributes = info.getNumAttributes();
        result.rules = info.getNumRules();
        result.ok = true;
    } catch (const std::exception& e) {
        // Only the text: the exception's class may live in a plug-in.
        result.error = e.what();
    } catch (...) {
        result.error = "unknown failure";
    }
    if (!result.ok && result.error.empty())
        result.error = "unknown failure";
    result.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count();
    return result;
}

} // namespace kovhost

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "kovx/Extension.h"
#include "kovx/TKB.h"

namespace kovhost {

class Host;

/// The files below directory, searched recursively, whose names end in .tkb or .class in any case:
/// their paths relative to directory, sorted. Throws std::runtime_error when it cannot be read.
std::set<std::string> ruleFilesBelow(const std::string& directory);

/// What checking one rule file found.
struct CheckResult {
    std::string path;
    bool ok = false;
    uint64_t bytes = 0;
    double milliseconds = 0;
    std::string error; ///< the decoder's or the reader's message when it failed
    size_t attributes = 0;
    size_t rules = 0;
};

/// One worker of 'kov check': decodes files as the runtime does, through the shared extension
/// manager, with decoders of its own that it keeps from file to file. Files that would end the
/// process in the reader's check pass go to a helper process instead (see HelperCheck).
class FileChecker {
public:
    /// pluginPaths are kov's -p paths, for the helper; isolate false decodes every file here.
    /// helperProgram is the kov that checks a file in a helper process; empty for this process's
    /// own executable, which is kov unless another front end hosts the checker.
    FileChecker(Host& host, const std::vector<std::string>& pluginPaths, bool isolate,
                std::string helperProgram = std::string());

    /// Never throws: a failure is a result.
    CheckResult check(const std::string& path);

    /// The decoded rule program, with its rule file info; throws with the reason otherwise.
    /// bytes, when given, receives the size of the file once it is read.
    boost::shared_ptr<kovx::TKB> load(const std::string& path, uint64_t* bytes = nullptr);

    /// The whole file, read through the stream adaptor that the manager picks for it.
    std::string read(const std::string& path);

    /// Decodes the bytes of the file at path, whose name picks the decoder. Bytes that would end
    /// the process in the reader's check pass are first checked in the helper, on path.
    boost::shared_ptr<kovx::TKB> decodeBytes(const std::string& path, const std::string& bytes);

private:
    boost::shared_ptr<kovx::TKB> decode(const std::string& path, const std::string& bytes);
    const kovx::DecoderPtr& decoderFor(const std::string& path);

    Host& mHost;
    const std::vector<std::string>& mPluginPaths;
    bool mIsolate;
    std::string mHelperProgram;
    // The manager picks a decoder by the file's name; all files of one suffix get the same.
    std::map<std::string, kovx::DecoderPtr> mDecoders;
};

} // namespace kovhost

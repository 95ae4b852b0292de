#include "Runtime.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "DecodeFailure.h"
#include "FileChecker.h"
#include "InterfaceDiff.h"
#include "classfile/ClassInfo.h"

namespace py = pybind11;

namespace kovpy {

namespace {

// A temporary file that holds bytes for the helper process, which reads a path.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& bytes) {
        const char* dir = std::getenv("TMPDIR");
        std::string pattern = std::string(dir && *dir ? dir : "/tmp") + "/kov-XXXXXX.tkb";
        const int fd = mkstemps(pattern.data(), 4);
        if (fd < 0)
            throw std::runtime_error("cannot create a temporary file for the helper process");
        close(fd);
        mPath = pattern;
        std::ofstream out(mPath, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!out)
            throw std::runtime_error("cannot write a temporary file for the helper process");
    }
    ~TemporaryFile() { std::remove(mPath.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return mPath; }

private:
    std::string mPath;
};

} // namespace

Runtime::Runtime(const std::vector<std::string>& pluginPaths, bool probePlugins)
    : mHost(std::make_shared<RuntimeHost>(pluginPaths, probePlugins)) {}

std::vector<ExtensionEntry> Runtime::extensions() {
    return host()->extensions();
}

std::unique_ptr<RuleFile> Runtime::load(const std::string& source) {
    std::shared_ptr<RuntimeHost> owner = host();
    boost::shared_ptr<kovx::TKB> program;
    std::string bytes;
    {
        py::gil_scoped_release release;
        try {
            const std::unique_ptr<kovhost::FileChecker> checker = owner->checker();
            bytes = checker->read(source);
            program = checker->decodeBytes(source, bytes);
        } catch (const std::exception& e) {
            throw DecodeFailure(source, e.what());
        }
    }
    return std::make_unique<RuleFile>(std::move(owner), std::move(program),
                                      std::move(bytes), source);
}

std::unique_ptr<RuleFile> Runtime::loadBytes(const py::bytes& data,
                                             std::optional<std::string> name) {
    std::shared_ptr<RuntimeHost> owner = host();
    std::string bytes = data;
    boost::shared_ptr<kovx::TKB> program;
    {
        py::gil_scoped_release release;
        try {
            const std::unique_ptr<kovhost::FileChecker> checker = owner->checker();
            // The helper reads a file: only bytes that need it are written to one.
            if (classfile::ClassInfo::mayEndProcessInCheckPass(classfile::Bytes(bytes))) {
                const TemporaryFile file(bytes);
                program = checker->decodeBytes(file.path(), bytes);
            } else {
                program = checker->decodeBytes(name ? *name : "bytes.tkb", bytes);
            }
        } catch (const std::exception& e) {
            throw DecodeFailure(name, e.what());
        }
    }
    return std::make_unique<RuleFile>(std::move(owner), std::move(program),
                                      std::move(bytes), std::move(name));
}

py::tuple Runtime::checkFile(const std::string& path) {
    std::shared_ptr<RuntimeHost> owner = host();
    kovhost::CheckResult result;
    {
        py::gil_scoped_release release;
        result = owner->checker()->check(path);
    }
    return py::make_tuple(result.path, result.ok, result.bytes, result.milliseconds,
                          result.ok ? py::object(py::none()) : py::object(py::str(result.error)),
                          result.attributes, result.rules);
}

py::list Runtime::diffFiles(const std::string& before, const std::string& after) {
    std::shared_ptr<RuntimeHost> owner = host();
    std::vector<kovhost::Change> changes;
    {
        py::gil_scoped_release release;
        const std::unique_ptr<kovhost::FileChecker> checker = owner->checker();
        auto load = [&checker](const std::string& path) {
            try {
                return checker->load(path);
            } catch (const std::exception& e) {
                throw DecodeFailure(path, e.what());
            }
        };
        const boost::shared_ptr<kovx::TKB> old = load(before);
        const boost::shared_ptr<kovx::TKB> now = load(after);
        changes = kovhost::diffInterfaces(*old->getProgram().ruleFileInfo,
                                          *now->getProgram().ruleFileInfo);
    }
    auto orNone = [](const std::string& text) {
        return text.empty() ? py::object(py::none()) : py::object(py::str(text));
    };
    py::list list;
    for (const kovhost::Change& change : changes) {
        py::list arguments;
        for (const kovhost::ArgumentChange& a : change.arguments)
            arguments.append(
                py::make_tuple(a.key, a.position, orNone(a.before), orNone(a.after)));
        list.append(py::make_tuple(change.section, change.name, change.kind,
                                   kovhost::changeClassWord(change.changeClass),
                                   change.description, orNone(change.before),
                                   orNone(change.after), std::move(arguments)));
    }
    return list;
}

const std::shared_ptr<RuntimeHost>& Runtime::host() {
    if (!mHost)
        throw std::runtime_error("the runtime is closed");
    return mHost;
}

} // namespace kovpy

// The native half of the kov package: the runtime, decoding, checking and comparing rule files.
// The package's Python half turns what this returns into typed objects.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "FileChecker.h"
#include "InterfaceDiff.h"
#include "RuleFile.h"
#include "Runtime.h"
#include "classfile/ClassInfo.h"

namespace py = pybind11;

namespace kovpy {

namespace {

// kov.Error and kov.DecodeError, handed over by the package when it imports this module.
py::object& errorClass() {
    static py::object* type = new py::object();
    return *type;
}
py::object& decodeErrorClass() {
    static py::object* type = new py::object();
    return *type;
}

void setErrorClasses(py::object error, py::object decodeError) {
    errorClass() = std::move(error);
    decodeErrorClass() = std::move(decodeError);
}

void translate(std::exception_ptr failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const DecodeFailure& e) {
        if (!decodeErrorClass())
            throw;
        const py::object path = e.path() ? py::object(py::str(*e.path())) : py::none();
        PyErr_SetObject(decodeErrorClass().ptr(),
                        py::make_tuple(path, py::str(e.what())).ptr());
    } catch (const py::error_already_set&) {
        throw;
    } catch (const py::builtin_exception&) {
        throw;
    } catch (const std::exception& e) {
        if (!errorClass())
            throw;
        PyErr_SetObject(errorClass().ptr(), py::str(e.what()).ptr());
    }
}

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

// The runtime as Python holds it: closing it lets go of the host, which lives on while rule
// files decoded through it do.
class Runtime {
public:
    Runtime(const std::vector<std::string>& pluginPaths, bool probePlugins)
        : mHost(std::make_shared<RuntimeHost>(pluginPaths, probePlugins)) {}

    void close() { mHost.reset(); }
    bool closed() const { return !mHost; }

    std::vector<ExtensionEntry> extensions() { return host()->extensions(); }

    /// A path or a URI, read through the stream adaptor that the manager picks.
    std::unique_ptr<RuleFile> load(const std::string& source) {
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

    /// Bytes in memory; name, when given, names them in messages and picks the decoder.
    std::unique_ptr<RuleFile> loadBytes(const py::bytes& data, std::optional<std::string> name) {
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

    /// What 'kov check' finds for one file: path, ok, bytes, milliseconds, error, attributes
    /// and rules.
    py::tuple checkFile(const std::string& path) {
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

    /// The changes between the interfaces of two rule files, as tuples of section, name, kind,
    /// class, description, old, new and the changed arguments (key, position, old, new).
    py::list diffFiles(const std::string& before, const std::string& after) {
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

private:
    const std::shared_ptr<RuntimeHost>& host() {
        if (!mHost)
            throw std::runtime_error("the runtime is closed");
        return mHost;
    }

    std::shared_ptr<RuntimeHost> mHost;
};

std::vector<std::string> ruleFilesBelow(const std::string& directory) {
    const std::set<std::string> files = kovhost::ruleFilesBelow(directory);
    return std::vector<std::string>(files.begin(), files.end());
}

} // namespace

} // namespace kovpy

PYBIND11_MODULE(_kov, m) {
    using namespace kovpy;
    m.doc() = "The native half of the kov package; use the kov package instead.";
    py::register_exception_translator(&translate);
    m.def("_set_error_classes", &setErrorClasses);
    m.def("rule_files_below", &ruleFilesBelow, py::arg("directory"));
    m.def("library_dir", &RuntimeHost::libraryDir);

    py::class_<ExtensionEntry>(m, "ExtensionEntry")
        .def_readonly("id", &ExtensionEntry::id)
        .def_readonly("type", &ExtensionEntry::type)
        .def_readonly("merit", &ExtensionEntry::merit)
        .def_readonly("description", &ExtensionEntry::description);

    py::class_<RuleFile>(m, "RuleFile")
        .def_property_readonly("path", &RuleFile::path)
        .def_property_readonly("attribute_count", &RuleFile::attributeCount)
        .def_property_readonly("rule_count", &RuleFile::ruleCount)
        .def_property_readonly("byte_count", &RuleFile::byteCount)
        .def("to_dict", &RuleFile::toDict)
        .def("program", &RuleFile::program)
        .def("xml", &RuleFile::xml)
        .def("dump", &RuleFile::dump);

    py::class_<Runtime>(m, "Runtime")
        .def(py::init<const std::vector<std::string>&, bool>(), py::arg("plugin_paths"),
             py::arg("probe_plugins"))
        .def("close", &Runtime::close)
        .def_property_readonly("closed", &Runtime::closed)
        .def("extensions", &Runtime::extensions)
        .def("load", &Runtime::load, py::arg("source"))
        .def("load_bytes", &Runtime::loadBytes, py::arg("data"), py::arg("name"))
        .def("check_file", &Runtime::checkFile, py::arg("path"))
        .def("diff_files", &Runtime::diffFiles, py::arg("old"), py::arg("new"));
}

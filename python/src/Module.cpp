// The native half of the kov package: the runtime, decoding, checking and comparing rule files.
// The package's Python half turns what this returns into typed objects.
#include <set>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "DecodeFailure.h"
#include "FileChecker.h"
#include "RuleFile.h"
#include "Runtime.h"
#include "RuntimeHost.h"

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

// Messages may quote bytes of the file that are not UTF-8.
py::object message(const std::string& text) {
    PyObject* object =
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
    if (!object)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(object);
}

void translate(std::exception_ptr failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const DecodeFailure& e) {
        if (!decodeErrorClass())
            throw;
        const py::object path = e.path() ? message(*e.path()) : py::none();
        PyErr_SetObject(decodeErrorClass().ptr(), py::make_tuple(path, message(e.what())).ptr());
    } catch (const py::error_already_set&) {
        throw;
    } catch (const py::builtin_exception&) {
        throw;
    } catch (const std::exception& e) {
        if (!errorClass())
            throw;
        PyErr_SetObject(errorClass().ptr(), message(e.what()).ptr());
    }
}

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

#include "RuleFile.h"

#include <sstream>
#include <vector>

#include "ConstantView.h"
#include "TextFormat.h"
#include "classfile/ByteStream.h"
#include "classfile/ClassInfo.h"

namespace py = pybind11;

namespace kovpy {

namespace {

// Texts of the library are valid UTF-8 already; replace guards against what a conversion let
// through, as the JSON output does.
py::str text(const std::string& utf8) {
    PyObject* object = PyUnicode_DecodeUTF8(utf8.data(), static_cast<Py_ssize_t>(utf8.size()),
                                            "replace");
    if (!object)
        throw py::error_already_set();
    return py::reinterpret_steal<py::str>(object);
}

// For the library's own texts, which pass bytes through: encoding with surrogateescape gives them
// back unchanged.
py::str rawText(const char* data, size_t size) {
    PyObject* object =
        PyUnicode_DecodeUTF8(data, static_cast<Py_ssize_t>(size), "surrogateescape");
    if (!object)
        throw py::error_already_set();
    return py::reinterpret_steal<py::str>(object);
}

py::str text(const wchar_t* wide) {
    return text(kovhost::utf8(wide));
}

py::str text(const std::wstring& wide) {
    return text(kovhost::utf8(wide));
}

py::dict argumentDict(const kov::AnnotationArgument& argument) {
    py::dict dict;
    dict["key"] = text(argument.getKey());
    dict["type"] = kovhost::valueTypeWord(argument.getType());
    switch (argument.getType()) {
    case kov::VT_BOOL: dict["value"] = py::bool_(argument.getBool()); break;
    case kov::VT_FLOAT: dict["value"] = py::float_(argument.getFloat()); break;
    case kov::VT_STR: dict["value"] = text(argument.getStr()); break;
    default: dict["value"] = py::none(); break;
    }
    return dict;
}

template <typename Owner> py::list annotationsList(const Owner& owner) {
    py::list annotations;
    for (size_t i = 0; i < owner.getNumAnnotations(); ++i) {
        const kov::Annotation& annotation = *owner.getAnnotation(i);
        py::list arguments;
        for (size_t j = 0; j < annotation.getNumArguments(); ++j)
            arguments.append(argumentDict(*annotation.getArgument(j)));
        py::dict dict;
        dict["name"] = text(annotation.getName());
        dict["arguments"] = std::move(arguments);
        annotations.append(std::move(dict));
    }
    return annotations;
}

py::dict entryDict(const kov::RuleFileInfo::Entry& entry) {
    py::list parameters;
    for (size_t i = 0; i < entry.getNumParameters(); ++i) {
        const kov::RuleFileInfo::Parameter& parameter = *entry.getParameter(i);
        py::dict dict;
        dict["name"] = text(parameter.getName());
        dict["type"] = kovhost::valueTypeWord(parameter.getType());
        dict["annotations"] = annotationsList(parameter);
        parameters.append(std::move(dict));
    }
    py::dict dict;
    dict["name"] = text(entry.getName());
    dict["type"] = kovhost::valueTypeWord(entry.getReturnType());
    dict["parameters"] = std::move(parameters);
    dict["annotations"] = annotationsList(entry);
    return dict;
}

py::dict methodDict(const kovx::TKBMethod& method) {
    py::dict dict;
    dict["kind"] = "method";
    dict["poolIndex"] = method.poolIndex;
    dict["methodPosition"] = method.methodPosition;
    dict["undefined"] = py::bool_(method.undefined != 0);
    dict["maxStack"] = method.maxStack;
    dict["paramCount"] = method.paramCount;
    dict["localSlots"] = method.localSlots;
    py::list localTypes;
    for (const int32_t type : method.localTypes)
        localTypes.append(type);
    dict["localTypes"] = std::move(localTypes);
    dict["code"] = py::bytes(reinterpret_cast<const char*>(method.code.data()),
                             method.code.size());
    dict["isPublic"] = py::bool_(method.isPublic != 0);
    dict["name"] = text(method.name);
    dict["baseName"] = text(method.baseName);
    dict["descriptor"] = text(method.descriptor);
    return dict;
}

py::dict constantDict(const programview::ConstantView& c) {
    using programview::ConstantKind;
    py::dict dict;
    if (c.missingValue() || c.kind() == ConstantKind::UNKNOWN) {
        dict["kind"] = "unknown";
        dict["code"] = c.code();
        return dict;
    }
    if (c.kind() == ConstantKind::RULE)
        return methodDict(*c.rule());
    dict["kind"] = programview::kindWord(c.kind());
    switch (c.kind()) {
    case ConstantKind::STRING: dict["value"] = c.text() ? text(*c.text()) : py::str(); break;
    case ConstantKind::DOUBLE: dict["value"] = c.number(); break;
    case ConstantKind::INTEGER: dict["value"] = c.integer(); break;
    case ConstantKind::BUILTIN: dict["id"] = c.builtinId(); break;
    case ConstantKind::ENUM_TYPE: dict["index"] = c.enumTypeIndex(); break;
    case ConstantKind::ENUM_VALUE:
        if (const kovx::TKB::Enum* value = c.enumValue()) {
            dict["value"] = value->value;
            dict["name"] = text(value->name);
        } else {
            dict["value"] = py::none();
            dict["name"] = py::none();
        }
        break;
    default: break;
    }
    return dict;
}

} // namespace

RuleFile::RuleFile(std::shared_ptr<RuntimeHost> host, boost::shared_ptr<kovx::TKB> program,
                   std::string bytes, std::optional<std::string> path)
    : mHost(std::move(host)), mProgram(std::move(program)), mBytes(std::move(bytes)),
      mPath(std::move(path)) {}

py::dict RuleFile::toDict() const {
    const kov::RuleFileInfo& fileInfo = info();
    py::list attributes;
    for (size_t i = 0; i < fileInfo.getNumAttributes(); ++i)
        attributes.append(entryDict(*fileInfo.getAttribute(i)));
    py::list rules;
    for (size_t i = 0; i < fileInfo.getNumRules(); ++i)
        rules.append(entryDict(*fileInfo.getRule(i)));
    py::dict dict;
    dict["attributes"] = std::move(attributes);
    dict["rules"] = std::move(rules);
    dict["annotations"] = annotationsList(fileInfo);
    return dict;
}

py::dict RuleFile::program() const {
    const kovx::TKBProgram& data = mProgram->getProgram();
    py::list constants;
    for (const kovx::TKBConstant* c : data.constants)
        constants.append(c ? py::object(constantDict(programview::ConstantView(*c)))
                           : py::object(py::none()));
    py::list fieldRefs;
    for (const int32_t ref : data.fieldRefs)
        fieldRefs.append(ref);
    py::list enumTypes;
    for (const std::string& name : data.enumTypes)
        enumTypes.append(text(name));
    py::dict methodIndex;
    for (const auto& [key, index] : data.methodIndex)
        methodIndex[text(key)] = index;
    py::dict dict;
    dict["constants"] = std::move(constants);
    dict["fieldRefs"] = std::move(fieldRefs);
    dict["enumTypes"] = std::move(enumTypes);
    dict["methodIndex"] = std::move(methodIndex);
    return dict;
}

py::str RuleFile::xml() const {
    // The first call only asks for the size the whole text needs.
    size_t size = 0;
    info().toXML(nullptr, &size);
    std::vector<char> buffer(size > 0 ? size : 1);
    size = buffer.size();
    info().toXML(buffer.data(), &size);
    return rawText(buffer.data(), buffer.size() - 1);
}

py::str RuleFile::dump() const {
    std::string textForm;
    {
        py::gil_scoped_release release;
        std::istringstream input(mBytes);
        classfile::ByteStream bytes(input);
        const classfile::ClassInfo classInfo(bytes);
        std::ostringstream out;
        classInfo.print(out);
        textForm = out.str();
    }
    return rawText(textForm.data(), textForm.size());
}

} // namespace kovpy

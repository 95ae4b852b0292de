#pragma once

#include <memory>
#include <optional>
#include <string>

#include <boost/shared_ptr.hpp>
#include <pybind11/pybind11.h>

#include "RuntimeHost.h"
#include "kovx/TKB.h"

namespace kovpy {

/// A decoded rule file: the rule program with its rule file info, and the bytes it came from
/// for the class model's text. Python objects are built only when they are asked for.
class RuleFile {
public:
    RuleFile(std::shared_ptr<RuntimeHost> host, boost::shared_ptr<kovx::TKB> program,
             std::string bytes, std::optional<std::string> path);

    RuleFile(const RuleFile&) = delete;
    RuleFile& operator=(const RuleFile&) = delete;

    const std::optional<std::string>& path() const { return mPath; }
    size_t attributeCount() const { return info().getNumAttributes(); }
    size_t ruleCount() const { return info().getNumRules(); }
    size_t byteCount() const { return mBytes.size(); }

    /// The object that 'kov json' prints: attributes, rules and the file's annotations.
    pybind11::dict toDict() const;
    /// The object that 'kov constants --json' prints, with each rule's code as bytes.
    pybind11::dict program() const;
    /// The rule file info's XML text, byte for byte.
    pybind11::str xml() const;
    /// The class model's text form with the code of every method.
    pybind11::str dump() const;

private:
    const kov::RuleFileInfo& info() const { return *mProgram->getProgram().ruleFileInfo; }

    // Declared first, released last: the program's objects hold code of the library.
    std::shared_ptr<RuntimeHost> mHost;
    boost::shared_ptr<kovx::TKB> mProgram;
    std::string mBytes;
    std::optional<std::string> mPath;
};

} // namespace kovpy

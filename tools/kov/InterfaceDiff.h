#pragma once

#include <string>
#include <vector>

#include "kov/RuleFileInfo.h"

namespace kovhost {

/// How a change touches those who call the rule file: a removed or retyped attribute or rule
/// or a changed parameter list breaks them, an addition does not, annotations only change how
/// a user interface presents the file.
enum class ChangeClass { BREAKING, COMPATIBLE, PRESENTATION };

const char* changeClassWord(ChangeClass changeClass);

/// One argument of an annotation that changed, by key or, without one, by position (from 1).
struct ArgumentChange {
    std::string key;
    size_t position = 0;
    std::string before; ///< the value as 'kov info' writes it; empty when it was not there
    std::string after;
};

/// One difference between the interfaces of two rule files.
struct Change {
    std::string section; ///< "attributes", "rules", "annotations" (the file's own) or "files"
    std::string name;    ///< the attribute, rule, annotation or file it concerns
    std::string kind;    ///< "added", "removed", "type", "parameter-renamed", "order", ...
    ChangeClass changeClass = ChangeClass::PRESENTATION;
    std::string description; ///< for a person, e.g. "@Range(min=0 → 2)"
    std::string before;      ///< the old type, parameter or annotation; empty for an addition
    std::string after;
    std::vector<ArgumentChange> arguments; ///< for a changed annotation
};

/// Attributes and rules are paired by name (several of one name by their parameter types, then
/// in order); parameters by position when their count stayed, by name otherwise; annotations by
/// name. The compiler's markers are left out.
std::vector<Change> diffInterfaces(const kov::RuleFileInfo& before, const kov::RuleFileInfo& after);

} // namespace kovhost

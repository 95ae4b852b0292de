#pragma once

// Deterministic rule files for golden outputs and benchmarks.

#include <cstdint>
#include <vector>

namespace classwriter {

/// A file of the given number of rules laid out as compiled rule files are: each rule names two
/// parameters, carries two annotations and calls builtins, the next rule, an attribute and
/// enumeration members; one attribute per ten rules.
std::vector<uint8_t> generatedRuleFile(int rules);

/// A small file that uses every pool entry kind, every attribute kind, every element value tag and
/// every kind of rule annotation argument.
std::vector<uint8_t> everyKindRuleFile();

} // namespace classwriter

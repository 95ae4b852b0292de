#pragma once

// Turns one compiled rule file into the core's rule program data: a typed constant table in which
// every method and field reference is resolved, the code of the referenced rules, and the rule
// file info.

#include <cstddef>
#include <istream>

#include "codecs/tkb/MemoryBudget.h"

namespace kovx {
struct TKBProgram;
}

namespace tkb {

/// Reads the rule file from input and fills program. Fails by exception: the class file reader's
/// runtime errors pass through; content the rule program cannot express is logged at error level
/// and raised as kovx::StatusException with kov::STATUS_UNSUPPORTED_RULE_CONTENT; an unknown
/// enumeration type raises util::RuntimeErrorST, and so does a file that would make the
/// translation and its rule file info build more than memoryLimit bytes from shared data. What was
/// stored in program before a failure stays there and is released by program.
void translate(kovx::TKBProgram& program, std::istream& input,
               size_t memoryLimit = MemoryBudget::DEFAULT_LIMIT);

} // namespace tkb

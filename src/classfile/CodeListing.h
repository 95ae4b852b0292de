#pragma once

#include <cstdint>
#include <ostream>

#include "classfile/Bytes.h"

namespace classfile {

class ConstantPool;

/// Writes the instruction listing of a method's code: one "\n            <pc>: <mnemonic>
/// <operands>" per instruction, pool operands shown through the entries' display forms. An
/// instruction whose operands run past the end of the code gets a marker and ends the listing.
void printCodeListing(std::ostream& os, Bytes code, const ConstantPool& pool);

} // namespace classfile

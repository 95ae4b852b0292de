#pragma once

#include <cstdint>
#include <string>

namespace classfile {

/// The words of the set access flag bits, each followed by one blank ("public static "); bits above
/// 0x0800 are not named.
std::string accessFlagWords(uint16_t flags);

} // namespace classfile

#pragma once

// The least any reader of a class file must do: visit every pool entry, member and attribute header,
// skipping payloads by their declared lengths, building nothing. The yardstick of the reader.

#include <cstddef>
#include <cstdint>

namespace kovbench {

/// Number of pool entries, members and attributes visited; 0 when the file ends early.
size_t walkClassFile(const uint8_t* data, size_t size);

} // namespace kovbench

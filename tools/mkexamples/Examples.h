#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mkexamples {

/// One bundled example: its file name within the examples directory and its bytes.
struct Example {
    std::string fileName;
    std::vector<uint8_t> bytes;
};

/// One attribute and one start rule: the least a rule file holds.
Example minimalExample();

/// A building generator: grouped and ordered attributes, a start rule and a score of rules that
/// split, extrude and decorate a lot.
Example buildingExample();

} // namespace mkexamples

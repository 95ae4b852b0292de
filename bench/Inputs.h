#pragma once

// The rule files that the benchmarks read: the bundled building example and generated files of 10 to
// 2800 rules.

#include <streambuf>
#include <string>
#include <vector>

namespace kovbench {

struct Input {
    /// "building", "rules:1000", ...
    std::string name;
    std::string bytes;
};

const std::vector<Input>& inputs();

/// Writes every input as NAME.tkb into dir (":" becomes "-"); false when one cannot be written.
bool writeInputs(const std::string& dir);

/// A read-only stream buffer over bytes that stay where they are, so that a benchmark's stream
/// costs no copy.
class MemoryBuffer : public std::streambuf {
public:
    explicit MemoryBuffer(const std::string& bytes) {
        char* begin = const_cast<char*>(bytes.data());
        setg(begin, begin, begin + bytes.size());
    }
};

} // namespace kovbench

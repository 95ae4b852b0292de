#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace classwriter {

struct Annotation;

/// One encoded element value (tag and payload), built by the factories below.
class ElementValue {
public:
    /// Tags B, C, D, F, I, J, S, Z and s.
    static ElementValue constant(char tag, uint16_t constValueIndex);
    static ElementValue enumConstant(uint16_t typeNameIndex, uint16_t constNameIndex);
    static ElementValue classInfo(uint16_t classInfoIndex);
    static ElementValue annotation(const Annotation& nested);
    /// count overrides the written number of values.
    static ElementValue array(const std::vector<ElementValue>& values,
                              std::optional<uint16_t> count = {});
    /// Any tag byte followed by any payload.
    static ElementValue raw(uint8_t tag, const std::vector<uint8_t>& payload = {});

    const std::vector<uint8_t>& bytes() const { return mBytes; }

private:
    std::vector<uint8_t> mBytes;
};

/// An annotation: its type descriptor index and its named element values.
struct Annotation {
    uint16_t typeIndex = 0;
    /// (element name index, value) pairs.
    std::vector<std::pair<uint16_t, ElementValue>> pairs;
    /// Overrides the written pair count.
    std::optional<uint16_t> pairCount;

    std::vector<uint8_t> bytes() const;
};

} // namespace classwriter

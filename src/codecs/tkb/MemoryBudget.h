#pragma once

#include <cstddef>

namespace tkb {

/// Caps what one translation builds from a file. A rule program repeats some of a file's data: every
/// method reference gets its own copy of the method's code and texts, and every entry of the rule
/// file info its own parameters and names, read through pool indices that many records may share.
/// So a small damaged or hostile file could ask for gigabytes; charging every such copy here turns
/// that into a clear error instead.
class MemoryBudget {
public:
    /// Far above what a real rule file needs (a few megabytes), far below what hurts a host.
    static constexpr size_t DEFAULT_LIMIT = size_t{256} << 20;

    explicit MemoryBudget(size_t limit = DEFAULT_LIMIT) : mLeft(limit), mLimit(limit) {}

    /// Takes bytes from the budget; throws util::RuntimeErrorST naming what when it is spent.
    void charge(size_t bytes, const char* what);

private:
    size_t mLeft;
    size_t mLimit;
};

} // namespace tkb

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "classfile/ConstantPool.h"

namespace tkb {

/// Caps what one decode builds from a file's shared data. A rule program and its rule file info
/// repeat much of a file: every method reference gets its own copy of the method's code and texts,
/// every string constant, entry, parameter and annotation argument its own wide copy of a pool
/// text, read through pool indices that any number of records may share. So a small damaged or
/// hostile file could ask for gigabytes; charging every such copy, and every object built per
/// record, to one budget for the whole decode turns that into a clear error instead.
class MemoryBudget {
public:
    /// Far above what a real rule file needs (a few megabytes), far below what hurts a host.
    static constexpr size_t DEFAULT_LIMIT = size_t{256} << 20;

    explicit MemoryBudget(size_t limit = DEFAULT_LIMIT) : mLeft(limit), mLimit(limit) {}

    /// Takes bytes from the budget; throws util::RuntimeErrorST naming what when it is spent.
    void charge(size_t bytes, const char* what) {
        if (bytes > mLeft)
            fail(what);
        mLeft -= bytes;
    }
    /// Charges the wide copy of a UTF-8 text of utf8Size bytes, which has at most that many
    /// characters.
    void chargeWide(size_t utf8Size, const char* what) { charge(sizeof(wchar_t) * utf8Size, what); }
    /// What has been charged so far.
    size_t spent() const { return mLimit - mLeft; }

private:
    [[noreturn]] void fail(const char* what) const;

    size_t mLeft;
    size_t mLimit;
};

/// The text at a pool index, as ConstantPool::textAt gives it. A text put together from other
/// entries rather than stored in one is charged: chains of references can make each such text
/// megabytes long, and a file can ask for it from every record.
/// Inline: the extraction asks for a text several times per record.
inline std::string_view poolText(const classfile::ConstantPool& pool, uint32_t index,
                                 const char* what, std::string& scratch, MemoryBudget& budget) {
    const std::string_view text = pool.textAt(index, what, scratch);
    // An entry's own text views the input; only a composed one lives in scratch.
    if (text.data() == scratch.data())
        budget.charge(text.size(), "the texts composed from other pool entries");
    return text;
}

} // namespace tkb

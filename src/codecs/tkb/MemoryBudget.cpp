#include "codecs/tkb/MemoryBudget.h"

#include "classfile/ConstantPool.h"
#include "util/RuntimeErrorST.h"

namespace tkb {

namespace {

std::string sizeText(size_t bytes) {
    if (bytes % (size_t{1} << 20) == 0)
        return std::to_string(bytes >> 20) + " MiB";
    if (bytes % (size_t{1} << 10) == 0)
        return std::to_string(bytes >> 10) + " KiB";
    return std::to_string(bytes) + " bytes";
}

} // namespace

void MemoryBudget::charge(size_t bytes, const char* what) {
    if (bytes > mLeft)
        throw util::RuntimeErrorST("TKB file is too large to translate: " + std::string(what) +
                                   " would take more than " + sizeText(mLimit) +
                                   " of memory (all copies of shared file data in one decode "
                                   "count together); the file is damaged or hostile.");
    mLeft -= bytes;
}

std::string_view poolText(const classfile::ConstantPool& pool, uint32_t index, const char* what,
                          std::string& scratch, MemoryBudget& budget) {
    const std::string_view text = pool.textAt(index, what, scratch);
    // An entry's own text views the input; only a composed one lives in scratch.
    if (text.data() == scratch.data())
        budget.charge(text.size(), "the texts composed from other pool entries");
    return text;
}

} // namespace tkb

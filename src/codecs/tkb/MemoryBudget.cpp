#include "codecs/tkb/MemoryBudget.h"

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

void MemoryBudget::fail(const char* what) const {
    throw util::RuntimeErrorST("TKB file is too large to translate: " + std::string(what) +
                               " would take more than " + sizeText(mLimit) +
                               " of memory (all copies of shared file data in one decode "
                               "count together); the file is damaged or hostile.");
}

} // namespace tkb

#include "codecs/tkb/MemoryBudget.h"

#include <string>

#include "util/RuntimeErrorST.h"

namespace tkb {

void MemoryBudget::charge(size_t bytes, const char* what) {
    if (bytes > mLeft)
        throw util::RuntimeErrorST("TKB file is too large to translate: " + std::string(what) +
                                   " would take more than " + std::to_string(mLimit >> 20) +
                                   " MiB of memory.");
    mLeft -= bytes;
}

} // namespace tkb
